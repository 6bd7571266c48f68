// The fuzz target for the whole read path: the file bytes come from the input, the request from its last bytes
// (see FuzzInput.h). Every call must return 0 or -1, and must never write outside the caller's arrays (guard
// values around them are checked after every call); the sanitizers catch everything else.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelfile/platform.h"

namespace {

constexpr double kGuard = -12345.678;
constexpr std::size_t kGuardCount = 8;
constexpr std::int64_t kMaxResultDoubles = 1 << 20;  // keeps one run's allocation small

// The scratch file each input is written to; removed when the process ends.
struct ScratchFile {
  ScratchFile() {
    // The system's temporary folder: TMPDIR or /tmp on POSIX, TMP or TEMP on Windows.
    std::error_code error;
    const std::filesystem::path dir = std::filesystem::temp_directory_path(error);
    path = (error ? std::filesystem::path(".") : dir).string() + "/timekernel-fuzz-" + std::to_string(::getpid()) +
           ".kernel";
  }
  ~ScratchFile() { std::remove(path.c_str()); }
  std::string path;
};

// Every response id code the key tables know, gathered once from the library's own registry.
const std::vector<std::int32_t>& vocabulary() {
  static const std::vector<std::int32_t> codes = [] {
    std::vector<std::int32_t> all;
    const Zarn::TimeKernelKeySet& keys = Zarn::theRequest.keySet;
    for (const auto& key : keys.nodeKeys)
      for (const auto& entry : key->componentIndex) all.push_back(entry.key);
    for (const auto* map : {&keys.forceKeys, &keys.stressKeys, &keys.deformKeys})
      for (const auto& kv : *map)
        for (const auto& entry : kv.second->componentIndex) all.push_back(entry.key);
    return all;
  }();
  return codes;
}

std::int32_t le32(const std::uint8_t* p) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
                                   static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24);
}

std::int64_t le64(const std::uint8_t* p) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(le32(p))) |
                                   static_cast<std::uint64_t>(static_cast<std::uint32_t>(le32(p + 4))) << 32);
}

// Up to 16 IDs of the node directory, decoded here from the input with bounds checks of its own.
std::vector<std::int32_t> nodeIds(const std::uint8_t* file, std::size_t size) {
  std::vector<std::int32_t> ids;
  if (size < 220) return ids;
  const std::int64_t position = le64(file + 4 + 8 * 2);
  if (position < 0 || static_cast<std::uint64_t>(position) > size - 12) return ids;
  const std::int32_t n = le32(file + position + 4);
  for (std::int32_t i = 0; i < n && i < 16; ++i) {
    const std::uint64_t at = static_cast<std::uint64_t>(position) + 12 + 4 * static_cast<std::uint64_t>(i);
    if (at + 4 > size) break;
    ids.push_back(le32(file + at));
  }
  return ids;
}

// (steps, dofs) from section 21's header in the input, or (1, 1) when it cannot be decoded.
void dimensions(const std::uint8_t* file, std::size_t size, std::int64_t* steps) {
  *steps = 1;
  if (size < 220) return;
  const std::int64_t position = le64(file + 4 + 8 * 21);
  if (position < 0 || static_cast<std::uint64_t>(position) > size - 12) return;
  *steps = le32(file + position + 4);
}

void checkGuards(const std::vector<double>& buffer, std::size_t length) {
  for (std::size_t i = 0; i < kGuardCount; ++i) {
    if (buffer[i] != kGuard || buffer[kGuardCount + length + i] != kGuard) {
      std::fprintf(stderr, "write outside the caller's array\n");
      std::abort();
    }
  }
}

void checkResult(std::int32_t rc) {
  if (rc != 0 && rc != -1) {
    std::fprintf(stderr, "result %d is neither 0 nor -1\n", rc);
    std::abort();
  }
}

}  // namespace

// The machine's memory and disk figures decide the library's window and allocation bound. Fixed here, the same
// input takes the same path on every machine, so a run with a fixed seed is reproducible anywhere.
void fixMachineFigures() {
  Zarn::platform::Calls& calls = Zarn::platform::calls();
  calls.availableMemory = [](std::int64_t* bytes) {
    *bytes = std::int64_t{2} << 30;
    return true;
  };
  calls.processMemoryUse = [](std::int64_t* bytes) {
    *bytes = std::int64_t{64} << 20;
    return true;
  };
  calls.freeDiskSpace = [](Zarn::platform::FileHandle, std::int64_t* bytes) {
    *bytes = std::int64_t{16} << 30;
    return true;
  };
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool fixed = (fixMachineFigures(), true);
  (void)fixed;
  std::uint8_t request[fuzzinput::kRequestBytes] = {};
  std::size_t fileSize = size;
  if (size >= fuzzinput::kRequestBytes) {
    fileSize = size - fuzzinput::kRequestBytes;
    std::memcpy(request, data + fileSize, fuzzinput::kRequestBytes);
  }
  static const ScratchFile scratch;
  const std::string& path = scratch.path;
  if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
    if (fileSize > 0) std::fwrite(data, 1, fileSize, f);
    std::fclose(f);
  } else {
    return 0;
  }

  // The element listing, with guard values around a small buffer.
  std::int32_t total = 0;
  checkResult(TimeKernelElementID(path.c_str(), nullptr, &total));
  std::vector<std::int32_t> elementIds(16 + 2, 0x7eadbeef);
  std::int32_t capacity = 16;
  checkResult(TimeKernelElementID(path.c_str(), elementIds.data() + 1, &capacity));
  if (elementIds.front() != 0x7eadbeef || elementIds.back() != 0x7eadbeef) std::abort();
  elementIds = std::vector<std::int32_t>(elementIds.begin() + 1, elementIds.begin() + 1 + std::min(capacity > 0 ? capacity : 0, 16));

  // The request.
  const std::int32_t flags = request[0] & 31;
  const std::int32_t stepNumber = static_cast<std::int8_t>(request[1]);
  const std::int32_t modeNumber = static_cast<std::int8_t>(request[2]);
  const std::int32_t idCount = 1 + (request[3] & 3);
  const std::vector<std::int32_t> pool = (flags & 1) ? elementIds : nodeIds(data, fileSize);
  std::vector<std::int32_t> ids;
  for (std::int32_t i = 0; i < idCount; ++i) {
    ids.push_back(pool.empty() ? le32(request + 4) : pool[request[4 + i] % pool.size()]);
  }
  const std::vector<std::int32_t>& codes = vocabulary();
  const std::int32_t keyCount = request[8] % 5;
  std::vector<std::int32_t> keys;
  for (std::int32_t k = 0; k < keyCount; ++k) {
    keys.push_back(codes[request[9 + k] % codes.size()] + (request[13] % 3) * 100000000);
  }

  std::int64_t steps = 1;
  dimensions(data, fileSize, &steps);
  std::int64_t needed;
  if (flags & 16) {
    const std::int64_t n = static_cast<std::int64_t>(keyCount) * idCount;
    needed = 2 * n * n;
  } else {
    const std::int64_t perId = stepNumber <= 0 ? keyCount * std::max<std::int64_t>(steps, 1) : keyCount;
    needed = perId * idCount;
  }
  needed += static_cast<std::int8_t>(request[14]) % 4;
  if (needed < 0) needed = 0;
  if (needed > kMaxResultDoubles) needed = kMaxResultDoubles;
  const auto length = static_cast<std::size_t>(needed);
  std::vector<double> buffer(length + 2 * kGuardCount, kGuard);
  checkResult(TimeKernelOutputResult(path.c_str(), flags, ids.data(), idCount, keys.empty() ? nullptr : keys.data(),
                                     keyCount, modeNumber, stepNumber, buffer.data() + kGuardCount,
                                     static_cast<std::int32_t>(length)));
  checkGuards(buffer, length);
  return 0;
}
