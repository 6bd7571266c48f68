// Overflow-checked 64-bit arithmetic for offsets and sizes that come from a kernel file.
//
// A hostile file can hold counts near 2^31 and positions near 2^63; the products and sums that turn them into
// byte offsets must never wrap (signed overflow is undefined, and a wrapped size allocates or maps too little).
// Each helper returns false instead of overflowing; the caller decides whether that is a failure of the call or
// a read that is silently dropped.
#pragma once

#include <cstdint>

namespace Zarn {

inline bool checkedAdd(std::int64_t a, std::int64_t b, std::int64_t* sum) {
  if ((b > 0 && a > INT64_MAX - b) || (b < 0 && a < INT64_MIN - b)) return false;
  *sum = a + b;
  return true;
}

inline bool checkedMul(std::int64_t a, std::int64_t b, std::int64_t* product) {
  if (a == 0 || b == 0) {
    *product = 0;
    return true;
  }
  // Work on magnitudes in unsigned arithmetic, which cannot overflow in a way the compiler may exploit.
  const bool negative = (a < 0) != (b < 0);
  const std::uint64_t ua = a < 0 ? 0 - static_cast<std::uint64_t>(a) : static_cast<std::uint64_t>(a);
  const std::uint64_t ub = b < 0 ? 0 - static_cast<std::uint64_t>(b) : static_cast<std::uint64_t>(b);
  const std::uint64_t limit = negative ? static_cast<std::uint64_t>(INT64_MAX) + 1 : static_cast<std::uint64_t>(INT64_MAX);
  if (ua > limit / ub) return false;
  const std::uint64_t magnitude = ua * ub;
  *product = negative ? static_cast<std::int64_t>(0 - magnitude) : static_cast<std::int64_t>(magnitude);
  return true;
}

// a * b + c, all or nothing.
inline bool checkedMulAdd(std::int64_t a, std::int64_t b, std::int64_t c, std::int64_t* result) {
  std::int64_t product;
  return checkedMul(a, b, &product) && checkedAdd(product, c, result);
}

}  // namespace Zarn
