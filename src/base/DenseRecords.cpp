#include "base/DenseRecords.h"

#include <cstring>
#include <utility>

#include "base/Allocation.h"
#include "base/Failure.h"

namespace Zarn {

// ---- Matrix ----

Matrix::Matrix(Matrix&& other) noexcept
    : rows(other.rows), cols(other.cols), data(other.data), stride(other.stride), owned(other.owned) {
  other.data = nullptr;
  other.rows = other.cols = other.stride = 0;
}

Matrix& Matrix::operator=(Matrix&& other) noexcept {
  if (this != &other) {
    clear();
    rows = other.rows;
    cols = other.cols;
    data = other.data;
    stride = other.stride;
    owned = other.owned;
    other.data = nullptr;
    other.rows = other.cols = other.stride = 0;
  }
  return *this;
}

Matrix Matrix::view(std::int32_t rows, std::int32_t cols, double* data, std::int32_t stride) {
  Matrix m;
  m.rows = rows;
  m.cols = cols;
  m.data = data;
  m.stride = stride;
  m.owned = 0;
  return m;
}

void Matrix::resize(std::int32_t newRows, std::int32_t newCols) {
  if (!owned || (rows == newRows && cols == newCols)) return;
  TK_CHECK(newRows >= 0 && newCols >= 0);
  double* fresh = allocateArray<double>(static_cast<std::int64_t>(newRows) * newCols);
  releaseArray(data);
  data = fresh;
  rows = newRows;
  cols = newCols;
  stride = newRows;
}

void Matrix::clear() {
  if (owned) releaseArray(data);
  data = nullptr;
  rows = cols = stride = 0;
}

void Matrix::assign(const Matrix& source) {
  resize(source.rows, source.cols);
  // A view of another shape takes only the part both shapes share.
  const std::int32_t r = rows < source.rows ? rows : source.rows;
  const std::int32_t c = cols < source.cols ? cols : source.cols;
  if (static_cast<std::int64_t>(r) * c == 0) return;
  if (rows == stride && source.rows == source.stride && r == rows && c == cols) {
    std::memcpy(data, source.data, static_cast<std::size_t>(count()) * sizeof(double));
    return;
  }
  for (std::int32_t j = 0; j < c; ++j) {
    std::memcpy(data + static_cast<std::int64_t>(j) * stride, source.data + static_cast<std::int64_t>(j) * source.stride,
                static_cast<std::size_t>(r) * sizeof(double));
  }
}

void Matrix::setZero() {
  if (empty()) return;
  if (stride == rows) {
    std::memset(data, 0, static_cast<std::size_t>(count()) * sizeof(double));
    return;
  }
  for (std::int32_t j = 0; j < cols; ++j) std::memset(&at(0, j), 0, static_cast<std::size_t>(rows) * sizeof(double));
}

// ---- Vector ----

Vector::Vector(Vector&& other) noexcept
    : data(other.data), size(other.size), stride(other.stride), owned(other.owned) {
  other.data = nullptr;
  other.size = 0;
}

Vector& Vector::operator=(Vector&& other) noexcept {
  if (this != &other) {
    clear();
    data = other.data;
    size = other.size;
    stride = other.stride;
    owned = other.owned;
    other.data = nullptr;
    other.size = 0;
  }
  return *this;
}

Vector Vector::view(double* data, std::int32_t size, std::int32_t stride) {
  Vector v;
  v.data = data;
  v.size = size;
  v.stride = stride;
  v.owned = 0;
  return v;
}

void Vector::resize(std::int32_t newSize) {
  if (!owned || size == newSize) return;
  TK_CHECK(newSize >= 0);
  double* fresh = allocateArray<double>(newSize);
  releaseArray(data);
  data = fresh;
  size = newSize;
}

void Vector::clear() {
  if (owned) releaseArray(data);
  data = nullptr;
  size = 0;
}

void Vector::assign(const Vector& source) {
  resize(source.size);
  const std::int32_t n = size < source.size ? size : source.size;
  if (n == 0) return;
  if (stride == 1 && source.stride == 1) {
    std::memcpy(data, source.data, static_cast<std::size_t>(n) * sizeof(double));
    return;
  }
  for (std::int32_t i = 0; i < n; ++i) *at(i) = *source.at(i);
}

void Vector::setZero() {
  for (std::int32_t i = 0; i < size; ++i) *at(i) = 0.0;
}

// ---- IntArray ----

void IntArray::resize(std::int32_t newSize) {
  if (size == newSize) return;
  TK_CHECK(newSize >= 0);
  std::int32_t* fresh = allocateArray<std::int32_t>(newSize);
  releaseArray(data);
  data = fresh;
  size = newSize;
}

void IntArray::clear() {
  releaseArray(data);
  data = nullptr;
  size = 0;
}

void IntArray::assign(const IntArray& source) {
  resize(source.size);
  if (size > 0) std::memcpy(data, source.data, static_cast<std::size_t>(size) * sizeof(std::int32_t));
}

// ---- Matrix3 ----

void Matrix3::rotate(double* p, std::int64_t step) const {
  const double a = p[0], b = p[step], c = p[2 * step];
  p[0] = values[0] * a + values[1] * b + values[2] * c;
  p[step] = values[3] * a + values[4] * b + values[5] * c;
  p[2 * step] = values[6] * a + values[7] * b + values[8] * c;
}

}  // namespace Zarn
