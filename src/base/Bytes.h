// Little-endian field decoding from unaligned bytes. Kernel-file fields are packed and unaligned, so values are
// assembled byte by byte (never by casting a struct or a pointer onto mapped bytes).
//
// Bulk runs of doubles are copied as they stand (memcpy), which is right only on a little-endian host; the
// check below keeps the library from building anywhere else.
#pragma once

#include <cstdint>
#include <cstring>

#if defined(__BYTE_ORDER__) && (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__)
#error "TimeKernel copies little-endian kernel-file data as it stands and needs a little-endian host"
#endif

namespace Zarn {

inline std::uint32_t readU32(const unsigned char* p) {
  return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
         static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

inline std::int32_t readI32(const unsigned char* p) { return static_cast<std::int32_t>(readU32(p)); }

inline std::int64_t readI64(const unsigned char* p) {
  const std::uint64_t low = readU32(p);
  const std::uint64_t high = readU32(p + 4);
  return static_cast<std::int64_t>(low | high << 32);
}

inline double readF64(const unsigned char* p) {
  double value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

}  // namespace Zarn
