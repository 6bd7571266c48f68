// Reading the element record at the current position: the prototype map, unknown type codes, and the two forms.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "model/ElementFamily.h"
#include "evaluate/ElementReader.h"
#include "model/ModelFiles.h"
#include "model/TimeKernelNode.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Table;
using modeltest::OpenKernel;
using Zarn::TimeKernelElement;

class ElementReaderTest : public testsupport::PlatformTest {};

TEST_F(ElementReaderTest, PrototypesExistForTheTenCodesAndBelongToTheRequest) {
  Zarn::ReadTimeKernel kernel;
  Zarn::Request k(kernel);
  ASSERT_TRUE(k.nodePrototype);
  const std::vector<std::int32_t> codes = {580, 582, 583, 584, 586, 594, 642, 643, 645, 768};
  ASSERT_EQ(k.elementPrototypes.size(), codes.size());
  for (std::int32_t code : codes) {
    SCOPED_TRACE(code);
    ASSERT_EQ(k.elementPrototypes.count(code), 1u);
    const Zarn::counted_ptr<TimeKernelElement>& p = k.elementPrototypes[code];
    ASSERT_TRUE(p);
    EXPECT_EQ(p->elementType(), code);
    EXPECT_EQ(p->id, 0);
    EXPECT_EQ(p->dofRows.size, 0);
    EXPECT_EQ(p.useCount(), 1u);  // the map is the only owner
  }
}

TEST_F(ElementReaderTest, UnknownCodesGiveNothingAndLeaveTheReaderBehindTheCode) {
  ElementRecord zero = ElementRecord::make(0, {1, 2});
  ElementRecord between = ElementRecord::make(581, {3});
  between.forceRecovery = Table::matrix(1, 1, {5.0});
  KernelFile f;
  f.addElement(1, zero);
  f.addElement(2, between);
  OpenKernel file(f);
  for (std::size_t k = 0; k < 2; ++k) {
    SCOPED_TRACE(k);
    const std::int64_t at = file.layout.elementRecordOffsets[k];
    file.kernel.seek(at);
    EXPECT_FALSE(Zarn::readElementRecord(file.request));
    EXPECT_EQ(file.kernel.tell(), at + 4);
    file.kernel.seek(at);
    Zarn::counted_ptr<TimeKernelElement> none = Zarn::readElementDofRows(file.request);
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(file.kernel.tell(), at + 4);
  }
  // No prototype took anything in.
  for (const auto& entry : file.request.elementPrototypes) EXPECT_EQ(entry.second->dofRows.size, 0);
}

TEST_F(ElementReaderTest, FirstFormReadsOnlyTheRows) {
  ElementRecord r = ElementRecord::make(583, {9, 4, 4, 1});
  r.forceRecovery = Table::matrix(2, 4, {1, 2, 3, 4, 5, 6, 7, 8});
  OpenKernel file(modeltest::oneElement(r));
  const std::int64_t at = file.layout.elementRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementDofRows(file.request);
  ASSERT_TRUE(e);
  EXPECT_EQ(e.get(), file.request.elementPrototypes[583].get());
  EXPECT_EQ(e.useCount(), 2u);  // the map's share and this one
  ASSERT_EQ(e->dofRows.size, 4);
  EXPECT_EQ(e->dofRows[0], 9);
  EXPECT_EQ(e->dofRows[1], 4);
  EXPECT_EQ(e->dofRows[2], 4);
  EXPECT_EQ(e->dofRows[3], 1);
  EXPECT_EQ(e->forceRecovery.rows, 0);  // the tables are not read
  EXPECT_EQ(file.kernel.tell(), at + 4 + 4 + 4 * 4);
}

TEST_F(ElementReaderTest, ElementWithoutDofsAddsNoRows) {
  OpenKernel file(modeltest::oneElement(ElementRecord::make(594, {})));
  const std::int64_t at = file.layout.elementRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementDofRows(file.request);
  ASSERT_TRUE(e);
  EXPECT_EQ(e->dofRows.size, 0);
  EXPECT_EQ(e->dofRows.data, nullptr);
  EXPECT_EQ(file.kernel.tell(), at + 8);
}

TEST_F(ElementReaderTest, SecondFormReadsTheWholeRecordIntoThePrototype) {
  ElementRecord r = ElementRecord::make(584, {2, 3});
  r.forceRecovery = Table::matrix(1, 2, {0.25, -0.5});
  r.tenth = Table::matrix(1, 1, {99.0});
  OpenKernel file(modeltest::oneElement(r));
  const std::int64_t at = file.layout.elementRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  EXPECT_STREQ(e->className(), "TimeKernelElementRigidBar");
  ASSERT_EQ(e->forceRecovery.rows, 1);
  ASSERT_EQ(e->forceRecovery.cols, 2);
  EXPECT_EQ(e->forceRecovery.at(0, 1), -0.5);
  EXPECT_EQ(file.kernel.tell(), at + r.byteSize());
  // Dropping the share leaves the prototype, and its record, in the map until it is cleared.
  e.reset();
  EXPECT_EQ(file.request.elementPrototypes[584]->dofRows.size, 2);
}

TEST_F(ElementReaderTest, CodeThatCannotBeReadCountsAsUnknown) {
  OpenKernel file(modeltest::oneElement(ElementRecord::make(645, {1})));
  file.kernel.seek(-4);  // no view can be made at a negative position
  EXPECT_FALSE(Zarn::readElementRecord(file.request));
  EXPECT_FALSE(Zarn::readElementDofRows(file.request));
}

}  // namespace
