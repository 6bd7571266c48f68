#include "support/ResponseSections.h"

#include <cstddef>

namespace testsupport {

std::vector<double> transposed(const std::vector<double>& v, std::int32_t rows, std::int32_t cols) {
  std::vector<double> t(v.size());
  for (std::int32_t j = 0; j < cols; ++j)
    for (std::int32_t i = 0; i < rows; ++i)
      t[j + static_cast<std::size_t>(cols) * i] = v[i + static_cast<std::size_t>(rows) * j];
  return t;
}

std::vector<double> withJunkColumn(const std::vector<double>& column, double junk) {
  std::vector<double> v = column;
  for (std::size_t i = 0; i < column.size(); ++i) v.push_back(junk + static_cast<double>(i));
  return v;
}

void setResponseSections(kernelwriter::KernelFile& f, std::int32_t dofs, std::int32_t modes, std::int32_t steps,
                         const PerQuantity& initialWithBase, const PerQuantity& initialWithout,
                         const PerQuantity& modalInitial, const PerQuantity& direct, const PerQuantity& modal,
                         double junk) {
  for (int q = 0; q < 3; ++q) {
    f.setMatrix(5 + q, dofs, 2, withJunkColumn(initialWithBase[q], junk));
    f.setMatrix(8 + q, dofs, 2, withJunkColumn(initialWithout[q], junk));
    f.setMatrix(12 + q, modes, 2, withJunkColumn(modalInitial[q], junk));
    f.setMatrix(15 + q, dofs, steps, direct[q]);
    f.setMatrix(18 + q, modes, steps, modal[q]);
    f.setMatrix(21 + q, steps, dofs, transposed(direct[q], dofs, steps));
    f.setMatrix(24 + q, steps, modes, transposed(modal[q], modes, steps));
  }
}

const char* nameOf(Unstored shape) {
  return shape == Unstored::kNone ? "0 x 0" : shape == Unstored::kRowsOnly ? "a x 0" : "0 x b";
}

void writeUnstored(kernelwriter::KernelFile& f, int q, Unstored shape, std::int32_t dofs, std::int32_t modes,
                   std::int32_t steps) {
  const struct {
    int section;
    std::int32_t a, b;
  } sections[] = {{15 + q, dofs, steps}, {18 + q, modes, steps}, {21 + q, steps, dofs}, {24 + q, steps, modes}};
  for (const auto& s : sections) {
    f.setMatrix(s.section, shape == Unstored::kRowsOnly ? s.a : 0, shape == Unstored::kColumnsOnly ? s.b : 0,
                std::vector<double>());
  }
}

}  // namespace testsupport
