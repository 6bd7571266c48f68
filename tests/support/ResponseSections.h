// The response sections of a run as the end-to-end and hardening models write them: the same numbers by step
// and by degree of freedom, and the initial states with a second column that no read may use.
#pragma once

#include <cstdint>
#include <vector>

#include "kernelwriter/KernelWriter.h"

namespace testsupport {

// One array for each quantity: 0 displacement, 1 velocity, 2 acceleration.
using PerQuantity = std::vector<double>[3];

// The transpose of a rows x cols column-major matrix.
std::vector<double> transposed(const std::vector<double>& v, std::int32_t rows, std::int32_t cols);

// A column followed by a second column of junk (junk, junk + 1, ...): sections of which column 0 alone is used.
std::vector<double> withJunkColumn(const std::vector<double>& column, double junk);

// Sections 5..10 and 12..26 of one run: for each quantity q the initial states 5 + q (with base motion), 8 + q
// (without) and 12 + q (modal), each with a junk column from `junk` on; the direct and modal histories by step,
// 15 + q (dofs x steps) and 18 + q (modes x steps); and their transposes by degree of freedom, 21 + q and 24 + q.
void setResponseSections(kernelwriter::KernelFile& f, std::int32_t dofs, std::int32_t modes, std::int32_t steps,
                         const PerQuantity& initialWithBase, const PerQuantity& initialWithout,
                         const PerQuantity& modalInitial, const PerQuantity& direct, const PerQuantity& modal,
                         double junk);

// How a file that does not store a quantity writes its sections: 0 x 0, a x 0 (its rows kept, no columns) or
// 0 x b (its columns kept, no rows).
enum class Unstored { kNone, kRowsOnly, kColumnsOnly };

// "0 x 0", "a x 0" or "0 x b".
const char* nameOf(Unstored shape);

// Sections 15 + q, 18 + q (by step: dofs or modes x steps) and 21 + q, 24 + q (by degree of freedom or mode:
// steps x dofs or modes) of quantity q (0 displacement, 1 velocity, 2 acceleration) written with no values,
// each with its own a or b kept as `shape` says.
void writeUnstored(kernelwriter::KernelFile& f, int q, Unstored shape, std::int32_t dofs, std::int32_t modes,
                   std::int32_t steps);

}  // namespace testsupport
