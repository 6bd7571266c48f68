// The fuzz target for the whole read path: the file bytes come from the input, the request from its last bytes
// (see FuzzInput.h). Each input goes through both doors:
//
// 1. The handle door, first, while the file is as the input wrote it: open, describe, list nodes, elements and
//    response ids, name response ids, ask the request, close. Afterwards the file must hold exactly the input's
//    bytes, since a handle reads read-only. A NULL handle must be refused.
// 2. The designed door: the element listing and the request.
//
// What must hold after every call: the result is 0 or -1 (a name's length for the name function); nothing is
// written outside the caller's arrays (guard values around them are checked); after -1 the result array is all
// zero and the last error says why, after a success it is "". The sanitizers catch everything else.
//
// Where the doors are compared. The designed door maps the file read-write and lengthens a short file when it
// reads past the end; the next designed call then sees a longer file, with another allocation bound. So the
// designed answer is compared with the handle's only while the file still has its original size after that
// designed call: then both read the same bytes of the same file, and they must agree bit for bit (the return
// value, every double of the array, the element listing). Once the designed door has lengthened the file, a
// fresh handle on the lengthened file asks the request again and the designed door repeats it; those two are
// compared if the repeat left the file as the handle saw it.
//
// What is checked against the input's own bytes, decoded here with bounds checks of this file's own: the
// description's file size, format number, section mask and counts, and the IDs the lists give.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelfile/platform.h"

namespace {

constexpr double kGuard = -12345.678;
constexpr std::int32_t kGuardId = 0x7eadbeef;
constexpr std::size_t kGuardCount = 8;
constexpr std::int64_t kMaxResultDoubles = 1 << 20;  // keeps one run's allocation small
constexpr std::int32_t kListCapacity = 16;           // capacity of the lists asked for with guards around them
constexpr int kSectionCount = 27;

// The scratch file each input is written to; removed when the process ends.
struct ScratchFile {
  ScratchFile() {
    // The system's temporary folder: TMPDIR or /tmp on POSIX, TMP or TEMP on Windows.
    std::error_code error;
    const std::filesystem::path dir = std::filesystem::temp_directory_path(error);
    path = (error ? std::filesystem::path(".") : dir).string() + "/timekernel-fuzz-" +
           std::to_string(::getpid()) + ".kernel";
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

[[noreturn]] void failure(const char* what) {
  std::fprintf(stderr, "fuzz check failed: %s\n", what);
  std::abort();
}

// The input's file bytes, read as the library documents a short file: bytes past the end are zero.
class FileBytes {
 public:
  FileBytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  std::size_t size() const { return size_; }
  bool inside(std::int64_t position, std::int64_t n) const {
    return position >= 0 && n >= 0 && static_cast<std::uint64_t>(position) <= size_ &&
           static_cast<std::uint64_t>(n) <= size_ - static_cast<std::uint64_t>(position);
  }
  std::uint8_t at(std::uint64_t position) const { return position < size_ ? data_[position] : 0; }
  std::int32_t i32(std::uint64_t p) const {
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(at(p)) | static_cast<std::uint32_t>(at(p + 1)) << 8 |
        static_cast<std::uint32_t>(at(p + 2)) << 16 | static_cast<std::uint32_t>(at(p + 3)) << 24);
  }
  std::int64_t i64(std::uint64_t p) const {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(i32(p))) |
                                     static_cast<std::uint64_t>(static_cast<std::uint32_t>(i32(p + 4))) << 32);
  }
  std::int64_t sectionPosition(int section) const { return i64(4 + 8 * static_cast<std::uint64_t>(section)); }

  // A section's first and second count, when its header lies inside the file.
  bool counts(int section, std::int32_t* first, std::int32_t* second) const {
    const std::int64_t position = sectionPosition(section);
    if (!inside(position, 12)) return false;
    *first = i32(static_cast<std::uint64_t>(position) + 4);
    *second = i32(static_cast<std::uint64_t>(position) + 8);
    return true;
  }

  // Up to `limit` IDs of a directory (section 2: nodes, 3: elements) that lie inside the file.
  std::vector<std::int32_t> directoryIds(int section, std::int32_t limit) const {
    std::vector<std::int32_t> ids;
    std::int32_t n = 0, unused = 0;
    if (!counts(section, &n, &unused)) return ids;
    const auto position = static_cast<std::uint64_t>(sectionPosition(section));
    for (std::int32_t i = 0; i < n && i < limit; ++i) {
      const std::uint64_t at = position + 12 + 4 * static_cast<std::uint64_t>(i);
      if (!inside(static_cast<std::int64_t>(at), 4)) break;
      ids.push_back(i32(at));
    }
    return ids;
  }

  // The number of steps (section 21's first count), or 1 when it cannot be decoded.
  std::int64_t steps() const {
    std::int32_t steps = 1, unused = 0;
    counts(21, &steps, &unused);
    return steps;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

void checkResult(std::int32_t rc) {
  if (rc != 0 && rc != -1) failure("a result is neither 0 nor -1");
}

// The last error after a call that succeeded (rc >= 0) or failed (-1): "" after a success, a reason after a
// failure, never NULL, and no longer than the 511 bytes that are kept.
void checkLastError(std::int32_t rc) {
  const char* text = TimeKernelLastError();
  if (text == nullptr) failure("the last error is NULL");
  if (std::strlen(text) > 511) failure("the last error is longer than 511 bytes");
  if (rc >= 0 && text[0] != '\0') failure("the last error is not empty after a success");
  if (rc < 0 && text[0] == '\0') failure("the last error is empty after a failure");
}

// One request: the arguments of TimeKernelOutputResult without the path and the result array.
struct Ask {
  std::int32_t flags = 0;
  std::int32_t stepNumber = 0;
  std::int32_t modeNumber = 0;
  std::vector<std::int32_t> ids;
  std::vector<std::int32_t> keys;
  std::size_t length = 0;
};

// An answer: the return value and the result array with kGuardCount guard values on either side.
struct Answer {
  std::int32_t rc = 0;
  std::vector<double> buffer;
};

// The length a request needs, by the result layouts, changed by `change` and kept within 0..kMaxResultDoubles.
std::size_t lengthFor(const Ask& ask, std::int64_t steps, std::int64_t change) {
  const auto keyCount = static_cast<std::int64_t>(ask.keys.size());
  const auto idCount = static_cast<std::int64_t>(ask.ids.size());
  std::int64_t needed;
  if (ask.flags & TIMEKERNEL_ENVELOPE) {
    const std::int64_t n = keyCount * idCount;
    needed = 2 * n * n;
  } else {
    const std::int64_t perId = ask.stepNumber <= 0 ? keyCount * std::max<std::int64_t>(steps, 1) : keyCount;
    needed = perId * idCount;
  }
  needed += change;
  return static_cast<std::size_t>(std::clamp<std::int64_t>(needed, 0, kMaxResultDoubles));
}

// What one input asks: the request of its last bytes (flags, step, mode, IDs, response ids, length: every kind
// of request either door takes), and a node and an element whose response ids are listed.
struct Plan {
  Ask request;
  std::int32_t nodeId = 0;
  std::int32_t elementId = 0;
};

Plan planOf(const std::uint8_t* request, const FileBytes& file) {
  const std::int32_t flags = request[0] & 31;
  const std::int32_t idCount = 1 + (request[3] & 3);
  const std::int64_t steps = file.steps();
  // With no directory to pick from, bytes 4..7 are the ID itself.
  const std::int32_t rawId = FileBytes(request, fuzzinput::kRequestBytes).i32(4);
  auto idsFor = [&](std::int32_t askFlags) {
    const std::vector<std::int32_t> pool = file.directoryIds((askFlags & 1) ? 3 : 2, kListCapacity);
    std::vector<std::int32_t> ids;
    for (std::int32_t i = 0; i < idCount; ++i) {
      ids.push_back(pool.empty() ? rawId : pool[request[4 + i] % pool.size()]);
    }
    return ids;
  };
  const std::vector<std::int32_t>& codes = vocabulary();

  Plan plan;
  Ask& r = plan.request;
  r.flags = flags;
  r.stepNumber = static_cast<std::int8_t>(request[1]);
  r.modeNumber = static_cast<std::int8_t>(request[2]);
  r.ids = idsFor(flags);
  for (std::int32_t k = 0; k < request[8] % 5; ++k) {
    r.keys.push_back(codes[request[9 + k] % codes.size()] + (request[13] % 3) * 100000000);
  }
  r.length = lengthFor(r, steps, static_cast<std::int8_t>(request[14]) % 4);
  plan.nodeId = idsFor(0).front();
  plan.elementId = idsFor(TIMEKERNEL_ELEMENT_RESULTS).front();
  return plan;
}

void checkGuards(const std::vector<double>& buffer, std::size_t length) {
  for (std::size_t i = 0; i < kGuardCount; ++i) {
    if (buffer[i] != kGuard || buffer[kGuardCount + length + i] != kGuard)
      failure("write outside the caller's array");
  }
}

// The checks every answer of either door must pass.
void checkAnswer(const Answer& answer, std::size_t length) {
  checkResult(answer.rc);
  checkLastError(answer.rc);
  checkGuards(answer.buffer, length);
  if (answer.rc != 0) {
    for (std::size_t i = 0; i < length; ++i) {
      if (answer.buffer[kGuardCount + i] != 0.0) failure("the result array is not all zero after -1");
    }
  }
}

template <class Call>
Answer answer(const Ask& ask, Call call) {
  Answer a;
  a.buffer.assign(ask.length + 2 * kGuardCount, kGuard);
  a.rc = call(ask.flags, ask.ids.data(), static_cast<std::int32_t>(ask.ids.size()),
              ask.keys.empty() ? nullptr : ask.keys.data(), static_cast<std::int32_t>(ask.keys.size()),
              ask.modeNumber, ask.stepNumber, a.buffer.data() + kGuardCount,
              static_cast<std::int32_t>(ask.length));
  checkAnswer(a, ask.length);
  return a;
}

Answer designedAnswer(const std::string& path, const Ask& ask) {
  return answer(ask, [&](auto... args) { return TimeKernelOutputResult(path.c_str(), args...); });
}

Answer handleAnswer(TimeKernelFile* handle, const Ask& ask) {
  return answer(ask, [&](auto... args) { return TimeKernelQuery(handle, args...); });
}

// Both doors answered the same request on the same file: the same return value and the same bits.
void checkSameAnswer(const Answer& designed, const Answer& handle, const char* what) {
  if (designed.rc != handle.rc) failure(what);
  if (designed.buffer.size() != handle.buffer.size() ||
      std::memcmp(designed.buffer.data(), handle.buffer.data(), designed.buffer.size() * sizeof(double)) != 0) {
    failure(what);
  }
}

std::int64_t sizeOnDisk(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return error ? -1 : static_cast<std::int64_t>(size);
}

bool holdsExactly(const std::string& path, const std::uint8_t* data, std::size_t size) {
  if (sizeOnDisk(path) != static_cast<std::int64_t>(size)) return false;
  std::ifstream in(path, std::ios::binary);
  std::vector<char> content(size);
  in.read(content.data(), static_cast<std::streamsize>(size));
  return in.gcount() == static_cast<std::streamsize>(size) &&
         (size == 0 || std::memcmp(content.data(), data, size) == 0);
}

// A list with the size-query protocol: capacity 0 and NULL give the total; a capacity of kListCapacity, with
// guards around the arrays, gives the same total and min(total, capacity) entries. Returns the entries (empty
// after -1). `call(ids, second, count)` fills `second` too when the list has a second array (type codes).
template <class Call>
std::vector<std::int32_t> listed(Call call, std::vector<std::int32_t>* second = nullptr,
                                 std::int32_t* listTotal = nullptr) {
  std::int32_t total = 0;
  std::int32_t rc = call(nullptr, nullptr, &total);
  checkResult(rc);
  checkLastError(rc);
  if (rc != 0) {
    if (total != 0) failure("a failed list changed its count");
    return {};
  }
  if (total < 0) failure("a list's total is negative");
  std::vector<std::int32_t> ids(kListCapacity + 2, kGuardId), codes(kListCapacity + 2, kGuardId);
  std::int32_t count = kListCapacity;
  rc = call(ids.data() + 1, second ? codes.data() + 1 : nullptr, &count);
  checkResult(rc);
  checkLastError(rc);
  if (ids.front() != kGuardId || ids.back() != kGuardId || codes.front() != kGuardId ||
      codes.back() != kGuardId) {
    failure("a list wrote outside the caller's array");
  }
  if (rc != 0) {
    if (count != kListCapacity) failure("a failed list changed its count");
    return {};
  }
  if (count != total) failure("a list's total depends on the capacity");
  if (listTotal) *listTotal = total;
  const std::int32_t written = std::min(total, kListCapacity);
  if (second) second->assign(codes.begin() + 1, codes.begin() + 1 + written);
  return std::vector<std::int32_t>(ids.begin() + 1, ids.begin() + 1 + written);
}

// The IDs a list gave agree with those the directory holds inside the file (those past the end read as zeros).
void checkIds(const std::vector<std::int32_t>& listedIds, const std::vector<std::int32_t>& fileIds,
              const char* what) {
  for (std::size_t i = 0; i < listedIds.size() && i < fileIds.size(); ++i) {
    if (listedIds[i] != fileIds[i]) failure(what);
  }
}

// The description against the input's own bytes.
void checkDescription(const TimeKernelDescription& d, const FileBytes& file) {
  if (d.version != TIMEKERNEL_DESCRIPTION_VERSION) failure("the description changed its version");
  if (d.formatNumber != 100 || d.reserved != 0) failure("the description's format number or reserved field");
  if (d.fileSize != static_cast<std::int64_t>(file.size())) failure("the description's file size");
  std::uint32_t present = 0;
  for (int s = 0; s < kSectionCount; ++s) {
    if (file.sectionPosition(s) >= 0) present |= 1u << s;
  }
  if (d.sectionsPresent != present) failure("the description's section mask");
  std::int32_t first = 0, second = 0;
  if (file.counts(21, &first, &second) && (d.stepCount != first || d.dofCount != second)) {
    failure("the description's step or dof count");
  }
  if (file.counts(0, &first, &second) && d.modeCount != second) failure("the description's mode count");
  if (file.counts(4, &first, &second) && d.loadCount != first) failure("the description's load count");
  if (file.counts(2, &first, &second) && d.nodeCount != first) failure("the description's node count");
  if (file.counts(3, &first, &second) && d.elementCount != first) failure("the description's element count");
  for (int s : {0, 2, 3, 4}) {
    if (file.sectionPosition(s) < 0) {
      const std::int32_t count = s == 0   ? d.modeCount
                                 : s == 2 ? d.nodeCount
                                 : s == 3 ? d.elementCount
                                          : d.loadCount;
      if (count != 0) failure("an absent section does not count 0");
    }
  }
}

// A response id's name, and back: the length whatever the capacity, a short buffer holds the name's start with
// a terminator, and the name gives the response id again.
void checkName(std::int32_t typeCode, std::int32_t key) {
  const std::int32_t length = TimeKernelResponseName(typeCode, key, nullptr, 0);
  checkLastError(length);
  if (length < 0) {
    if (length != -1) failure("a name's length is below -1");
    return;
  }
  char name[128];
  std::memset(name, 'x', sizeof name);
  if (TimeKernelResponseName(typeCode, key, name, sizeof name - 1) != length || length >= 127 ||
      name[length] != '\0' || name[127] != 'x') {
    failure("a name differs with the capacity");
  }
  char shortName[4];
  std::memset(shortName, 'x', sizeof shortName);
  if (TimeKernelResponseName(typeCode, key, shortName, 3) != length || shortName[3] != 'x' ||
      std::strncmp(shortName, name, std::min<std::int32_t>(length, 2)) != 0 ||
      shortName[std::min<std::int32_t>(length, 2)] != '\0') {
    failure("a name in a short buffer");
  }
  std::int32_t back = 0;
  const std::int32_t rc = TimeKernelResponseByName(typeCode, name, &back);
  checkLastError(rc);
  if (rc != 0 || back != key) failure("a name does not give its response id back");
}

// What the handle door said about the file, kept for the comparison with the designed door.
struct HandleFindings {
  bool opened = false;
  std::vector<std::int32_t> elementIds;  // the element listing without type codes
  std::int32_t elementTotal = -1;        // -1 when the listing failed
  Answer request;                        // the answer to the plan's request
};

HandleFindings exerciseHandle(const std::string& path, const FileBytes& file, const Plan& plan) {
  HandleFindings found;
  TimeKernelFile* handle = reinterpret_cast<TimeKernelFile*>(&found);  // must become NULL on failure
  const std::int32_t opened = TimeKernelOpen(path.c_str(), &handle);
  checkResult(opened);
  checkLastError(opened);
  if (opened != 0) {
    if (handle != nullptr) failure("a failed open left the handle set");
    return found;
  }
  found.opened = true;

  TimeKernelDescription description{};
  description.version = 0;
  if (TimeKernelDescribe(handle, &description) != -1) failure("a description of version 0 did not fail");
  checkLastError(-1);
  description.version = TIMEKERNEL_DESCRIPTION_VERSION;
  const std::int32_t described = TimeKernelDescribe(handle, &description);
  checkResult(described);
  checkLastError(described);
  if (described == 0) checkDescription(description, file);

  const std::vector<std::int32_t> nodes = listed([&](std::int32_t* ids, std::int32_t*, std::int32_t* count) {
    return TimeKernelNodeIDs(handle, ids, count);
  });
  checkIds(nodes, file.directoryIds(2, kListCapacity), "the node IDs differ from the directory's");
  std::vector<std::int32_t> typeCodes;
  const std::vector<std::int32_t> elements =
      listed([&](std::int32_t* ids, std::int32_t* codes,
                 std::int32_t* count) { return TimeKernelElements(handle, ids, codes, count); },
             &typeCodes);
  found.elementIds =
      listed([&](std::int32_t* ids, std::int32_t*,
                 std::int32_t* count) { return TimeKernelElements(handle, ids, nullptr, count); },
             nullptr, &found.elementTotal);
  if (found.elementIds != elements) failure("the element IDs depend on asking for type codes");
  checkIds(elements, file.directoryIds(3, kListCapacity), "the element IDs differ from the directory's");

  // The response ids of a node and an element, ascending, and their names and those of the request's.
  for (const std::int32_t flags : {0, TIMEKERNEL_ELEMENT_RESULTS}) {
    const std::int32_t id = flags != 0 ? plan.elementId : plan.nodeId;
    const std::vector<std::int32_t> keys = listed([&](std::int32_t* out, std::int32_t*, std::int32_t* count) {
      return TimeKernelResponseIDs(handle, flags, id, out, count);
    });
    if (!std::is_sorted(keys.begin(), keys.end()) ||
        std::adjacent_find(keys.begin(), keys.end()) != keys.end()) {
      failure("response ids are not strictly ascending");
    }
    std::int32_t typeCode = 0;
    if (flags != 0) {
      const auto at = std::find(elements.begin(), elements.end(), id);
      typeCode = at == elements.end() ? 0 : typeCodes[static_cast<std::size_t>(at - elements.begin())];
    }
    for (std::size_t k = 0; k < keys.size() && k < 4; ++k) checkName(typeCode, keys[k]);
    for (std::int32_t key : plan.request.keys) checkName(typeCode, key);
  }

  found.request = handleAnswer(handle, plan.request);
  TimeKernelClose(handle);
  checkLastError(0);
  return found;
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
  const FileBytes file(data, fileSize);
  const Plan plan = planOf(request, file);

  // A NULL handle is refused, and the array is zero afterwards.
  const Answer refused = handleAnswer(nullptr, plan.request);
  if (refused.rc != -1) failure("a query on a NULL handle did not fail");
  TimeKernelClose(nullptr);

  // The handle door first, while the file is as the input wrote it; it must leave the file so.
  const HandleFindings handle = exerciseHandle(path, file, plan);
  if (!holdsExactly(path, data, fileSize)) failure("the handle door changed the file");

  // The designed door. `unchanged` stays true while every designed call so far left the file's size as it was.
  const auto original = static_cast<std::int64_t>(fileSize);
  bool unchanged = true;
  auto stillUnchanged = [&] { return unchanged = unchanged && sizeOnDisk(path) == original; };

  std::int32_t total = 0;
  std::int32_t rc = TimeKernelElementID(path.c_str(), nullptr, &total);
  checkResult(rc);
  checkLastError(rc);
  if (stillUnchanged() && handle.opened &&
      ((rc == 0) != (handle.elementTotal >= 0) || (rc == 0 && total != handle.elementTotal))) {
    failure("the element counts of the two doors differ");
  }
  std::vector<std::int32_t> elementIds(kListCapacity + 2, kGuardId);
  std::int32_t capacity = kListCapacity;
  rc = TimeKernelElementID(path.c_str(), elementIds.data() + 1, &capacity);
  checkResult(rc);
  checkLastError(rc);
  if (elementIds.front() != kGuardId || elementIds.back() != kGuardId)
    failure("write outside the caller's array");
  if (rc == 0) {
    elementIds.assign(elementIds.begin() + 1,
                      elementIds.begin() + 1 + std::min(std::max(capacity, 0), kListCapacity));
    if (stillUnchanged() && handle.opened && elementIds != handle.elementIds) {
      failure("the element IDs of the two doors differ");
    }
  }

  const Answer designedRequest = designedAnswer(path, plan.request);
  if (stillUnchanged() && handle.opened) {
    checkSameAnswer(designedRequest, handle.request, "the two doors answer the request differently");
  }

  // The file was lengthened: a handle on it as it is now, and the designed door again on the same file.
  if (!unchanged) {
    const std::int64_t lengthened = sizeOnDisk(path);
    TimeKernelFile* later = nullptr;
    const std::int32_t opened = TimeKernelOpen(path.c_str(), &later);
    checkResult(opened);
    checkLastError(opened);
    Answer fromHandle;
    if (opened == 0) {
      fromHandle = handleAnswer(later, plan.request);
      TimeKernelClose(later);
    }
    if (sizeOnDisk(path) != lengthened) failure("a handle changed the size of a lengthened file");
    const Answer designed = designedAnswer(path, plan.request);
    if (opened == 0 && sizeOnDisk(path) == lengthened) {
      checkSameAnswer(designed, fromHandle, "the two doors answer differently on a lengthened file");
    }
  }
  return 0;
}
