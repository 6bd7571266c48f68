// The call cycle on the process-wide kernel: the element listing without its C boundary, and the guard that ends
// every cycle the same way on the normal path and when a failure unwinds.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "cycle/ElementListing.h"
#include "cycle/TheKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "base/Allocation.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::KernelFile;
using testsupport::raisesFailure;
using testsupport::TempFile;

testing::AssertionResult kernelIsClosed() {
  if (theKernel.mapping.isOpen()) return testing::AssertionFailure() << "the mapping is open";
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) {
    if (theKernel.sectionPositions[s] != -1) return testing::AssertionFailure() << "section " << s << " is set";
  }
  if (theKernel.selectedMode != -1) return testing::AssertionFailure() << "selectedMode " << theKernel.selectedMode;
  if (!theRequest.requestedOffsets.empty()) return testing::AssertionFailure() << "requested offsets are left";
  if (theRequest.requiredRows != nullptr || theRequest.requiredRowCount != 0)
    return testing::AssertionFailure() << "required rows are left";
  if (allocationLimit != INT64_MAX) return testing::AssertionFailure() << "the allocation limit is left";
  return testing::AssertionSuccess();
}

KernelFile threeElements() {
  KernelFile f;
  f.setMatrix(21, 2, 1, {0.5, 1.5});
  f.addElementDirectoryEntry(31, 0);
  f.addElementDirectoryEntry(32, 0);
  f.addElementDirectoryEntry(-33, 0);
  return f;
}

class CycleTest : public testsupport::PlatformTest {
 protected:
  void TearDown() override {
    theKernel.endCycle();  // whatever a test left, the next one starts closed
    PlatformTest::TearDown();
  }
  TempFile file;
};

TEST_F(CycleTest, TheKernelIsClosedBetweenCalls) { EXPECT_TRUE(kernelIsClosed()); }

TEST_F(CycleTest, ListingLeavesTheCycleToItsCaller) {
  threeElements().write(file.path());
  std::int32_t ids[3] = {0, 0, 0};
  std::int32_t count = 3;
  ASSERT_NO_THROW(listElementIds(file.c_str(), ids, &count));
  EXPECT_EQ(count, 3);
  EXPECT_EQ(ids[0], 31);
  EXPECT_EQ(ids[1], 32);
  EXPECT_EQ(ids[2], -33);
  EXPECT_TRUE(theKernel.mapping.isOpen());
  EXPECT_EQ(theKernel.fileName, file.path());
  theKernel.endCycle();
  EXPECT_TRUE(kernelIsClosed());
}

TEST_F(CycleTest, ListingFailureIsTheIntegerOneAndKeepsTheCount) {
  KernelFile f = threeElements();
  f.formatNumber = 99;
  f.write(file.path());
  std::int32_t ids[3] = {7, 7, 7};
  std::int32_t count = 3;
  EXPECT_TRUE(raisesFailure([&] { listElementIds(file.c_str(), ids, &count); }));
  EXPECT_EQ(count, 3);
  EXPECT_EQ(ids[0], 7);
}

TEST_F(CycleTest, ListingWithABufferMissingFails) {
  threeElements().write(file.path());
  std::int32_t count = 2;
  EXPECT_TRUE(raisesFailure([&] { listElementIds(file.c_str(), nullptr, &count); }));
  EXPECT_EQ(count, 2);
}

TEST_F(CycleTest, GuardEndsTheCycleOnTheNormalPath) {
  threeElements().write(file.path());
  {
    CycleGuard guard;
    theKernel.fileName = file.path();
    theKernel.openKernelFile();
    theKernel.selectedMode = 2;
    theRequest.requestedOffsets = {10, -1};
    theRequest.requiredRows = allocateArray<std::int32_t>(4);
    theRequest.requiredRowCount = 4;
    ASSERT_TRUE(theKernel.mapping.isOpen());
    ASSERT_NE(allocationLimit, INT64_MAX);  // lowered for the call
  }
  EXPECT_TRUE(kernelIsClosed());
}

TEST_F(CycleTest, GuardEndsTheCycleWhenAFailureUnwinds) {
  threeElements().write(file.path());
  EXPECT_TRUE(raisesFailure([&] {
    CycleGuard guard;
    theKernel.fileName = file.path();
    theKernel.openKernelFile();
    theKernel.selectedMode = 0;
    theRequest.requestedOffsets = {10};
    theRequest.requiredRows = allocateArray<std::int32_t>(1);
    theRequest.requiredRowCount = 1;
    std::int32_t first = 0, second = 0;
    theKernel.readSectionHeader(4, first, second);  // absent: the failure
  }));
  EXPECT_TRUE(kernelIsClosed());
}

TEST_F(CycleTest, OneCycleAfterAnotherOnTheSameKernel) {
  TempFile other;
  KernelFile f;
  f.setMatrix(21, 5, 7, std::vector<double>(35, 1.0));
  f.addElementDirectoryEntry(99, 0);
  f.write(other.path());
  threeElements().write(file.path());

  std::int32_t ids[3] = {0, 0, 0};
  std::int32_t count = 3;
  {
    CycleGuard guard;
    listElementIds(other.c_str(), ids, &count);
    EXPECT_EQ(theKernel.stepCount, 5);
    EXPECT_EQ(theKernel.dofCount, 7);
  }
  EXPECT_EQ(count, 1);
  EXPECT_EQ(ids[0], 99);
  count = 3;
  {
    CycleGuard guard;
    listElementIds(file.c_str(), ids, &count);
    EXPECT_EQ(theKernel.stepCount, 2);
    EXPECT_EQ(theKernel.dofCount, 1);
  }
  EXPECT_EQ(count, 3);
  EXPECT_EQ(ids[0], 31);
  EXPECT_EQ(ids[2], -33);
  EXPECT_TRUE(kernelIsClosed());
}

}  // namespace
}  // namespace Zarn
