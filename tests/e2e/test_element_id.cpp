// TimeKernelElementID over files written by the kernel writer: the size-query contract, every failure, and the
// state of the process-wide kernel after each call.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelfile/FileMapping.h"
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

}  // namespace
}  // namespace Zarn
