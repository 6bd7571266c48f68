// The kernel object: opening and checking a kernel file, the section table, section headers, the element ID
// directory, tell and seek, clone and print.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "kernelfile/DataPositionController.h"
#include "kernelfile/FileMapping.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelfile/TimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "base/Allocation.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Layout;
using testsupport::PlatformCallCounter;
using testsupport::raisesFailure;
using testsupport::sizeOnDisk;
using testsupport::TempFile;

// Values of a steps x dofs section, column-major, with entry (r, c) = 10 c + r + 0.5.
std::vector<double> grid(std::int32_t rows, std::int32_t cols) {
  std::vector<double> values;
  for (std::int32_t c = 0; c < cols; ++c)
    for (std::int32_t r = 0; r < rows; ++r) values.push_back(10.0 * c + r + 0.5);
  return values;
}

// A kernel file with section 21 of 3 steps x 2 dofs and nothing else.
KernelFile minimalKernel() {
  KernelFile f;
  f.setMatrix(21, 3, 2, grid(3, 2));
  return f;
}

// Section 21, a 2 x 2 section 4 and an element directory of three elements.
KernelFile typicalKernel() {
  KernelFile f = minimalKernel();
  f.setMatrix(4, 2, 2, {1.25, -2.5, 3.75, 4.0});
  f.addElement(501, ElementRecord::make(645, {0, 1}));
  f.addElement(-7, ElementRecord::make(582, {1}));
  f.addElement(88, ElementRecord::make(768, {0}));
  return f;
}

class ReadTimeKernelTest : public testsupport::PlatformTest {
 protected:
  void SetUp() override {
    // A known figure for the window: 30% of 10,000,000.
    platform::calls().availableMemory = [](std::int64_t* bytes) {
      *bytes = 10000000;
      return true;
    };
  }
  void TearDown() override {
    kernel.endCycle();
    PlatformTest::TearDown();
  }

  Layout writeFile(const KernelFile& f) { return f.write(file.path()); }
  void open() {
    kernel.fileName = file.path();
    kernel.openKernelFile();
  }
  testing::AssertionResult openFails() {
    kernel.fileName = file.path();
    return raisesFailure([&] { kernel.openKernelFile(); });
  }
  testing::AssertionResult isClosed() const {
    if (kernel.mapping.isOpen()) return testing::AssertionFailure() << "the mapping is open";
    for (int s = 0; s < TimeKernel::kSectionCount; ++s) {
      if (kernel.sectionPositions[s] != -1)
        return testing::AssertionFailure() << "section " << s << " at " << kernel.sectionPositions[s];
    }
    if (kernel.selectedMode != -1) return testing::AssertionFailure() << "selectedMode " << kernel.selectedMode;
    return testing::AssertionSuccess();
  }

  TempFile file;
  ReadTimeKernel kernel;
};

TEST_F(ReadTimeKernelTest, ConstructedClosed) {
  EXPECT_TRUE(isClosed());
  EXPECT_EQ(kernel.stream, nullptr);
  EXPECT_EQ(kernel.fileName, "");
  EXPECT_EQ(kernel.mapping.windowSize, 1024);
}

TEST_F(ReadTimeKernelTest, OpensAWellFormedFile) {
  const Layout layout = writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  EXPECT_TRUE(kernel.mapping.isOpen());
  EXPECT_EQ(kernel.stepCount, 3);
  EXPECT_EQ(kernel.dofCount, 2);
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(kernel.sectionPositions[s], layout.sectionPositions[s]) << s;
  EXPECT_NE(kernel.sectionPositions[3], -1);
  EXPECT_NE(kernel.sectionPositions[4], -1);
  EXPECT_EQ(kernel.sectionPositions[0], -1);
  EXPECT_EQ(kernel.mapping.windowSize, 3000000);
  EXPECT_EQ(kernel.tell(), layout.sectionPositions[21] + 12);  // left at section 21's payload

  kernel.endCycle();
  EXPECT_TRUE(isClosed());
  EXPECT_EQ(kernel.mapping.windowSize, 1024);
  EXPECT_EQ(kernel.fileName, file.path());  // the name stays until the next call sets it
}

TEST_F(ReadTimeKernelTest, WindowFallsToItsFloorWhenLittleMemoryIsAvailable) {
  writeFile(minimalKernel());
  platform::calls().availableMemory = [](std::int64_t* bytes) {
    *bytes = 2000000;  // 30% is 600,000
    return true;
  };
  ASSERT_NO_THROW(open());
  EXPECT_EQ(kernel.mapping.windowSize, 0x100000);
}

TEST_F(ReadTimeKernelTest, WindowFollowsTheMemoryBudget) {
  writeFile(minimalKernel());
  platform::calls().processMemoryUse = [](std::int64_t* bytes) {
    *bytes = 5000000;
    return true;
  };
  memoryBudget = 25000000;  // 20,000,000 left, 30% of it
  ASSERT_NO_THROW(open());
  EXPECT_EQ(kernel.mapping.windowSize, 6000000);
}

TEST_F(ReadTimeKernelTest, FormatNumbersOtherThan100Fail) {
  for (std::int32_t format : {99, 101, 0, -100}) {
    SCOPED_TRACE(format);
    KernelFile f = minimalKernel();
    f.formatNumber = format;
    writeFile(f);
    EXPECT_TRUE(openFails());
    kernel.endCycle();
    EXPECT_TRUE(isClosed());
  }
  // The same file with 100 opens.
  writeFile(minimalKernel());
  EXPECT_NO_THROW(open());
}

TEST_F(ReadTimeKernelTest, MissingFileFailsWithTheMappingClosed) {
  EXPECT_TRUE(openFails());  // nothing was written at the path
  EXPECT_FALSE(kernel.mapping.isOpen());
  EXPECT_EQ(sizeOnDisk(file.path()), -1);
}

TEST_F(ReadTimeKernelTest, EmptyFileFails) {
  kernelwriter::writeBytes(file.path(), {});
  EXPECT_TRUE(openFails());
}

TEST_F(ReadTimeKernelTest, AbsentSection21FailsAtOpen) {
  KernelFile f;
  f.setMatrix(4, 2, 2, {1, 2, 3, 4});
  f.addElement(1, ElementRecord::make(645, {0}));
  writeFile(f);
  EXPECT_TRUE(openFails());
}

TEST_F(ReadTimeKernelTest, Section21AtPositionMinusOneFailsAtOpen) {
  for (std::int64_t position : {-1, -220}) {
    SCOPED_TRACE(position);
    KernelFile f = minimalKernel();
    f.setPositionOverride(21, position);  // the section's bytes are there, the table does not say where
    writeFile(f);
    EXPECT_TRUE(openFails());
    kernel.endCycle();
  }
}

TEST_F(ReadTimeKernelTest, ProductOfTheCountsBelowOneFailsAtOpen) {
  struct Case {
    std::int32_t steps, dofs;
  };
  // Headers that lie over a real 1 x 1 payload, including a pair whose 32-bit product wraps to 0.
  for (Case c : {Case{0, 5}, Case{5, 0}, Case{-2, 3}, Case{3, -2}, Case{65536, 65536}, Case{0, 0}}) {
    SCOPED_TRACE(std::to_string(c.steps) + " x " + std::to_string(c.dofs));
    KernelFile f;
    f.setMatrix(21, 1, 1, {2.0});
    f.setSectionHeaderOverride(21, 21, c.steps, c.dofs);
    writeFile(f);
    EXPECT_TRUE(openFails());
    kernel.endCycle();
  }
  // A truly empty section 21 fails the same way.
  KernelFile f;
  f.setMatrix(21, 0, 4, std::vector<double>{});
  writeFile(f);
  EXPECT_TRUE(openFails());
}

TEST_F(ReadTimeKernelTest, Section21WithTheWrongNumberFails) {
  KernelFile f = minimalKernel();
  f.setSectionHeaderOverride(21, 20, 3, 2);
  writeFile(f);
  EXPECT_TRUE(openFails());
}

TEST_F(ReadTimeKernelTest, Section21PointingAtTheValidHeaderOfAnotherSectionFails) {
  KernelFile f = typicalKernel();
  Layout layout;
  f.bytes(&layout);
  f.setPositionOverride(21, layout.sectionPositions[4]);  // a well-formed header of section 4 (2 x 2)
  writeFile(f);
  EXPECT_TRUE(openFails());
}

TEST_F(ReadTimeKernelTest, SectionPointingAtTheHeaderOfAnotherSectionFailsWithTheCountsRead) {
  KernelFile f = typicalKernel();
  Layout layout;
  f.bytes(&layout);
  f.setPositionOverride(3, layout.sectionPositions[21]);  // the element directory points at section 21
  writeFile(f);
  ASSERT_NO_THROW(open());
  std::int32_t first = -9, second = -9;
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionHeader(3, first, second); }));
  EXPECT_EQ(first, 3);  // the outputs are set before the number is checked
  EXPECT_EQ(second, 2);
  std::int32_t ids[3] = {0, 0, 0};
  EXPECT_TRUE(raisesFailure([&] { kernel.readElementIds(ids, 3); }));
}

TEST_F(ReadTimeKernelTest, SectionPositionPastTheEndReadsZerosAndLengthensTheFile) {
  KernelFile f = minimalKernel();
  f.setPositionOverride(21, 100000);
  const Layout layout = writeFile(f);
  ASSERT_LT(layout.fileSize, 100000);
  EXPECT_TRUE(openFails());  // the header there reads as zeros: section number 0
  kernel.endCycle();
  EXPECT_EQ(sizeOnDisk(file.path()), 100012);
}

TEST_F(ReadTimeKernelTest, OnlyTheHeaderAndSection21Open) {
  const Layout layout = writeFile(minimalKernel());
  EXPECT_EQ(layout.fileSize, 220 + 12 + 6 * 8);
  ASSERT_NO_THROW(open());
  EXPECT_EQ(kernel.stepCount, 3);
  EXPECT_EQ(kernel.dofCount, 2);
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) {
    EXPECT_EQ(kernel.sectionPositions[s], s == 21 ? 220 : -1) << s;
  }
  std::int32_t ids[2] = {5, 6};
  EXPECT_TRUE(raisesFailure([&] { kernel.readElementIds(ids, 2); }));  // no section 3
  EXPECT_EQ(ids[0], 5);
  EXPECT_EQ(ids[1], 6);
}

TEST_F(ReadTimeKernelTest, DirectoryWithNoEntriesGivesTotalZero) {
  KernelFile f = minimalKernel();
  f.setDirectoryPresent(3, true);
  writeFile(f);
  ASSERT_NO_THROW(open());
  std::int32_t ids[3] = {41, 42, 43};
  std::int32_t total = -1;
  ASSERT_NO_THROW(total = kernel.readElementIds(ids, 3));
  EXPECT_EQ(total, 0);
  EXPECT_EQ(ids[0], 41);
  EXPECT_EQ(ids[1], 42);
  EXPECT_EQ(ids[2], 43);
  EXPECT_EQ(kernel.readElementIds(nullptr, 0), 0);
}

TEST_F(ReadTimeKernelTest, ReadElementIdsWritesAtMostTheCapacityAndGivesTheTotal) {
  writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  std::int32_t ids[5] = {-1, -1, -1, -1, -1};
  EXPECT_EQ(kernel.readElementIds(ids, 2), 3);
  EXPECT_EQ(ids[0], 501);
  EXPECT_EQ(ids[1], -7);
  EXPECT_EQ(ids[2], -1);
  EXPECT_EQ(kernel.readElementIds(ids, 5), 3);
  EXPECT_EQ(ids[0], 501);
  EXPECT_EQ(ids[1], -7);
  EXPECT_EQ(ids[2], 88);
  EXPECT_EQ(ids[3], -1);
  EXPECT_EQ(kernel.readElementIds(nullptr, 0), 3);
  EXPECT_EQ(kernel.readElementIds(nullptr, -4), 3);  // a negative capacity counts as 0
}

TEST_F(ReadTimeKernelTest, NegativeElementCountFails) {
  KernelFile f = typicalKernel();
  f.setSectionHeaderOverride(3, 3, -1, -1);
  writeFile(f);
  ASSERT_NO_THROW(open());
  std::int32_t ids[3] = {0, 0, 0};
  EXPECT_TRUE(raisesFailure([&] { kernel.readElementIds(ids, 3); }));
}

TEST_F(ReadTimeKernelTest, ReadSectionHeaderLeavesThePositionAtThePayload) {
  KernelFile f = typicalKernel();
  f.setPhysicalOrder({4, 3, 21});  // the table, not the order, tells where a section is
  const Layout layout = writeFile(f);
  ASSERT_NO_THROW(open());
  std::int32_t first = 0, second = 0;
  kernel.readSectionHeader(4, first, second);
  EXPECT_EQ(first, 2);
  EXPECT_EQ(second, 2);
  EXPECT_EQ(kernel.tell(), layout.sectionPositions[4] + 12);
  double values[4] = {0, 0, 0, 0};
  kernel.readDoubles(values, 4);
  EXPECT_EQ(values[0], 1.25);
  EXPECT_EQ(values[1], -2.5);
  EXPECT_EQ(values[2], 3.75);
  EXPECT_EQ(values[3], 4.0);
  EXPECT_EQ(kernel.tell(), layout.sectionPositions[4] + 12 + 32);

  kernel.readSectionHeader(21, first, second);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 2);
  EXPECT_EQ(kernel.tell(), layout.sectionPositions[21] + 12);
  const std::vector<double> expected = grid(3, 2);
  std::vector<double> history(6, -1.0);
  kernel.readDoubles(history.data(), 6);
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(history[i], expected[i]) << i;

  kernel.readSectionHeader(3, first, second);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(kernel.tell(), layout.sectionPositions[3] + 12);
}

TEST_F(ReadTimeKernelTest, ReadSectionHeaderOfAnAbsentSectionFailsWithZeroOutputs) {
  writeFile(minimalKernel());
  ASSERT_NO_THROW(open());
  std::int32_t first = 9, second = 9;
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionHeader(4, first, second); }));
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 0);
  for (std::int32_t section : {-1, 27, 1000}) {
    EXPECT_TRUE(raisesFailure([&] { kernel.readSectionHeader(section, first, second); })) << section;
  }
}

TEST_F(ReadTimeKernelTest, ReadDoublesWithANegativeCountFails) {
  writeFile(minimalKernel());
  ASSERT_NO_THROW(open());
  double value = 3.0;
  EXPECT_TRUE(raisesFailure([&] { kernel.readDoubles(&value, -1); }));
  EXPECT_EQ(value, 3.0);
}

TEST_F(ReadTimeKernelTest, ReadI32AndReadI64TakeLittleEndianFields) {
  const Layout layout = writeFile(minimalKernel());
  ASSERT_NO_THROW(open());
  kernel.seek(0);
  std::int32_t format = 0;
  kernel.readI32(format);
  EXPECT_EQ(format, 100);
  std::int64_t position = 0;
  kernel.readI64(position);  // slot 0: absent
  EXPECT_EQ(position, -1);
  kernel.seek(4 + 8 * 21);
  kernel.readI64(position);
  EXPECT_EQ(position, layout.sectionPositions[21]);
  kernel.seek(layout.sectionPositions[21]);
  std::int32_t number = 0;
  kernel.readI32(number);
  EXPECT_EQ(number, 21);
}

TEST_F(ReadTimeKernelTest, TellAndSeek) {
  EXPECT_EQ(kernel.tell(), 0);
  kernel.seek(500);  // nothing open: nothing moves
  EXPECT_EQ(kernel.tell(), 0);
  EXPECT_EQ(kernel.mapping.position(), 0);

  writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  kernel.seek(500);
  EXPECT_EQ(kernel.tell(), 500);
  EXPECT_EQ(kernel.mapping.position(), 500);
  kernel.seek(7);
  EXPECT_EQ(kernel.tell(), 7);

  kernel.endCycle();
  EXPECT_EQ(kernel.tell(), 0);
}

TEST_F(ReadTimeKernelTest, ShallowCloneIsClosedAndEmpty) {
  writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  kernel.id = 12;
  kernel.selectedMode = 1;

  counted_ptr<Base> copy = kernel.clone(false);
  ASSERT_TRUE(copy);
  auto* k = dynamic_cast<ReadTimeKernel*>(copy.get());
  ASSERT_NE(k, nullptr);
  EXPECT_EQ(k->id, 0);
  EXPECT_EQ(k->fileName, "");
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(k->sectionPositions[s], -1) << s;
  EXPECT_FALSE(k->mapping.isOpen());
  EXPECT_EQ(k->mapping.windowSize, 1024);
  EXPECT_EQ(k->stepCount, 0);
  EXPECT_EQ(k->dofCount, 0);
  EXPECT_EQ(k->selectedMode, -1);
  EXPECT_EQ(k->stream, nullptr);
}

TEST_F(ReadTimeKernelTest, DeepCloneCopiesNameTableAndCountsAndLeavesTheSourceReadable) {
  const Layout layout = writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  kernel.id = 12;
  kernel.selectedMode = 1;
  kernel.seek(layout.sectionPositions[4] + 12);

  counted_ptr<Base> copy = kernel.clone(true);
  ASSERT_TRUE(copy);
  auto* k = dynamic_cast<ReadTimeKernel*>(copy.get());
  ASSERT_NE(k, nullptr);
  EXPECT_EQ(k->id, 12);
  EXPECT_EQ(k->fileName, file.path());
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(k->sectionPositions[s], layout.sectionPositions[s]) << s;
  EXPECT_EQ(k->stepCount, 3);
  EXPECT_EQ(k->dofCount, 2);
  EXPECT_EQ(k->selectedMode, 1);
  // The mapping's state as it stands: the same file, view and position.
  EXPECT_TRUE(k->mapping.isOpen());
  EXPECT_EQ(k->mapping.view(), kernel.mapping.view());
  EXPECT_EQ(k->mapping.position(), kernel.mapping.position());
  EXPECT_EQ(k->mapping.mappingSize(), kernel.mapping.mappingSize());
  EXPECT_EQ(k->mapping.windowSize, kernel.mapping.windowSize);
  EXPECT_EQ(k->mapping.fileName(), kernel.mapping.fileName());
  EXPECT_EQ(k->tell(), layout.sectionPositions[4] + 12);

  // The clone reads the same bytes.
  double fromClone = 0;
  k->readDoubles(&fromClone, 1);
  EXPECT_EQ(fromClone, 1.25);

  // Only one of the two releases the file: dropping the clone leaves the source open and readable.
  {
    PlatformCallCounter counter;
    copy = counted_ptr<Base>();
    EXPECT_EQ(counter.counts().closeFile, 0);
    EXPECT_EQ(counter.counts().unmapView, 0);
  }
  EXPECT_TRUE(kernel.mapping.isOpen());
  double values[4] = {0, 0, 0, 0};
  kernel.readDoubles(values, 4);
  EXPECT_EQ(values[0], 1.25);
  EXPECT_EQ(values[3], 4.0);
}

TEST_F(ReadTimeKernelTest, DeepCloneOfAClosedKernelIsClosed) {
  kernel.fileName = "name.kernel";
  counted_ptr<Base> copy = kernel.clone(true);
  auto* k = dynamic_cast<ReadTimeKernel*>(copy.get());
  ASSERT_NE(k, nullptr);
  EXPECT_EQ(k->fileName, "name.kernel");
  EXPECT_FALSE(k->mapping.isOpen());
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(k->sectionPositions[s], -1) << s;
}

TEST_F(ReadTimeKernelTest, PrintWritesTheClassNameAndTheId) {
  std::ostringstream out;
  kernel.print(out);
  EXPECT_EQ(out.str(), "ReadTimeKernel ID=0");
  kernel.id = -35;
  std::ostringstream again;
  kernel.print(again);
  EXPECT_EQ(again.str(), "ReadTimeKernel ID=-35");
}

TEST_F(ReadTimeKernelTest, EndCycleClosesAndDropsTheSelectedModeAndLimit) {
  writeFile(typicalKernel());
  ASSERT_NO_THROW(open());
  kernel.selectedMode = 4;
  kernel.endCycle();
  EXPECT_TRUE(isClosed());
  EXPECT_EQ(allocationLimit, INT64_MAX);
}

TEST(ReadTimeKernelBase, TimeKernelCloseMarksEverySectionAbsent) {
  TimeKernel t;
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(t.sectionPositions[s], -1);
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) t.sectionPositions[s] = 1000 + s;
  t.fileName = "a.kernel";
  t.id = 3;
  EXPECT_EQ(t.tell(), 0);  // no stream
  t.seek(40);
  EXPECT_EQ(t.tell(), 0);

  counted_ptr<Base> deep = t.clone(true);
  auto* d = dynamic_cast<TimeKernel*>(deep.get());
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->fileName, "a.kernel");
  EXPECT_EQ(d->id, 3);
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(d->sectionPositions[s], 1000 + s);
  counted_ptr<Base> shallow = t.clone(false);
  auto* e = dynamic_cast<TimeKernel*>(shallow.get());
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->fileName, "");
  EXPECT_EQ(e->sectionPositions[26], -1);

  std::ostringstream out;
  t.print(out);
  EXPECT_EQ(out.str(), "TimeKernel ID=3");

  t.close();
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) EXPECT_EQ(t.sectionPositions[s], -1);
}

TEST(ReadTimeKernelBase, DataPositionControllerWithoutAStreamRemovesNothing) {
  TempFile file;
  kernelwriter::writeBytes(file.path(), {1, 2, 3});
  {
    DataPositionController controller;
    controller.fileName = file.path();
    controller.positions = {4, 5};
  }
  EXPECT_EQ(sizeOnDisk(file.path()), 3);
}

TEST(ReadTimeKernelBase, DataPositionControllerClosesAndRemovesItsStreamsFile) {
  TempFile file;
  {
    DataPositionController controller;
    controller.fileName = file.path();
    controller.stream = std::fopen(file.c_str(), "wb");
    ASSERT_NE(controller.stream, nullptr);
    controller.positions = {4, 5};
    ASSERT_EQ(sizeOnDisk(file.path()), 0);
  }
  EXPECT_EQ(sizeOnDisk(file.path()), -1);
}

}  // namespace
}  // namespace Zarn
