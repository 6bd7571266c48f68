// TimeKernelElementID over files written by the kernel writer: the size-query contract, every failure, and the
// state of the process-wide kernel after each call.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelfile/FileMapping.h"
#include "model/TimeKernelElement.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Layout;
using testsupport::sizeOnDisk;
using testsupport::TempFile;

constexpr std::int32_t kGuard = -123456789;

// The IDs of the test file, in the order they are added (file order).
const std::vector<std::int32_t> kIds = {907, 12, -5, 2147483647, 0, 33, -2147483647 - 1};

std::vector<double> history(std::int32_t steps, std::int32_t dofs) {
  std::vector<double> v;
  for (std::int32_t k = 0; k < steps * dofs; ++k) v.push_back(0.5 * k);
  return v;
}

KernelFile kernelWithElements(const std::vector<std::int32_t>& ids) {
  KernelFile f;
  f.setMatrix(21, 4, 3, history(4, 3));
  f.setMatrix(0, 3, 1, {1.0, 2.0, 3.0});
  const std::int32_t codes[] = {580, 582, 583, 584, 586, 594, 642, 643, 645, 768};
  for (std::size_t i = 0; i < ids.size(); ++i) {
    f.addElement(ids[i], ElementRecord::make(codes[i % 10], {std::uint32_t(i % 3)}));
  }
  return f;
}

// The process-wide kernel as every call must leave it.
testing::AssertionResult kernelIsClosed() {
  if (theKernel.mapping.isOpen()) return testing::AssertionFailure() << "the mapping is open";
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) {
    if (theKernel.sectionPositions[s] != -1)
      return testing::AssertionFailure() << "section " << s << " at " << theKernel.sectionPositions[s];
  }
  if (theKernel.selectedMode != -1) return testing::AssertionFailure() << "selectedMode " << theKernel.selectedMode;
  if (!theRequest.requestedOffsets.empty()) return testing::AssertionFailure() << "requested offsets are left";
  if (theRequest.requiredRows != nullptr || theRequest.requiredRowCount != 0)
    return testing::AssertionFailure() << "required rows are left";
  return testing::AssertionSuccess();
}

class ElementIdTest : public testsupport::PlatformTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(kernelIsClosed());
    PlatformTest::TearDown();
  }

  // Calls the export with `capacity` and a buffer of `buffer` entries filled with the guard value. Returns the
  // result; `count` and `ids` receive what the call left.
  std::int32_t call(const std::string& path, std::int32_t capacity, std::size_t buffer) {
    ids.assign(buffer, kGuard);
    count = capacity;
    const std::int32_t result = TimeKernelElementID(path.c_str(), buffer ? ids.data() : nullptr, &count);
    EXPECT_TRUE(kernelIsClosed()) << "after a call that gave " << result;
    return result;
  }
  // Expects the export to fail on `path` and to keep *count and the whole buffer as they were.
  void expectFailure(const std::string& path) {
    EXPECT_EQ(call(path, 3, 3), -1);
    EXPECT_EQ(count, 3);
    for (std::int32_t id : ids) EXPECT_EQ(id, kGuard);
  }

  TempFile file;
  std::vector<std::int32_t> ids;
  std::int32_t count = 0;
};

TEST_F(ElementIdTest, ListsTheIdsInFileOrder) {
  kernelWithElements(kIds).write(file.path());
  ASSERT_EQ(call(file.path(), 10, 10), 0);
  EXPECT_EQ(count, 7);
  for (std::size_t i = 0; i < kIds.size(); ++i) EXPECT_EQ(ids[i], kIds[i]) << i;
  for (std::size_t i = kIds.size(); i < ids.size(); ++i) EXPECT_EQ(ids[i], kGuard) << i;
}

TEST_F(ElementIdTest, OrderOfTheFileNotOfTheSections) {
  KernelFile f = kernelWithElements(kIds);
  f.setPhysicalOrder({3, 0, 21});
  f.recordsBeforeSections = true;
  f.write(file.path());
  ASSERT_EQ(call(file.path(), 7, 7), 0);
  EXPECT_EQ(count, 7);
  EXPECT_EQ(ids, kIds);
}

TEST_F(ElementIdTest, CapacityZeroWithNullIdsGivesTheTotal) {
  kernelWithElements(kIds).write(file.path());
  ASSERT_EQ(call(file.path(), 0, 0), 0);
  EXPECT_EQ(count, 7);
}

TEST_F(ElementIdTest, CapacityZeroWithABufferWritesNothing) {
  kernelWithElements(kIds).write(file.path());
  ASSERT_EQ(call(file.path(), 0, 4), 0);
  EXPECT_EQ(count, 7);
  for (std::int32_t id : ids) EXPECT_EQ(id, kGuard);
}

TEST_F(ElementIdTest, NegativeCapacityCountsAsZero) {
  kernelWithElements(kIds).write(file.path());
  ASSERT_EQ(call(file.path(), -3, 0), 0);
  EXPECT_EQ(count, 7);
}

TEST_F(ElementIdTest, ExactCapacity) {
  kernelWithElements(kIds).write(file.path());
  ASSERT_EQ(call(file.path(), 7, 7), 0);
  EXPECT_EQ(count, 7);
  EXPECT_EQ(ids, kIds);
}

TEST_F(ElementIdTest, ShortBufferGetsExactlyTheFirstIdsAndTheTotal) {
  kernelWithElements(kIds).write(file.path());
  for (std::int32_t capacity = 1; capacity < 7; ++capacity) {
    SCOPED_TRACE(capacity);
    // The buffer is longer than the capacity: the entries past the capacity are guards that must survive.
    ASSERT_EQ(call(file.path(), capacity, 9), 0);
    EXPECT_EQ(count, 7);
    for (std::int32_t i = 0; i < capacity; ++i) EXPECT_EQ(ids[std::size_t(i)], kIds[std::size_t(i)]) << i;
    for (std::size_t i = std::size_t(capacity); i < ids.size(); ++i) EXPECT_EQ(ids[i], kGuard) << i;
  }
}

TEST_F(ElementIdTest, AskThenFetch) {
  kernelWithElements(kIds).write(file.path());
  std::int32_t total = 0;
  ASSERT_EQ(TimeKernelElementID(file.c_str(), nullptr, &total), 0);
  ASSERT_EQ(total, 7);
  std::vector<std::int32_t> buffer(static_cast<std::size_t>(total), kGuard);
  std::int32_t n = total;
  ASSERT_EQ(TimeKernelElementID(file.c_str(), buffer.data(), &n), 0);
  EXPECT_EQ(n, 7);
  EXPECT_EQ(buffer, kIds);
}

TEST_F(ElementIdTest, ManyElements) {
  std::vector<std::int32_t> many;
  for (std::int32_t i = 0; i < 5000; ++i) many.push_back(1000000 - 37 * i);
  KernelFile f;
  f.setMatrix(21, 1, 1, {1.0});
  for (std::int32_t id : many) f.addElementDirectoryEntry(id, 0);
  f.write(file.path());
  ASSERT_EQ(call(file.path(), 5000, 5000), 0);
  EXPECT_EQ(count, 5000);
  EXPECT_EQ(ids, many);
}

TEST_F(ElementIdTest, FormatNumbers99And101Fail) {
  for (std::int32_t format : {99, 101}) {
    SCOPED_TRACE(format);
    KernelFile f = kernelWithElements(kIds);
    f.formatNumber = format;
    f.write(file.path());
    expectFailure(file.path());
  }
}

TEST_F(ElementIdTest, AbsentSection21Fails) {
  KernelFile f = kernelWithElements(kIds);
  f.removeSection(21);
  f.write(file.path());
  expectFailure(file.path());
}

TEST_F(ElementIdTest, ProductOfCountsOfZeroFails) {
  KernelFile f = kernelWithElements(kIds);
  f.setMatrix(21, 4, 0, std::vector<double>{});
  f.write(file.path());
  expectFailure(file.path());
}

TEST_F(ElementIdTest, NegativeProductOfCountsFails) {
  KernelFile f = kernelWithElements(kIds);
  f.setSectionHeaderOverride(21, 21, 4, -3);
  f.write(file.path());
  expectFailure(file.path());
}

TEST_F(ElementIdTest, SectionNumberDifferingFromItsSlotFails) {
  {
    KernelFile f = kernelWithElements(kIds);
    f.setSectionHeaderOverride(3, 2, 7, 7);  // the directory calls itself the node directory
    f.write(file.path());
    expectFailure(file.path());
  }
  {
    KernelFile f = kernelWithElements(kIds);
    Layout layout;
    f.bytes(&layout);
    f.setPositionOverride(3, layout.sectionPositions[0]);  // a valid header, of section 0
    f.write(file.path());
    expectFailure(file.path());
  }
  {
    KernelFile f = kernelWithElements(kIds);
    Layout layout;
    f.bytes(&layout);
    f.setPositionOverride(21, layout.sectionPositions[3]);
    f.write(file.path());
    expectFailure(file.path());
  }
}

TEST_F(ElementIdTest, OnlyTheHeaderAndSection21Fails) {
  KernelFile f;
  f.setMatrix(21, 2, 2, {1, 2, 3, 4});
  f.write(file.path());
  expectFailure(file.path());  // it opens, but there is no section 3
}

TEST_F(ElementIdTest, EmptyDirectoryGivesTotalZero) {
  KernelFile f;
  f.setMatrix(21, 2, 2, {1, 2, 3, 4});
  f.setDirectoryPresent(3, true);
  f.write(file.path());
  ASSERT_EQ(call(file.path(), 3, 3), 0);
  EXPECT_EQ(count, 0);
  for (std::int32_t id : ids) EXPECT_EQ(id, kGuard);
}

TEST_F(ElementIdTest, NegativeTotalFails) {
  KernelFile f = kernelWithElements(kIds);
  f.setSectionHeaderOverride(3, 3, -2, -2);
  f.write(file.path());
  expectFailure(file.path());
}

TEST_F(ElementIdTest, PathThatDoesNotExistFails) {
  expectFailure(file.path());
  EXPECT_EQ(sizeOnDisk(file.path()), -1);  // nothing was created
}

TEST_F(ElementIdTest, DirectoryPathFails) { expectFailure(testing::TempDir()); }

TEST_F(ElementIdTest, EmptyFileFails) {
  kernelwriter::writeBytes(file.path(), {});
  expectFailure(file.path());
}

TEST_F(ElementIdTest, NullPathOrNullCountFails) {
  count = 3;
  EXPECT_EQ(TimeKernelElementID(nullptr, nullptr, &count), -1);
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(kernelIsClosed());
  kernelWithElements(kIds).write(file.path());
  EXPECT_EQ(TimeKernelElementID(file.c_str(), nullptr, nullptr), -1);
  EXPECT_TRUE(kernelIsClosed());
}

TEST_F(ElementIdTest, ACallAfterAFailedOneBehavesAsIfItHadNotHappened) {
  TempFile good, bad;
  kernelWithElements(kIds).write(good.path());
  KernelFile f = kernelWithElements({1, 2, 3, 4, 5, 6, 7, 8, 9});
  f.formatNumber = 101;
  f.write(bad.path());

  // The reference: a call on a fresh kernel.
  ASSERT_EQ(call(good.path(), 5, 8), 0);
  const std::vector<std::int32_t> firstIds = ids;
  const std::int32_t firstCount = count;

  expectFailure(bad.path());
  ASSERT_EQ(call(good.path(), 5, 8), 0);
  EXPECT_EQ(count, firstCount);
  EXPECT_EQ(ids, firstIds);

  // A failure in the middle of the directory read is no different.
  TempFile noDirectory;
  KernelFile g;
  g.setMatrix(21, 1, 1, {1.0});
  g.write(noDirectory.path());
  expectFailure(noDirectory.path());
  ASSERT_EQ(call(good.path(), 5, 8), 0);
  EXPECT_EQ(count, firstCount);
  EXPECT_EQ(ids, firstIds);
  EXPECT_EQ(theKernel.fileName, good.path());  // the name stays until the next call
}

TEST_F(ElementIdTest, AFailedMappingMakesTheCallFailNotCrash) {
  kernelWithElements(kIds).write(file.path());
  Zarn::positionedReadsEnabled = false;  // every read through the mapping, which fails
  platform::calls().mapView = [](platform::FileHandle, std::int64_t, std::int64_t) -> void* { return nullptr; };
  expectFailure(file.path());  // the format number reads as nothing: not 100
  platform::resetCalls();
  ASSERT_EQ(call(file.path(), 7, 7), 0);
  EXPECT_EQ(ids, kIds);
}

TEST_F(ElementIdTest, AWellFormedFileIsNotChanged) {
  kernelWithElements(kIds).write(file.path());
  const std::string before = testsupport::readWholeFile(file.path());
  ASSERT_EQ(call(file.path(), 7, 7), 0);
  EXPECT_EQ(testsupport::readWholeFile(file.path()), before);
}

// A directory that claims more IDs than the file holds, by more than one call may lengthen a file: the IDs
// inside the file are listed as they stand and those past its end as zeros, as bytes past the end read.
TEST_F(ElementIdTest, IdsBeyondTheGrowthLimitReadAsZeros) {
  KernelFile f = kernelWithElements(kIds);
  const std::int32_t claimed = 400000;  // 1.6 MB of IDs from a file of a few hundred bytes
  f.setSectionHeaderOverride(3, 3, claimed, 0);
  const Layout layout = f.write(file.path());
  const std::string bytes = testsupport::readWholeFile(file.path());
  ASSERT_EQ(call(file.path(), claimed, std::size_t(claimed)), 0);
  EXPECT_EQ(count, claimed);
  const std::int64_t first = layout.sectionPositions[3] + 12;
  for (std::int32_t k = 0; k < claimed; ++k) {
    std::int32_t expected = 0;
    const std::int64_t at = first + 4 * std::int64_t(k);
    if (at + 4 <= std::int64_t(bytes.size())) std::memcpy(&expected, bytes.data() + at, 4);
    ASSERT_EQ(ids[std::size_t(k)], expected) << k;
  }
  for (std::size_t k = 0; k < kIds.size(); ++k) EXPECT_EQ(ids[k], kIds[k]);
  EXPECT_EQ(sizeOnDisk(file.path()), std::int64_t(bytes.size()));
}

// Nothing of a call survives it: the element prototypes hold no table afterwards, the velocity table included.
TEST_F(ElementIdTest, NoElementTableSurvivesACall) {
  KernelFile f = kernelWithElements({});
  ElementRecord bar = ElementRecord::make(583, {0, 1, 2});
  bar.forceRecovery = kernelwriter::Table::matrix(12, 3, std::vector<double>(36, 1.5));
  bar.velocityForce = kernelwriter::Table::matrix(12, 3, std::vector<double>(36, 2.5));
  f.addElement(9, bar);
  f.setMatrix(4, 0, 4, std::vector<double>());   // an analysis without loads
  f.setMatrix(22, 0, 0, std::vector<double>());  // and without stored velocities
  f.write(file.path());
  const std::int32_t id = 9, key = 100140402;
  std::vector<double> result(4, 0.0);
  ASSERT_EQ(TimeKernelOutputResult(file.path().c_str(), 1, &id, 1, &key, 1, 0, 0, result.data(), 4), 0);
  EXPECT_EQ(result[0], 1.5 * 0.5 * (0.0 + 4.0 + 8.0));  // step 0: u = 0, 0.5 * 4, 0.5 * 8; no velocity term
  for (const auto& prototype : theRequest.elementPrototypes) {
    EXPECT_TRUE(prototype.second->velocityForce.empty()) << "type " << prototype.first;
    EXPECT_TRUE(prototype.second->forceRecovery.empty()) << "type " << prototype.first;
  }
}

// The directory is read in place, not copied: a model whose directory is larger than the memory the machine
// reports free is still served.
TEST_F(ElementIdTest, DirectoryLargerThanTheFreeMemoryIsServed) {
  KernelFile f;
  f.setMatrix(21, 4, 3, history(4, 3));
  const std::int32_t elements = 120000;  // 1.44 MB of directory
  ElementRecord rod = ElementRecord::make(582, {0, 1, 2});
  rod.forceRecovery = kernelwriter::Table::matrix(2, 3, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
  f.addElement(1, rod);
  for (std::int32_t k = 2; k <= elements; ++k) f.addElementDirectoryEntry(k, -1);
  f.setMatrix(4, 0, 4, std::vector<double>());  // an analysis without loads
  f.write(file.path());
  platform::calls().availableMemory = [](std::int64_t* bytes) {
    *bytes = 256 * 1024;
    return true;
  };
  const std::int32_t id = 1, key = 100130402;
  std::vector<double> result(4, -1.0);
  ASSERT_EQ(TimeKernelOutputResult(file.path().c_str(), 1, &id, 1, &key, 1, 0, 0, result.data(), 4), 0);
  // Step t: u = 0.5 * (t, 4 + t, 8 + t) by row, in column d of section 21 at d * steps + t.
  for (std::int32_t t = 0; t < 4; ++t) {
    const double u0 = 0.5 * t, u1 = 0.5 * (4 + t), u2 = 0.5 * (8 + t);
    EXPECT_EQ(result[std::size_t(t)], 1.0 * u0 + 3.0 * u1 + 5.0 * u2) << t;
  }
}

}  // namespace
}  // namespace Zarn
