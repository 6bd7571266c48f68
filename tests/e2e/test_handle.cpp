// The handle functions through the C API: open, query, close, the last error's text, the read-only file, and the
// comparison with the designed door, bit for bit, on random files and requests of every flag.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "e2e/HandleFiles.h"
#include "support/TestSupport.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::NodeRecord;
using kernelwriter::Table;
using testsupport::TempFile;

class HandleTest : public testsupport::PlatformTest {};

// Opens `path`, failing the test when it cannot.
TimeKernelFile* openOrFail(const std::string& path) {
  TimeKernelFile* file = nullptr;
  EXPECT_EQ(TimeKernelOpen(path.c_str(), &file), 0) << TimeKernelLastError();
  return file;
}

// Bit-for-bit equality of two arrays of doubles (NaNs and signed zeros included).
testing::AssertionResult sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << "sizes " << a.size() << " and " << b.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0)
      return testing::AssertionFailure() << "entry " << i << ": " << a[i] << " and " << b[i];
  }
  return testing::AssertionSuccess();
}

// A small file: 2 steps, 4 degrees of freedom, one node (ID 7, rows 0..2, x y z), one bar (ID 50).
KernelFile smallFile() {
  KernelFile f;
  f.setMatrix(21, 2, 4, std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
  f.setMatrix(15, 4, 2, std::vector<double>{1, 3, 5, 7, 2, 4, 6, 8});
  for (int s : {8, 9, 10}) f.setMatrix(s, 4, 1, std::vector<double>{0, 0, 0, 0});
  f.addNode(7, NodeRecord::make({0, 1, 2}, {-999, -998, -997}));
  ElementRecord bar = ElementRecord::make(583, {0, 1});
  bar.forceRecovery = Table::matrix(12, 2, std::vector<double>(24, 1.0));
  f.addElement(50, bar);
  return f;
}

TEST_F(HandleTest, OpensQueriesAndCloses) {
  TempFile path("handle");
  smallFile().write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  ASSERT_NE(file, nullptr);
  const std::int32_t ids[] = {7};
  const std::int32_t keys[] = {102, 103};
  std::vector<double> result(4, -1.0);
  ASSERT_EQ(TimeKernelQuery(file, 0, ids, 1, keys, 2, 0, 0, result.data(), 4), 0) << TimeKernelLastError();
  // Section 21 by degree of freedom: row 0 is {1, 2}, row 1 is {3, 4}; the initial state is zero.
  EXPECT_EQ(result, (std::vector<double>{1, 3, 2, 4}));
  EXPECT_STREQ(TimeKernelLastError(), "");
  TimeKernelClose(file);
  TimeKernelClose(nullptr);  // allowed
}

TEST_F(HandleTest, OpenFailuresSayWhy) {
  TimeKernelFile* file = reinterpret_cast<TimeKernelFile*>(0x1);
  EXPECT_EQ(TimeKernelOpen("no-such-kernel-file.bin", &file), -1);
  EXPECT_EQ(file, nullptr);
  EXPECT_NE(std::string(TimeKernelLastError()).find("cannot open the kernel file"), std::string::npos);

  TempFile seven("seven");
  std::vector<std::uint8_t> bytes(220, 0xFF);
  kernelwriter::putI32(bytes, 0, 7);
  kernelwriter::writeBytes(seven.path(), bytes);
  EXPECT_EQ(TimeKernelOpen(seven.c_str(), &file), -1);
  EXPECT_STREQ(TimeKernelLastError(), "not a kernel file: format number 7");

  TempFile no21("no21");
  KernelFile f = smallFile();
  f.removeSection(21);
  f.write(no21.path());
  EXPECT_EQ(TimeKernelOpen(no21.c_str(), &file), -1);
  EXPECT_STREQ(TimeKernelLastError(), "section 21 is absent");
  // The designed door fails on it for the same reason, and says so.
  std::int32_t count = 0;
  EXPECT_EQ(TimeKernelElementID(no21.c_str(), nullptr, &count), -1);
  EXPECT_STREQ(TimeKernelLastError(), "section 21 is absent");
}

TEST_F(HandleTest, QueryFailuresSayWhy) {
  TempFile path("reasons");
  smallFile().write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  const std::int32_t node[] = {7};
  const std::int32_t missing[] = {8};
  const std::int32_t keys[] = {102, 103, 104};
  std::vector<double> result(15, 1.0);
  // 3 keys over 2 steps need 6 values.
  EXPECT_EQ(TimeKernelQuery(file, 0, node, 1, keys, 3, 0, 0, result.data(), 5), -1);
  EXPECT_STREQ(TimeKernelLastError(), "resultLength 5 is shorter than the 6 values this request needs");
  EXPECT_EQ(result[0], 0.0);  // zeroed on failure
  EXPECT_EQ(TimeKernelQuery(file, 0, missing, 1, keys, 3, 0, 0, result.data(), 6), -1);
  EXPECT_STREQ(TimeKernelLastError(), "no requested ID is in the file (or none has a degree of freedom)");
  EXPECT_EQ(TimeKernelQuery(file, 0, node, 1, keys, 3, 0, 3, result.data(), 6), -1);
  EXPECT_STREQ(TimeKernelLastError(), "stepNumber 3 is past the last step (2)");
  EXPECT_EQ(TimeKernelQuery(file, 4, node, 1, keys, 3, 0, 1, result.data(), 6), -1);
  EXPECT_STREQ(TimeKernelLastError(), "flag 4 asks for one mode, but modeNumber 0 is below 1");
  EXPECT_EQ(TimeKernelQuery(file, 0, node, 0, keys, 3, 0, 1, result.data(), 6), -1);
  EXPECT_STREQ(TimeKernelLastError(), "idCount 0 is below 1");
  EXPECT_EQ(TimeKernelQuery(nullptr, 0, node, 1, keys, 3, 0, 1, result.data(), 6), -1);
  EXPECT_STREQ(TimeKernelLastError(), "the handle is NULL");
  // Element results need the load factors of section 4, which this file lacks.
  const std::int32_t bar[] = {50};
  const std::int32_t axial[] = {100140402};
  EXPECT_EQ(TimeKernelQuery(file, 1, bar, 1, axial, 1, 0, 0, result.data(), 2), -1);
  EXPECT_STREQ(TimeKernelLastError(), "section 4 is absent");
  // The same text from the designed door.
  EXPECT_EQ(TimeKernelOutputResult(path.c_str(), 0, node, 1, keys, 3, 0, 0, result.data(), 5), -1);
  EXPECT_STREQ(TimeKernelLastError(), "resultLength 5 is shorter than the 6 values this request needs");
  // A success clears it.
  EXPECT_EQ(TimeKernelQuery(file, 0, node, 1, keys, 3, 0, 0, result.data(), 6), 0);
  EXPECT_STREQ(TimeKernelLastError(), "");
  TimeKernelClose(file);
}

// The handle never asks for write access, never maps for writing and never lengthens or touches its file.
TEST_F(HandleTest, ReadsWithoutWriteAccessAndLeavesTheFileAsItWas) {
  TempFile path("readonly");
  smallFile().write(path.path());
  const auto sizeBefore = std::filesystem::file_size(path.path());
  const auto timeBefore = std::filesystem::last_write_time(path.path());
  const std::string bytes = testsupport::readWholeFile(path.path());
  testsupport::PlatformCallCounter counter;
  TimeKernelFile* file = openOrFail(path.path());
  const std::int32_t ids[] = {7};
  const std::int32_t keys[] = {102};
  std::vector<double> result(2);
  EXPECT_EQ(TimeKernelQuery(file, 0, ids, 1, keys, 1, 0, 0, result.data(), 2), 0);
  TimeKernelClose(file);
  EXPECT_EQ(counter.counts().openExisting, 0);  // the read-write open
  EXPECT_EQ(counter.counts().mapView, 0);       // the read-write mapping
  EXPECT_EQ(counter.counts().extendFile, 0);
  EXPECT_EQ(std::filesystem::file_size(path.path()), sizeBefore);
  EXPECT_EQ(std::filesystem::last_write_time(path.path()), timeBefore);
  EXPECT_EQ(testsupport::readWholeFile(path.path()), bytes);
}

// The bytes of `f` with a copy of its section 21 appended at the end, `cut` bytes short, and the section table
// pointing at the copy: a file whose last section runs past its end.
std::vector<std::uint8_t> withShortSection21(const KernelFile& f, std::int64_t cut) {
  kernelwriter::Layout layout;
  std::vector<std::uint8_t> bytes = f.bytes(&layout);
  const std::int64_t at = layout.sectionPositions[21];
  const std::int64_t size = 12 + 8 * 2 * 4;  // header and 2 x 4 doubles
  const auto copyAt = static_cast<std::int64_t>(bytes.size());
  std::vector<std::uint8_t> section(bytes.begin() + at, bytes.begin() + at + size - cut);
  bytes.insert(bytes.end(), section.begin(), section.end());
  kernelwriter::putI64(bytes, 4 + 8 * 21, copyAt);
  return bytes;
}

// A file cut short inside its last section: the missing bytes read as zeros, nothing faults, the file keeps its
// length; the designed door, which lengthens its own copy, gives the same doubles.
TEST_F(HandleTest, ShortFileReadsZerosPastTheEndWithoutGrowing) {
  // The last one and a half doubles of section 21 are missing: row 3's step 1, and half of its step 0.
  const std::vector<std::uint8_t> bytes = withShortSection21(smallFile(), 12);
  TempFile cut("short"), copy("short-copy");
  kernelwriter::writeBytes(cut.path(), bytes);
  kernelwriter::writeBytes(copy.path(), bytes);

  TimeKernelFile* file = openOrFail(cut.path());
  ASSERT_NE(file, nullptr);
  const std::int32_t ids[] = {7};
  const std::int32_t keys[] = {102, 103, 104};
  std::vector<double> viaHandle(6, -1.0), viaDesigned(6, -2.0);
  ASSERT_EQ(TimeKernelQuery(file, 0, ids, 1, keys, 3, 0, 0, viaHandle.data(), 6), 0) << TimeKernelLastError();
  TimeKernelClose(file);
  // Rows 0..2 of section 21 are whole: {1,2}, {3,4}, {5,6}.
  EXPECT_EQ(viaHandle, (std::vector<double>{1, 3, 5, 2, 4, 6}));
  EXPECT_EQ(testsupport::sizeOnDisk(cut.path()), static_cast<std::int64_t>(bytes.size()));

  ASSERT_EQ(TimeKernelOutputResult(copy.c_str(), 0, ids, 1, keys, 3, 0, 0, viaDesigned.data(), 6), 0);
  EXPECT_TRUE(sameBits(viaHandle, viaDesigned));
}

TEST_F(HandleTest, ShortFileValuesPastTheEndAreZeros) {
  // A node on row 3, whose history is the part cut off.
  KernelFile f;
  f.setMatrix(21, 2, 4, std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
  for (int s : {8, 9, 10}) f.setMatrix(s, 4, 1, std::vector<double>{0, 0, 0, 0});
  f.addNode(9, NodeRecord::make({3}, {-999}));
  const std::vector<std::uint8_t> bytes = withShortSection21(f, 8);  // step 1 of row 3 is gone
  TempFile cut("short-row"), copy("short-row-copy");
  kernelwriter::writeBytes(cut.path(), bytes);
  kernelwriter::writeBytes(copy.path(), bytes);
  TimeKernelFile* file = openOrFail(cut.path());
  const std::int32_t ids[] = {9};
  const std::int32_t keys[] = {102};
  std::vector<double> result(2, -1.0);
  ASSERT_EQ(TimeKernelQuery(file, 0, ids, 1, keys, 1, 0, 0, result.data(), 2), 0) << TimeKernelLastError();
  EXPECT_EQ(result, (std::vector<double>{7, 0}));
  TimeKernelClose(file);
  EXPECT_EQ(testsupport::sizeOnDisk(cut.path()), static_cast<std::int64_t>(bytes.size()));
  // The designed door reads the same zeros, having lengthened its copy of the file to get them.
  std::vector<double> designed(2, -1.0);
  ASSERT_EQ(TimeKernelOutputResult(copy.c_str(), 0, ids, 1, keys, 1, 0, 0, designed.data(), 2), 0);
  EXPECT_TRUE(sameBits(result, designed));
  EXPECT_EQ(testsupport::sizeOnDisk(copy.path()), static_cast<std::int64_t>(bytes.size()) + 8);
}

// The core promise: on every well-formed file, every request gives the designed door's result and return value,
// bit for bit, and the same reason when it fails.
TEST_F(HandleTest, GivesTheDesignedDoorsDoublesBitForBit) {
  int successes = 0, failures = 0;
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("file seed " + std::to_string(seed));
    const handletest::RandomFile r = handletest::randomFile(seed);
    TempFile path("bits");
    r.file.write(path.path());
    TimeKernelFile* file = openOrFail(path.path());
    ASSERT_NE(file, nullptr);
    std::mt19937 rng(seed * 7919u);
    for (int k = 0; k < 60; ++k) {
      const handletest::Request q = handletest::randomRequest(rng, r);
      SCOPED_TRACE("request " + std::to_string(k) + " flags " + std::to_string(q.flags));
      std::vector<double> designed(static_cast<std::size_t>(q.resultLength), 0.25);
      std::vector<double> handle(static_cast<std::size_t>(q.resultLength), 0.75);
      const std::int32_t a =
          TimeKernelOutputResult(path.c_str(), q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()),
                                 q.keys.data(), static_cast<std::int32_t>(q.keys.size()), q.modeNumber, q.stepNumber,
                                 designed.data(), q.resultLength);
      const std::string designedReason = TimeKernelLastError();
      const std::int32_t b =
          TimeKernelQuery(file, q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()), q.keys.data(),
                          static_cast<std::int32_t>(q.keys.size()), q.modeNumber, q.stepNumber, handle.data(),
                          q.resultLength);
      ASSERT_EQ(a, b) << designedReason << " / " << TimeKernelLastError();
      EXPECT_EQ(designedReason, TimeKernelLastError());
      ASSERT_TRUE(sameBits(designed, handle));
      (a == 0 ? successes : failures)++;
    }
    TimeKernelClose(file);
  }
  // Both outcomes must be well represented, or the comparison says little.
  EXPECT_GT(successes, 600);
  EXPECT_GT(failures, 200);
}

TEST_F(HandleTest, DescribesTheFile) {
  const handletest::RandomFile r = handletest::randomFile(5);
  TempFile path("describe");
  r.file.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  TimeKernelDescription d;
  std::memset(&d, 0x5A, sizeof d);
  d.version = TIMEKERNEL_DESCRIPTION_VERSION;
  ASSERT_EQ(TimeKernelDescribe(file, &d), 0) << TimeKernelLastError();
  EXPECT_EQ(d.version, 1);
  EXPECT_EQ(d.formatNumber, 100);
  EXPECT_EQ(d.stepCount, r.steps);
  EXPECT_EQ(d.dofCount, r.dofs);
  EXPECT_EQ(d.modeCount, r.modes);
  EXPECT_EQ(d.loadCount, r.loads);
  EXPECT_EQ(d.nodeCount, static_cast<std::int32_t>(r.nodeIds.size()));
  EXPECT_EQ(d.elementCount, static_cast<std::int32_t>(r.elementIds.size()));
  // The random file holds every section but none.
  EXPECT_EQ(d.sectionsPresent, (1u << 27) - 1);
  EXPECT_EQ(d.reserved, 0);
  EXPECT_EQ(d.fileSize, testsupport::sizeOnDisk(path.path()));
  d.version = 0;
  EXPECT_EQ(TimeKernelDescribe(file, &d), -1);
  EXPECT_NE(std::string(TimeKernelLastError()).find("TIMEKERNEL_DESCRIPTION_VERSION"), std::string::npos);
  TimeKernelClose(file);

  // A file with section 21 alone: no modes, loads, nodes or elements, one bit.
  TempFile bare("bare");
  KernelFile only;
  only.setMatrix(21, 3, 2, std::vector<double>(6, 1.0));
  only.setDirectoryPresent(2, false);
  only.setDirectoryPresent(3, false);
  only.write(bare.path());
  file = openOrFail(bare.path());
  d.version = 1;
  ASSERT_EQ(TimeKernelDescribe(file, &d), 0) << TimeKernelLastError();
  EXPECT_EQ(d.stepCount, 3);
  EXPECT_EQ(d.dofCount, 2);
  EXPECT_EQ(d.modeCount, 0);
  EXPECT_EQ(d.loadCount, 0);
  EXPECT_EQ(d.nodeCount, 0);
  EXPECT_EQ(d.elementCount, 0);
  EXPECT_EQ(d.sectionsPresent, 1u << 21);
  TimeKernelClose(file);
}

TEST_F(HandleTest, ListsFollowTheSizeQueryProtocol) {
  const handletest::RandomFile r = handletest::randomFile(11);
  TempFile path("lists");
  r.file.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  const auto nodes = static_cast<std::int32_t>(r.nodeIds.size());
  const auto elements = static_cast<std::int32_t>(r.elementIds.size());

  std::int32_t count = 0;
  ASSERT_EQ(TimeKernelNodeIDs(file, nullptr, &count), 0);
  EXPECT_EQ(count, nodes);
  std::vector<std::int32_t> ids(static_cast<std::size_t>(nodes) + 2, -5);
  count = nodes + 2;
  ASSERT_EQ(TimeKernelNodeIDs(file, ids.data(), &count), 0);
  EXPECT_EQ(count, nodes);
  EXPECT_EQ(std::vector<std::int32_t>(ids.begin(), ids.begin() + nodes), r.nodeIds);
  EXPECT_EQ(ids[static_cast<std::size_t>(nodes)], -5);  // nothing past the total

  count = 0;
  ASSERT_EQ(TimeKernelElements(file, nullptr, nullptr, &count), 0);
  EXPECT_EQ(count, elements);
  std::vector<std::int32_t> eids(static_cast<std::size_t>(elements), 0), codes(static_cast<std::size_t>(elements), 0);
  count = elements;
  ASSERT_EQ(TimeKernelElements(file, eids.data(), codes.data(), &count), 0);
  EXPECT_EQ(eids, r.elementIds);
  EXPECT_EQ(codes, r.elementCodes);
  if (elements > 1) {
    // A short buffer: the first entries, and the total.
    std::vector<std::int32_t> first(1, 0), firstCode(1, 0);
    count = 1;
    ASSERT_EQ(TimeKernelElements(file, first.data(), firstCode.data(), &count), 0);
    EXPECT_EQ(count, elements);
    EXPECT_EQ(first[0], r.elementIds[0]);
    EXPECT_EQ(firstCode[0], r.elementCodes[0]);
  }
  count = 3;
  EXPECT_EQ(TimeKernelNodeIDs(file, nullptr, &count), -1);  // a capacity without an array
  EXPECT_EQ(count, 3);
  TimeKernelClose(file);
}

TEST_F(HandleTest, ResponseIdsComeFromTheRecordAndTheKeys) {
  KernelFile f = smallFile();
  f.addNode(8, NodeRecord::make({0, 1, 3}, {-999, -1000, -994}));
  ElementRecord rod = ElementRecord::make(582, {0, 1});
  rod.forceRecovery = Table::matrix(4, 2, std::vector<double>(8, 1.0));   // 2 components at 2 points
  rod.stressRecovery = Table::matrix(2, 2, std::vector<double>(4, 1.0));  // 2 components at 1 point
  f.addElement(60, rod);
  TempFile path("responses");
  f.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());

  std::int32_t count = 0;
  ASSERT_EQ(TimeKernelResponseIDs(file, 0, 8, nullptr, &count), 0) << TimeKernelLastError();
  std::vector<std::int32_t> keys(static_cast<std::size_t>(count));
  ASSERT_EQ(TimeKernelResponseIDs(file, 0, 8, keys.data(), &count), 0);
  // x translation (component 0) and z rotation (component 5), for displacement, velocity and acceleration.
  EXPECT_EQ(keys, (std::vector<std::int32_t>{102, 108, 202, 208, 302, 308}));

  count = 0;
  ASSERT_EQ(TimeKernelResponseIDs(file, 1, 60, nullptr, &count), 0) << TimeKernelLastError();
  keys.assign(static_cast<std::size_t>(count), 0);
  ASSERT_EQ(TimeKernelResponseIDs(file, 1, 60, keys.data(), &count), 0);
  // Rod force codes 130402 and 130406 at points 1 and 2, stress codes 132101 and 132111 at point 1.
  EXPECT_EQ(keys, (std::vector<std::int32_t>{100130402, 100130406, 100132101, 100132111, 200130402, 200130406}));
  count = 0;
  EXPECT_EQ(TimeKernelResponseIDs(file, 0, 99, nullptr, &count), -1);
  EXPECT_STREQ(TimeKernelLastError(), "node 99 is not in the file");
  EXPECT_EQ(TimeKernelResponseIDs(file, 1, 99, nullptr, &count), -1);
  EXPECT_STREQ(TimeKernelLastError(), "element 99 is not in the file");
  TimeKernelClose(file);
}

// A recovery table of no columns may claim 2^31 - 2 rows (a whole number of a bar's 6 force components) without
// holding a byte of them. Its response ids end at location 20 (the last a 32-bit response id names for every
// code), and the listing returns at once instead of visiting every claimed row.
TEST_F(HandleTest, ResponseIdsOfATableClaimingHugeRowsEndAtTheLastLocation) {
  KernelFile f = smallFile();
  ElementRecord bar = ElementRecord::make(583, {0, 1});
  bar.forceRecovery = Table::matrix(2147483646u, 0, {});
  f.addElement(61, bar);
  TempFile path("hugerows");
  f.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());

  std::vector<std::int32_t> expected;
  for (std::int32_t location = 1; location <= 20; ++location) {
    for (std::int32_t code : {140402, 140403, 140404, 140406, 140407, 140408}) {
      expected.push_back(location * 100000000 + code);
    }
  }
  // A walk over every claimed row takes about a minute even in an optimised build; the bounded one, milliseconds.
  // The limit leaves room for a loaded machine and the sanitizer build.
  const auto start = std::chrono::steady_clock::now();
  std::int32_t count = 0;
  ASSERT_EQ(TimeKernelResponseIDs(file, 1, 61, nullptr, &count), 0) << TimeKernelLastError();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  ASSERT_EQ(count, static_cast<std::int32_t>(expected.size()));
  std::vector<std::int32_t> keys(static_cast<std::size_t>(count));
  ASSERT_EQ(TimeKernelResponseIDs(file, 1, 61, keys.data(), &count), 0);
  EXPECT_EQ(keys, expected);
  TimeKernelClose(file);
}

// A node record whose components repeat gives each response id once, ascending.
TEST_F(HandleTest, ResponseIdsOfRepeatedComponentsAreListedOnce) {
  KernelFile f = smallFile();
  f.addNode(9, NodeRecord::make({0, 1, 2, 3}, {-997, -999, -997, -999}));  // z, x, z, x translation
  TempFile path("repeated");
  f.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  std::vector<std::int32_t> keys(16, 0);
  std::int32_t count = 16;
  ASSERT_EQ(TimeKernelResponseIDs(file, 0, 9, keys.data(), &count), 0) << TimeKernelLastError();
  keys.resize(static_cast<std::size_t>(count));
  EXPECT_EQ(keys, (std::vector<std::int32_t>{102, 104, 202, 204, 302, 304}));
  TimeKernelClose(file);
}

TEST_F(HandleTest, ResponseNamesRoundTrip) {
  char name[32];
  EXPECT_EQ(TimeKernelResponseName(0, 102, name, sizeof name), 2);
  EXPECT_STREQ(name, "ux");
  EXPECT_EQ(TimeKernelResponseName(0, 308, name, sizeof name), 3);
  EXPECT_STREQ(name, "arz");
  EXPECT_EQ(TimeKernelResponseName(0, 212, name, sizeof name), 2);
  EXPECT_STREQ(name, "v9");
  EXPECT_EQ(TimeKernelResponseName(583, 100140402, name, sizeof name), 8);
  EXPECT_STREQ(name, "force1@1");
  EXPECT_EQ(TimeKernelResponseName(583, 200142156, name, sizeof name), 10);
  EXPECT_STREQ(name, "stress11@2");
  EXPECT_EQ(TimeKernelResponseName(580, 121107, name, sizeof name), 9);
  EXPECT_STREQ(name, "deform6@0");  // the bush deformation numbers its locations from 0
  // Capacity: the length whatever it is, at most capacity bytes written, terminator included.
  std::memset(name, 'x', sizeof name);
  EXPECT_EQ(TimeKernelResponseName(583, 100140402, name, 4), 8);
  EXPECT_STREQ(name, "for");
  EXPECT_EQ(name[4], 'x');
  EXPECT_EQ(TimeKernelResponseName(583, 100140402, nullptr, 0), 8);
  // Ids that mean nothing there.
  EXPECT_EQ(TimeKernelResponseName(583, 140402, name, sizeof name), -1);  // location 0 of a key counted from 1
  EXPECT_EQ(TimeKernelResponseName(0, 105, name, sizeof name), -1);
  EXPECT_EQ(TimeKernelResponseName(584, 100142101, name, sizeof name), -1);  // a rigid bar has no stress
  EXPECT_EQ(TimeKernelResponseName(999, 100140402, name, sizeof name), -1);

  std::int32_t key = 0;
  EXPECT_EQ(TimeKernelResponseByName(0, "ux", &key), 0);
  EXPECT_EQ(key, 102);
  EXPECT_EQ(TimeKernelResponseByName(0, "vry", &key), 0);
  EXPECT_EQ(key, 207);
  EXPECT_EQ(TimeKernelResponseByName(583, "axial@1", &key), 0);
  EXPECT_EQ(key, 100140402);
  EXPECT_EQ(TimeKernelResponseByName(586, "axial@2", &key), 0);
  EXPECT_EQ(key, 200140402);
  EXPECT_EQ(TimeKernelResponseByName(583, "stress1@1", &key), 0);
  EXPECT_EQ(key, 100142101);
  EXPECT_EQ(TimeKernelResponseByName(583, "100140402", &key), 0);
  EXPECT_EQ(key, 100140402);
  key = 77;
  EXPECT_EQ(TimeKernelResponseByName(583, "force1@0", &key), -1);
  EXPECT_EQ(TimeKernelResponseByName(583, "force1", &key), -1);  // an element name needs its location
  EXPECT_EQ(TimeKernelResponseByName(582, "axial@1", &key), -1);
  EXPECT_EQ(TimeKernelResponseByName(0, "uq", &key), -1);
  EXPECT_EQ(TimeKernelResponseByName(0, "140402", &key), -1);
  EXPECT_EQ(key, 77);
  EXPECT_NE(std::string(TimeKernelLastError()).find("names no response"), std::string::npos);
}

// Every response id a handle lists for an element or a node has a name, and the name leads back to it.
TEST_F(HandleTest, EveryListedIdHasANameThatLeadsBack) {
  const handletest::RandomFile r = handletest::randomFile(23);
  TempFile path("names");
  r.file.write(path.path());
  TimeKernelFile* file = openOrFail(path.path());
  for (std::size_t e = 0; e < r.elementIds.size(); ++e) {
    std::int32_t count = 0;
    ASSERT_EQ(TimeKernelResponseIDs(file, 1, r.elementIds[e], nullptr, &count), 0);
    std::vector<std::int32_t> keys(static_cast<std::size_t>(count));
    ASSERT_EQ(TimeKernelResponseIDs(file, 1, r.elementIds[e], keys.data(), &count), 0);
    EXPECT_GT(count, 0);
    for (std::int32_t key : keys) {
      char name[32];
      ASSERT_GT(TimeKernelResponseName(r.elementCodes[e], key, name, sizeof name), 0) << key;
      std::int32_t back = 0;
      ASSERT_EQ(TimeKernelResponseByName(r.elementCodes[e], name, &back), 0) << name;
      EXPECT_EQ(back, key) << name;
    }
  }
  TimeKernelClose(file);
}

}  // namespace

namespace {

// Every truncation of a file: the handle opens it or says why, answers or says why, and never faults or reads
// outside what it mapped (the sanitizer build checks the latter).
TEST_F(HandleTest, EveryTruncationIsAnsweredOrRefused) {
  const handletest::RandomFile r = handletest::randomFile(3);
  const std::vector<std::uint8_t> whole = r.file.bytes();
  TempFile path("cut");
  std::mt19937 rng(17);
  std::vector<handletest::Request> requests;
  for (int k = 0; k < 4; ++k) requests.push_back(handletest::randomRequest(rng, r));
  int opened = 0;
  for (std::size_t size = 0; size < whole.size(); size += 3) {
    kernelwriter::writeBytes(path.path(), std::vector<std::uint8_t>(whole.begin(), whole.begin() + size));
    TimeKernelFile* file = nullptr;
    if (TimeKernelOpen(path.c_str(), &file) != 0) {
      EXPECT_EQ(file, nullptr);
      EXPECT_STRNE(TimeKernelLastError(), "");
      continue;
    }
    ++opened;
    for (const handletest::Request& q : requests) {
      std::vector<double> result(static_cast<std::size_t>(q.resultLength));
      const std::int32_t rc = TimeKernelQuery(file, q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()),
                                              q.keys.data(), static_cast<std::int32_t>(q.keys.size()), q.modeNumber,
                                              q.stepNumber, result.data(), q.resultLength);
      EXPECT_TRUE(rc == 0 || rc == -1);
    }
    TimeKernelClose(file);
    EXPECT_EQ(testsupport::sizeOnDisk(path.path()), static_cast<std::int64_t>(size));
  }
  EXPECT_GT(opened, 0);
}

}  // namespace
