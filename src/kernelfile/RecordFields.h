// Field readers shared by the node and element records: counts, runs of integers and doubles, and tables.
//
// Every count in a record is an unsigned 32-bit field, but the library works with signed 32-bit counts, so a
// field above INT32_MAX is a corrupt record and fails the call. Every array is sized from a checked count
// through the records' own resize, which allocates through allocateArray (absurd sizes fail the call there),
// and only then are bytes copied into it, so nothing is ever written past what was allocated.
//
// Each reader follows the window's contract: when no view can be made, nothing is copied and the position
// does not move; the reader then returns false and its destination keeps what it held. One exception, so that
// no value is left undefined: an array that had to be reallocated for the new count is set to zero.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"

namespace Zarn {

class FileMapping;

// The signed count for a u32 count field; fails the call above INT32_MAX.
std::int32_t checkedCount(std::uint32_t field);

// One u32 count field. False, with `count` untouched, when no view can be made.
bool readCount(FileMapping& in, std::int32_t& count);

// `n` 32-bit integers into `array`, which is resized to n first (a u32 field is kept with its bits, so a row
// above INT32_MAX reads as negative and is refused by whoever uses it as a row).
bool readIntRun(FileMapping& in, IntArray& array, std::int32_t n);

// `n` doubles into `vector`. An owned vector is resized to n when its size differs; a view keeps its storage
// and must already have n entries, else the call fails (the values would not fit). Needs stride 1 when n > 1.
bool readDoubleRun(FileMapping& in, Vector& vector, std::int32_t n);

// One table: rows (u32) and cols (u32), taken in one 8-byte step, then rows * cols doubles, column-major and
// packed. The matrix goes through resize, so an owned matrix of the right shape is reused; a view of another
// shape, or one that is not packed, fails the call. On false the shape may already be the new one when the
// header was read but the values could not be.
bool readTable(FileMapping& in, Matrix& table);

}  // namespace Zarn
