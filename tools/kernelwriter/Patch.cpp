// Patch helpers: little-endian stores into a finished file image, and writing an image to disk.
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "kernelwriter/KernelWriter.h"

namespace kernelwriter {

namespace {

// Stores the low `size` bytes of v at `at`, least significant first.
void store(std::vector<uint8_t>& b, int64_t at, uint64_t v, int size) {
  if (at < 0 || uint64_t(at) > b.size() || b.size() - uint64_t(at) < uint64_t(size))
    throw std::out_of_range("kernelwriter: patch at " + std::to_string(at) + " lies outside the bytes");
  for (int i = 0; i < size; ++i) b[size_t(at) + size_t(i)] = uint8_t(v >> (8 * i));
}

}  // namespace

void putI32(std::vector<uint8_t>& b, int64_t at, int32_t v) { store(b, at, uint32_t(v), 4); }

void putU32(std::vector<uint8_t>& b, int64_t at, uint32_t v) { store(b, at, v, 4); }

void putI64(std::vector<uint8_t>& b, int64_t at, int64_t v) { store(b, at, uint64_t(v), 8); }

void putF64(std::vector<uint8_t>& b, int64_t at, double v) {
  uint64_t bits;
  std::memcpy(&bits, &v, 8);
  store(b, at, bits, 8);
}

void writeBytes(const std::string& path, const std::vector<uint8_t>& b) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) throw std::runtime_error("kernelwriter: cannot open " + path + " for writing");
  // An empty vector may have no storage at all; fwrite must not be handed its null pointer.
  const bool written = b.empty() || std::fwrite(b.data(), 1, b.size(), f) == b.size();
  const bool closed = std::fclose(f) == 0;
  if (!written || !closed) throw std::runtime_error("kernelwriter: cannot write " + path);
}

}  // namespace kernelwriter
