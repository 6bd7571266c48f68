// What differs on Windows: files that another handle holds open, read-only files, paths with spaces, and files
// larger than 4 GiB, whose sizes and offsets need the high halves of the 32-bit pairs that the system calls take.
// Built only for Windows (tests/CMakeLists.txt).
#include <windows.h>
#include <winioctl.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelfile/FileMapping.h"
#include "kernelwriter/KernelWriter.h"
#include "e2e/NodalFixture.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using testsupport::sizeOnDisk;
using testsupport::TempFile;

const std::vector<std::int32_t> kIds = {41, 7, 1003};

// A small kernel file with the elements kIds.
void writeKernelFile(const std::string& path) {
  KernelFile f;
  std::vector<double> history;
  for (int k = 0; k < 4 * 3; ++k) history.push_back(0.25 * k);
  f.setMatrix(21, 4, 3, history);
  f.setMatrix(0, 3, 1, {1.0, 2.0, 3.0});
  for (std::int32_t id : kIds) f.addElement(id, ElementRecord::make(583, {0, 1, 2}));
  f.write(path);
}

struct Listing {
  std::int32_t code = 0;
  std::int32_t count = 0;
  std::vector<std::int32_t> ids;
};

Listing list(const std::string& path) {
  Listing l;
  l.ids.assign(8, -1);
  l.count = static_cast<std::int32_t>(l.ids.size());
  l.code = TimeKernelElementID(path.c_str(), l.ids.data(), &l.count);
  return l;
}

testing::AssertionResult listsTheElements(const Listing& l) {
  if (l.code != 0) return testing::AssertionFailure() << "result " << l.code;
  if (l.count != static_cast<std::int32_t>(kIds.size())) return testing::AssertionFailure() << "count " << l.count;
  for (std::size_t i = 0; i < kIds.size(); ++i) {
    if (l.ids[i] != kIds[i]) return testing::AssertionFailure() << "id " << i << " is " << l.ids[i];
  }
  return testing::AssertionSuccess();
}

HANDLE openWithShareMode(const std::string& path, DWORD share) {
  return ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

class WindowsFiles : public testsupport::PlatformTest {
 protected:
  TempFile file{"windows"};
};

TEST_F(WindowsFiles, AFileHeldOpenByAnotherHandleThatSharesReadingAndWritingIsRead) {
  writeKernelFile(file.path());
  HANDLE other = openWithShareMode(file.path(), FILE_SHARE_READ | FILE_SHARE_WRITE);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(listsTheElements(list(file.path())));
  EXPECT_TRUE(listsTheElements(list(file.path())));  // and again: the first call released its own handle
  ::CloseHandle(other);
}

TEST_F(WindowsFiles, AFileHeldOpenWithoutSharingIsRefusedUntilReleased) {
  writeKernelFile(file.path());
  HANDLE other = openWithShareMode(file.path(), 0);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  const Listing refused = list(file.path());
  EXPECT_EQ(refused.code, -1);
  EXPECT_EQ(refused.count, 8) << "*count changed by a failed call";
  ::CloseHandle(other);
  EXPECT_TRUE(listsTheElements(list(file.path())));
}

// Whether this process may open `path` for reading and writing, asked of the system directly.
bool systemLetsUsOpenReadWrite(const std::string& path) {
  HANDLE h = openWithShareMode(path, FILE_SHARE_READ | FILE_SHARE_WRITE);
  if (h == INVALID_HANDLE_VALUE) return false;
  ::CloseHandle(h);
  return true;
}

TEST_F(WindowsFiles, AReadOnlyFileGivesMinusOneAndStaysAsItWas) {
  writeKernelFile(file.path());
  const std::string before = testsupport::readWholeFile(file.path());
  ASSERT_TRUE(::SetFileAttributesA(file.path().c_str(), FILE_ATTRIBUTE_READONLY));
  const bool opens = systemLetsUsOpenReadWrite(file.path());
  const Listing l = list(file.path());
  const std::int32_t ids[] = {41};
  const std::int32_t keys[] = {100140402};
  double result[4] = {7, 7, 7, 7};
  const std::int32_t code = TimeKernelOutputResult(file.path().c_str(), 1, ids, 1, keys, 1, 0, 0, result, 4);
  if (opens) {
    // Wine keeps the read-only attribute as the file's permission bits, which do not stop a process running as
    // root: the file is then an ordinary file to this process and must be answered as one.
    EXPECT_TRUE(listsTheElements(l));
  } else {
    // The file is opened for reading and writing, so a read-only file cannot be opened.
    EXPECT_EQ(l.code, -1);
    EXPECT_EQ(l.count, 8) << "*count changed by a failed call";
    EXPECT_EQ(code, -1);
  }
  EXPECT_EQ(testsupport::readWholeFile(file.path()), before);
  ASSERT_TRUE(::SetFileAttributesA(file.path().c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(listsTheElements(list(file.path())));
  if (opens) {
    GTEST_SKIP() << "the system lets this process write a read-only file (Wine as root): its refusal cannot be "
                    "observed here; the file was checked to be answered instead";
  }
}

TEST_F(WindowsFiles, APathWithSpacesIsRead) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(testing::TempDir()) / ("timekernel folder with spaces " +
                                                           std::to_string(::GetCurrentProcessId()));
  fs::create_directories(folder);
  const std::string path = (folder / "a kernel file.bin").string();
  writeKernelFile(path);
  EXPECT_TRUE(listsTheElements(list(path)));
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

// ---- files larger than 4 GiB ----

constexpr std::int64_t k4GiB = std::int64_t(1) << 32;

// Writes `bytes` at `offset` of an open file.
bool writeAt(HANDLE h, std::int64_t offset, const std::vector<unsigned char>& bytes) {
  LARGE_INTEGER at;
  at.QuadPart = offset;
  DWORD written = 0;
  return ::SetFilePointerEx(h, at, nullptr, FILE_BEGIN) &&
         ::WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
         written == bytes.size();
}

using Marks = std::vector<std::pair<std::int64_t, std::vector<unsigned char>>>;

// Makes the file at `path` sparse (created anew with CREATE_ALWAYS, or kept with OPEN_EXISTING), sets its size
// when `size` is not negative, and writes `marks` (offset, bytes). Holes take no disk space.
bool writeSparse(const std::string& path, DWORD disposition, std::int64_t size, const Marks& marks) {
  HANDLE h = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, disposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD ignored = 0;
  // Where the file system cannot mark the file sparse, the holes stay unwritten on file systems that keep them
  // sparse on their own.
  ::DeviceIoControl(h, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &ignored, nullptr);
  bool ok = true;
  if (size >= 0) {
    LARGE_INTEGER end;
    end.QuadPart = size;
    ok = ::SetFilePointerEx(h, end, nullptr, FILE_BEGIN) && ::SetEndOfFile(h);
  }
  for (const auto& mark : marks) ok = ok && writeAt(h, mark.first, mark.second);
  ::CloseHandle(h);
  return ok;
}

std::vector<unsigned char> mark(unsigned char first, std::size_t n) {
  std::vector<unsigned char> bytes(n);
  for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(first + 3 * i);
  return bytes;
}

TEST_F(WindowsFiles, AFileLargerThan4GiBIsReadAtOffsetsAbove4GiB) {
  const std::int64_t size = k4GiB + 5 * FileMapping::kViewGranularity + 123;
  const std::int64_t at = k4GiB + FileMapping::kViewGranularity + 1;  // 65,537 bytes past 4 GiB
  const std::int64_t nearEnd = size - 20;
  const std::vector<unsigned char> first = mark(11, 12), last = mark(200, 20);
  ASSERT_TRUE(writeSparse(file.path(), CREATE_ALWAYS, size, {{at, first}, {nearEnd, last}, {7, mark(1, 4)}}));

  FileMapping mapping;
  mapping.open(file.path(), 0);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.fileSize(), size);  // both halves of GetFileSize
  EXPECT_EQ(mapping.mappingSize(), size);
  mapping.windowSize = 0x100000;

  // The same small reads as positioned reads (ReadFile with both halves of the offset), then through the views.
  mapping.seek(at, 0);
  unsigned char positioned[20] = {};
  ASSERT_TRUE(mapping.read(positioned, 12));
  EXPECT_EQ(std::vector<unsigned char>(positioned, positioned + 12), first);
  mapping.seek(nearEnd, 0);
  ASSERT_TRUE(mapping.read(positioned, 20));
  EXPECT_EQ(std::vector<unsigned char>(positioned, positioned + 20), last);
  Zarn::positionedReadsEnabled = false;  // the views are examined below: every read goes through the mapping

  // A read 65,537 bytes past 4 GiB maps from the 64 KiB boundary just below it, with the offset's high half set.
  mapping.seek(at, 0);
  unsigned char bytes[20] = {};
  ASSERT_TRUE(mapping.read(bytes, 12));
  EXPECT_EQ(mapping.viewOffset(), k4GiB + FileMapping::kViewGranularity);
  // The view reaches from the boundary to the end of the mapping: the window is larger than what is left.
  EXPECT_EQ(mapping.viewSize(), size - at + 1);
  EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 12), first);

  // The last bytes of the file.
  mapping.seek(nearEnd, 0);
  ASSERT_TRUE(mapping.read(bytes, 20));
  EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 20), last);

  // Back below 4 GiB: a remap from offset 0.
  mapping.seek(7, 0);
  ASSERT_TRUE(mapping.read(bytes, 4));
  EXPECT_EQ(mapping.viewOffset(), 0);
  EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 4), mark(1, 4));

  // A read that passes the end grows the mapping, and the file, to exactly its end, above 4 GiB.
  mapping.seek(size - 4, 0);
  ASSERT_TRUE(mapping.read(bytes, 12));
  EXPECT_EQ(mapping.mappingSize(), size + 8);
  EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 4), std::vector<unsigned char>(last.end() - 4, last.end()));
  EXPECT_EQ(std::vector<unsigned char>(bytes + 4, bytes + 12), std::vector<unsigned char>(8, 0));
  mapping.close();
  EXPECT_EQ(sizeOnDisk(file.path()), size + 8);
}

// The sections of the standard nodal model, as modelFile writes them, with a node directory whose entries point
// at `recordOffsets` instead of at records written with the sections.
kernelwriter::KernelFile nodalFileWithRecordsAt(const nodaltest::NodalModel& m,
                                                const std::vector<std::int64_t>& recordOffsets) {
  KernelFile f;
  const auto rows = static_cast<std::int32_t>(m.dofs);
  f.setMatrix(0, rows, m.modes, m.phi);
  f.setMatrix(1, m.baseRows, m.baseCols, m.baseHistory);
  for (std::size_t i = 0; i < m.nodes.size(); ++i) f.addNodeDirectoryEntry(m.nodes[i].id, recordOffsets[i]);
  f.addElement(m.nodes.front().id, ElementRecord::make(583, {0, 1}));
  std::vector<double> loads;
  for (std::int32_t k = 0; k < 2 * m.steps; ++k) loads.push_back(0.5 + k);
  f.setMatrix(4, 2, m.steps, loads);
  testsupport::setResponseSections(f, rows, m.modes, m.steps, m.initialWithBase, m.initialWithout, m.modalInitial,
                                   m.direct, m.modal, nodaltest::kJunk);
  f.setMatrix(11, m.constantRows, 2, testsupport::withJunkColumn(m.constantBase, nodaltest::kJunk));
  return f;
}

TEST_F(WindowsFiles, NodeRecordsAbove4GiBAreAnsweredThroughTheExports) {
  using namespace nodaltest;
  const NodalModel m = standardModel();
  // Each node's record is placed past 4 GiB, at odd offsets, some across a 64 KiB boundary.
  std::vector<std::int64_t> offsets;
  Marks records;
  std::int64_t at = k4GiB + 3 * FileMapping::kViewGranularity - 40;
  for (const ModelNode& n : m.nodes) {
    const kernelwriter::NodeRecord r = n.hasTransform ? kernelwriter::NodeRecord::make(n.rows, n.codes, n.transform)
                                                      : kernelwriter::NodeRecord::make(n.rows, n.codes);
    // The record's bytes, cut from a file that holds this node alone.
    KernelFile single;
    single.addNode(n.id, r);
    TempFile scratch{"windows_record"};
    const kernelwriter::Layout l = single.write(scratch.path());
    const std::string bytes = testsupport::readWholeFile(scratch.path());
    const auto from = static_cast<std::size_t>(l.nodeRecordOffsets.at(0));
    records.push_back({at, std::vector<unsigned char>(bytes.begin() + from, bytes.begin() + from + r.byteSize())});
    offsets.push_back(at);
    at += r.byteSize() + 7;
  }
  nodalFileWithRecordsAt(m, offsets).write(file.path());
  ASSERT_TRUE(writeSparse(file.path(), OPEN_EXISTING, -1, records));
  const std::int64_t size = sizeOnDisk(file.path());
  ASSERT_GT(size, k4GiB);

  const std::vector<std::int32_t> ids = {kShuffled, kFull, kMissing, kTranslations, kWithNone,
                                         kNine,     kRotationsFirst, kNoTranslation, kEmpty};
  const std::vector<std::int32_t> keys = {102, 103, 104, 106, 107, 108, 112, 100000102, 203, 304};
  for (const std::int32_t flags : {0, kRotate | kBaseMotion}) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    const auto length = static_cast<std::int32_t>(keys.size() * ids.size()) * m.steps;
    const Answer a = request(file.path(), flags, ids, keys, 0, 0, length);
    ASSERT_EQ(a.code, 0);
    EXPECT_TRUE(sameValues(a.values, expectedBlocks(m, ids, keys, flags, -1, 0, length)));
  }
  EXPECT_EQ(sizeOnDisk(file.path()), size) << "a well-formed file above 4 GiB was changed";
}

}  // namespace
}  // namespace Zarn
