// The three dense records that carry every table, history and result: Matrix, Vector and IntArray, and the fixed
// 3 by 3 Matrix3 kept inside a node.
//
// They are plain value records with an ownership flag, not a matrix class. A record with `owned` 1 owns `data`
// and frees it; with `owned` 0 it is a view on storage that belongs to somebody else (the caller's arrays, a block
// of a result, a column of a table), and it never frees or reshapes that storage. Records free what they own when
// they are destroyed, so a failure that unwinds through a flow leaks nothing. They cannot be copied (a copy would
// free twice); `assign` copies values, and views are made with `view`.
//
// Entry (r, c) of a Matrix stands at data[r + c * stride]; entry i of a Vector at data[i * stride]. The records
// make no bounds checks: indexes that come from a kernel file are checked by the code that reads them.
#pragma once

#include <cstdint>

namespace Zarn {

struct Matrix {
  std::int32_t rows = 0;    // number of rows
  std::int32_t cols = 0;    // number of columns
  double* data = nullptr;   // first value, or null when empty
  std::int32_t stride = 0;  // distance in values between columns; 0 when empty (some readers take 0 as rows)
  std::int32_t owned = 1;   // 1: owns data; 0: a view

  Matrix() = default;
  ~Matrix() { clear(); }
  Matrix(const Matrix&) = delete;
  Matrix& operator=(const Matrix&) = delete;
  Matrix(Matrix&& other) noexcept;
  Matrix& operator=(Matrix&& other) noexcept;

  // A non-owning record over somebody else's storage. Valid as long as that storage is.
  static Matrix view(std::int32_t rows, std::int32_t cols, double* data, std::int32_t stride);

  // Only an owned record whose shape differs is reallocated: rows * cols values (null when that is 0), contents
  // neither kept nor cleared, stride = rows. A view, and an owned record of the right shape, stay as they are.
  // A negative shape, or one too large to allocate, fails the call.
  void resize(std::int32_t newRows, std::int32_t newCols);
  // Frees data when owned, forgets it otherwise; rows, cols, stride 0. `owned` keeps its value.
  void clear();
  // Resizes to the source's shape (by the rule of resize), then copies the values, column by column unless both
  // records are packed (stride equal to rows).
  void assign(const Matrix& source);
  // Sets every entry to zero, walking by the stride.
  void setZero();

  // Number of entries, rows * cols, in 64 bits. A record is empty when this is 0, whatever its stride.
  std::int64_t count() const { return static_cast<std::int64_t>(rows) * cols; }
  bool empty() const { return count() == 0; }
  // The column distance that readers use: the stride, or the rows when the stride is 0.
  std::int32_t columnDistance() const { return stride != 0 ? stride : rows; }
  double& at(std::int32_t r, std::int32_t c) { return data[r + static_cast<std::int64_t>(c) * stride]; }
  double at(std::int32_t r, std::int32_t c) const { return data[r + static_cast<std::int64_t>(c) * stride]; }
};

struct Vector {
  double* data = nullptr;   // first value, or null when empty
  std::int32_t size = 0;    // number of entries
  std::int32_t stride = 1;  // distance between two entries
  std::int32_t owned = 1;   // 1: owns data; 0: a view

  Vector() = default;
  ~Vector() { clear(); }
  Vector(const Vector&) = delete;
  Vector& operator=(const Vector&) = delete;
  Vector(Vector&& other) noexcept;
  Vector& operator=(Vector&& other) noexcept;

  static Vector view(double* data, std::int32_t size, std::int32_t stride);

  // Only an owned record whose size differs is reallocated (null for 0); the stride stays.
  void resize(std::int32_t newSize);
  void clear();
  // Reallocates when the size differs, then copies (one run when both strides are 1).
  void assign(const Vector& source);
  void setZero();

  double* at(std::int32_t i) { return data + static_cast<std::int64_t>(i) * stride; }
  const double* at(std::int32_t i) const { return data + static_cast<std::int64_t>(i) * stride; }
  bool empty() const { return size == 0; }
};

struct IntArray {
  std::int32_t* data = nullptr;  // always owned
  std::int32_t size = 0;

  IntArray() = default;
  ~IntArray() { clear(); }
  IntArray(const IntArray&) = delete;
  IntArray& operator=(const IntArray&) = delete;

  // Reallocates when the size differs (null for 0); contents not kept.
  void resize(std::int32_t newSize);
  void clear();
  void assign(const IntArray& source);

  std::int32_t* at(std::int32_t i) { return data + i; }
  std::int32_t operator[](std::int32_t i) const { return data[i]; }
};

// A node's rotation: rows and cols are 3 when present, 0 when the node has none. Values row by row: a triple
// (a, b, c) becomes (v0 a + v1 b + v2 c, v3 a + v4 b + v5 c, v6 a + v7 b + v8 c).
struct Matrix3 {
  std::int32_t rows = 0;
  std::int32_t cols = 0;
  double values[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

  bool present() const { return rows * cols != 0; }
  // Turns the triple at p[0], p[step], p[2*step] in place.
  void rotate(double* p, std::int64_t step) const;
};

}  // namespace Zarn
