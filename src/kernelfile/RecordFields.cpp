#include "kernelfile/RecordFields.h"

#include <cstring>

#include "base/Bytes.h"
#include "base/Checked.h"
#include "kernelfile/FileMapping.h"
#include "base/Failure.h"

namespace Zarn {

namespace {
// Bytes of one u32 count, and of a table's two counts taken together.
constexpr std::int64_t kCountSize = 4;
constexpr std::int64_t kTableHeaderSize = 8;
}  // namespace

std::int32_t checkedCount(std::uint32_t field) {
  // Counts are signed 32-bit throughout the library; a larger field cannot describe a real record.
  TK_CHECK(field <= static_cast<std::uint32_t>(INT32_MAX));
  return static_cast<std::int32_t>(field);
}

bool readCount(FileMapping& in, std::int32_t& count) {
  const unsigned char* field = in.take(kCountSize);
  if (field == nullptr) return false;
  count = checkedCount(readU32(field));
  return true;
}

bool readIntRun(FileMapping& in, IntArray& array, std::int32_t n) {
  const bool reallocated = array.size != n;
  array.resize(n);  // fails the call for a negative n or one too large to allocate
  if (n == 0) return true;
  // n <= INT32_MAX, so 4 * n fits easily in 64 bits. The host is little-endian (Bytes.h), so the file's
  // integers are copied as they stand.
  if (in.read(array.data, static_cast<std::int64_t>(n) * 4)) return true;
  if (reallocated) std::memset(array.data, 0, static_cast<std::size_t>(n) * sizeof(std::int32_t));
  return false;
}

bool readDoubleRun(FileMapping& in, Vector& vector, std::int32_t n) {
  const bool reallocated = vector.owned && vector.size != n;
  vector.resize(n);
  // resize leaves a view as it is; its storage must hold exactly the n values that follow.
  TK_CHECK(vector.size == n);
  if (n == 0) return true;
  // The values are copied as one packed run.
  TK_CHECK(vector.stride == 1 || n == 1);
  if (in.read(vector.data, static_cast<std::int64_t>(n) * 8)) return true;
  if (reallocated) vector.setZero();
  return false;
}

bool readTable(FileMapping& in, Matrix& table) {
  const unsigned char* header = in.take(kTableHeaderSize);
  if (header == nullptr) return false;
  const std::int32_t rows = checkedCount(readU32(header));
  const std::int32_t cols = checkedCount(readU32(header + 4));
  const bool reshaped = table.owned && (table.rows != rows || table.cols != cols);
  table.resize(rows, cols);  // rows * cols is taken in 64 bits and bounded by allocateArray
  // resize leaves a view as it is; its storage must have exactly this shape.
  TK_CHECK(table.rows == rows && table.cols == cols);
  const std::int64_t count = table.count();
  if (count == 0) return true;
  // The file's values are packed column by column, so they can only be copied into a packed matrix.
  TK_CHECK(table.stride == rows);
  std::int64_t bytes = 0;
  TK_CHECK(checkedMul(count, 8, &bytes));
  if (in.read(table.data, bytes)) return true;
  if (reshaped) table.setZero();
  return false;
}

}  // namespace Zarn
