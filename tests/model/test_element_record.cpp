// Element records read back from files built with the writer, for every class of the family, and the element's
// clear, clone and print.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "kernelfile/platform.h"
#include "model/ElementFamily.h"
#include "model/Prototypes.h"
#include "evaluate/ElementReader.h"
#include "kernelfile/ElementRecord.h"
#include "model/ModelFiles.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Table;
using modeltest::counting;
using modeltest::OpenKernel;
using testsupport::raisesFailure;
using Zarn::Matrix;
using Zarn::TimeKernelElement;

class ElementRecordTest : public testsupport::PlatformTest {};
class ElementLifecycleTest : public testsupport::PlatformTest {};
class ElementFamilyTest : public testsupport::PlatformTest {};

// The family as the file format and the class table give it: code, class name, stress recovery, deformation
// recovery.
struct Kind {
  std::int32_t code;
  const char* name;
  bool stress;
  bool deform;
};
const Kind kFamily[] = {
    {580, "TimeKernelElementBush", false, true},        {582, "TimeKernelElementRod", true, false},
    {583, "TimeKernelElementBar", true, false},         {584, "TimeKernelElementRigidBar", false, false},
    {586, "TimeKernelElementWarpingBar", true, false},  {594, "TimeKernelElementCatenary", true, false},
    {642, "TimeKernelElementPlaneStress", true, false}, {643, "TimeKernelElementPlaneStrain", true, false},
    {645, "TimeKernelElementShell", true, false},       {768, "TimeKernelElementSolid", true, false},
};

// A table of the given shape whose values count up from `first`; each table of a record gets its own range.
Table counted(std::uint32_t rows, std::uint32_t cols, double first) {
  return Table::matrix(rows, cols, counting(std::int64_t(rows) * cols, first));
}

// A record with all ten tables present, each of its own shape and values, and a reference state of 3 values.
ElementRecord fullRecord(std::int32_t code, double base) {
  ElementRecord r = ElementRecord::make(code, {11, 3, 7});
  r.forceRotation = counted(3, 3, base + 100);
  r.stressRotation = counted(5, 5, base + 200);
  r.forceOffset = counted(2, 1, base + 300);
  r.stressOffset = counted(3, 2, base + 400);
  r.setReference(counting(3, base + 500));
  r.forceLoad = counted(4, 2, base + 600);
  r.stressLoad = counted(3, 1, base + 700);
  r.forceRecovery = counted(4, 3, base + 800);
  r.stressRecovery = counted(6, 3, base + 900);
  r.velocityForce = counted(4, 3, base + 1000);
  r.tenth = counted(2, 2, base + 1100);
  return r;
}

// Checks that `m` is an owned, packed copy of `t`.
void expectTable(const Matrix& m, const Table& t, const char* name) {
  SCOPED_TRACE(name);
  ASSERT_EQ(m.rows, static_cast<std::int32_t>(t.rows));
  ASSERT_EQ(m.cols, static_cast<std::int32_t>(t.cols));
  EXPECT_EQ(m.owned, 1);
  if (t.values.empty()) {
    EXPECT_EQ(m.data, nullptr);
    return;
  }
  EXPECT_EQ(m.stride, m.rows);
  for (std::uint32_t j = 0; j < t.cols; ++j)
    for (std::uint32_t i = 0; i < t.rows; ++i)
      EXPECT_EQ(m.at(static_cast<std::int32_t>(i), static_cast<std::int32_t>(j)), t.values[j * t.rows + i])
          << "(" << i << ", " << j << ")";
}

// Checks every field of `e` against the record `r` it was read from.
void expectRecord(const TimeKernelElement& e, const ElementRecord& r) {
  ASSERT_EQ(e.dofRows.size, static_cast<std::int32_t>(r.dofRows.size()));
  for (std::size_t k = 0; k < r.dofRows.size(); ++k)
    EXPECT_EQ(e.dofRows[static_cast<std::int32_t>(k)], static_cast<std::int32_t>(r.dofRows[k]));
  expectTable(e.forceRotation, r.forceRotation, "forceRotation");
  expectTable(e.stressRotation, r.stressRotation, "stressRotation");
  expectTable(e.forceOffset, r.forceOffset, "forceOffset");
  expectTable(e.stressOffset, r.stressOffset, "stressOffset");
  ASSERT_EQ(e.referenceDisplacement.size, static_cast<std::int32_t>(r.referenceDisplacement.size()));
  EXPECT_EQ(e.referenceDisplacement.stride, 1);
  for (std::size_t k = 0; k < r.referenceDisplacement.size(); ++k)
    EXPECT_EQ(*e.referenceDisplacement.at(static_cast<std::int32_t>(k)), r.referenceDisplacement[k]);
  expectTable(e.forceLoad, r.forceLoad, "forceLoad");
  expectTable(e.stressLoad, r.stressLoad, "stressLoad");
  expectTable(e.forceRecovery, r.forceRecovery, "forceRecovery");
  expectTable(e.stressRecovery, r.stressRecovery, "stressRecovery");
  expectTable(e.velocityForce, r.velocityForce, "velocityForce");
}

// True when the record's values (base + 1100 and up) of its tenth table show up in any table of `e`.
bool holdsAnyTenthValue(const TimeKernelElement& e, double base) {
  for (const Matrix* m : {&e.forceRotation, &e.stressRotation, &e.forceOffset, &e.stressOffset, &e.forceLoad,
                          &e.stressLoad, &e.forceRecovery, &e.stressRecovery, &e.velocityForce}) {
    for (std::int64_t k = 0; k < m->count(); ++k)
      if (m->data[k] >= base + 1100 && m->data[k] < base + 1104) return true;
  }
  return false;
}

void expectCleared(const TimeKernelElement& e) {
  EXPECT_EQ(e.dofRows.size, 0);
  EXPECT_EQ(e.dofRows.data, nullptr);
  for (const Matrix* m : {&e.forceRotation, &e.stressRotation, &e.forceOffset, &e.stressOffset, &e.forceLoad,
                          &e.stressLoad, &e.forceRecovery, &e.stressRecovery}) {
    EXPECT_EQ(m->rows, 0);
    EXPECT_EQ(m->cols, 0);
    EXPECT_EQ(m->stride, 0);
    EXPECT_EQ(m->data, nullptr);
    EXPECT_EQ(m->owned, 1);
  }
  EXPECT_EQ(e.referenceDisplacement.size, 0);
  EXPECT_EQ(e.referenceDisplacement.data, nullptr);
}

TEST_F(ElementRecordTest, EveryClassReadsItsRecordFieldByField) {
  KernelFile f;
  std::vector<ElementRecord> records;
  for (std::size_t k = 0; k < std::size(kFamily); ++k) {
    records.push_back(fullRecord(kFamily[k].code, 10000.0 * static_cast<double>(k)));
    f.addElement(static_cast<std::int32_t>(k + 1), records.back());
  }
  OpenKernel file(f);
  for (std::size_t k = 0; k < std::size(kFamily); ++k) {
    SCOPED_TRACE(kFamily[k].name);
    const std::int64_t at = file.layout.elementRecordOffsets[k];
    file.kernel.seek(at);
    Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
    ASSERT_TRUE(e);
    // The prototype itself holds the record.
    EXPECT_EQ(e.get(), file.request.elementPrototypes[kFamily[k].code].get());
    EXPECT_EQ(e->elementType(), kFamily[k].code);
    EXPECT_STREQ(e->className(), kFamily[k].name);
    expectRecord(*e, records[k]);
    // The tenth table is skipped, yet the reader stands behind the whole record.
    EXPECT_FALSE(holdsAnyTenthValue(*e, 10000.0 * static_cast<double>(k)));
    EXPECT_EQ(file.kernel.tell(), at + records[k].byteSize());
    e->clear();
  }
}

TEST_F(ElementRecordTest, ReaderEndsBehindTheTenthTable) {
  // Two records back to back: the second is read from where the first left the reader.
  ElementRecord a = fullRecord(645, 0);
  ElementRecord b = fullRecord(768, 50000);
  b.tenth = counted(3, 4, 77);
  KernelFile f;
  f.addElement(1, a);
  f.addElement(2, b);
  OpenKernel file(f);
  // The record takes 4 + 4 + 3 * 4 + 4 + 3 * 8 and ten tables of 8 bytes plus 8 per value:
  // 9 + 25 + 2 + 6 + 8 + 3 + 12 + 18 + 12 + 4 = 99 values.
  const std::int64_t expected = 4 + 4 + 12 + 4 + 24 + 10 * 8 + 99 * 8;
  ASSERT_EQ(file.layout.elementRecordOffsets[1], file.layout.elementRecordOffsets[0] + expected);
  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> first = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(first);
  EXPECT_EQ(file.kernel.tell(), file.layout.elementRecordOffsets[0] + expected);
  Zarn::counted_ptr<TimeKernelElement> second = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->elementType(), 768);
  expectRecord(*second, b);
  EXPECT_EQ(file.kernel.tell(), file.layout.fileSize);
}

TEST_F(ElementRecordTest, EmptyTablesAndNoDofsReadAsEmpty) {
  ElementRecord r = ElementRecord::make(583, {});  // n 0, every table 0 x 0, m 0
  OpenKernel file(modeltest::oneElement(r));
  const std::int64_t at = file.layout.elementRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  expectRecord(*e, r);
  // code, n, m and ten empty tables of two counts each.
  EXPECT_EQ(file.kernel.tell(), at + 4 + 4 + 4 + 10 * 8);
}

TEST_F(ElementRecordTest, TableWithRowsButNoColumnsKeepsItsShape) {
  ElementRecord r = ElementRecord::make(582, {1});
  r.forceRecovery.rows = 4;  // 4 x 0: no values follow
  OpenKernel file(modeltest::oneElement(r));
  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  EXPECT_EQ(e->forceRecovery.rows, 4);
  EXPECT_EQ(e->forceRecovery.cols, 0);
  EXPECT_EQ(e->forceRecovery.data, nullptr);
  EXPECT_TRUE(e->forceRecovery.empty());
  EXPECT_EQ(file.kernel.tell(), file.layout.fileSize);
}

TEST_F(ElementRecordTest, TableOfTheSameShapeIsReused) {
  KernelFile f;
  f.addElement(1, fullRecord(645, 0));
  f.addElement(2, fullRecord(645, 3));
  OpenKernel file(f);
  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  const double* storage = e->forceRecovery.data;
  // No clear in between: the next record of equal shape is read into the same storage.
  Zarn::readElementRecord(file.request);
  EXPECT_EQ(e->forceRecovery.data, storage);
  EXPECT_EQ(e->forceRecovery.at(0, 0), 803.0);
}

TEST_F(ElementRecordTest, ReferenceViewOfTheRightSizeIsFilledInPlace) {
  ElementRecord r = fullRecord(642, 0);
  OpenKernel file(modeltest::oneElement(r));
  Zarn::TimeKernelElementPlaneStress e;
  std::vector<double> storage(3, -1.0);
  e.referenceDisplacement = Zarn::Vector::view(storage.data(), 3, 1);
  file.kernel.seek(file.layout.elementRecordOffsets[0] + 4);  // behind the type code
  Zarn::readElementRecordFields(file.kernel.mapping, e.recordFields());
  EXPECT_EQ(e.referenceDisplacement.data, storage.data());
  EXPECT_EQ(e.referenceDisplacement.owned, 0);
  EXPECT_EQ(storage, (std::vector<double>{500, 501, 502}));
  expectTable(e.velocityForce, r.velocityForce, "velocityForce");
}

TEST_F(ElementRecordTest, ReferenceViewOfAnotherSizeFails) {
  KernelFile f;
  f.addElement(1, fullRecord(642, 0));  // m 3
  OpenKernel file(f);
  Zarn::TimeKernelElementPlaneStress e;
  std::vector<double> storage(2, -1.0);
  e.referenceDisplacement = Zarn::Vector::view(storage.data(), 2, 1);
  file.kernel.seek(file.layout.elementRecordOffsets[0] + 4);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecordFields(file.kernel.mapping, e.recordFields()); }));
  EXPECT_EQ(storage, (std::vector<double>{-1.0, -1.0}));
}

TEST_F(ElementRecordTest, RecordCutShortLeavesTheRemainingTablesAsTheyWere) {
  ElementRecord whole = fullRecord(645, 0);
  ElementRecord cut = ElementRecord::make(645, {1, 2});
  cut.forceRotation = counted(3, 3, 7000);
  cut.stressRotation = counted(1, 1, 7100);
  cut.forceOffset = counted(2, 2, 7200);
  KernelFile f;
  f.addElement(1, whole);
  f.addElement(2, cut);
  // The file ends inside the second, last record, right behind forceOffset's counts: type code, n and two rows
  // (4 + 4 + 8), forceRotation (8 + 72), stressRotation (8 + 8), forceOffset's counts (8).
  OpenKernel file(f, cut.byteSize() - 120);
  const std::int64_t second = file.layout.elementRecordOffsets[1];
  ASSERT_EQ(file.layout.fileSize, second + cut.byteSize());
  ASSERT_EQ(testsupport::sizeOnDisk(file.path.path()), second + 120);

  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  // Reading past the end would lengthen the file; make that impossible so that no view can be made there.
  Zarn::platform::calls().extendFile = [](Zarn::platform::FileHandle, std::int64_t) { return false; };
  file.kernel.seek(second);
  ASSERT_EQ(Zarn::readElementRecord(file.request).get(), e.get());

  EXPECT_EQ(e->dofRows.size, 2);
  expectTable(e->forceRotation, cut.forceRotation, "forceRotation");
  expectTable(e->stressRotation, cut.stressRotation, "stressRotation");
  // forceOffset took its new shape, but its values could not be read: zeros, never undefined values.
  ASSERT_EQ(e->forceOffset.rows, 2);
  ASSERT_EQ(e->forceOffset.cols, 2);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(e->forceOffset.data[k], 0.0);
  // Everything behind it is still the first record's.
  expectTable(e->stressOffset, whole.stressOffset, "stressOffset");
  EXPECT_EQ(e->referenceDisplacement.size, 3);
  EXPECT_EQ(*e->referenceDisplacement.at(2), 502.0);
  expectTable(e->forceRecovery, whole.forceRecovery, "forceRecovery");
  expectTable(e->velocityForce, whole.velocityForce, "velocityForce");
  EXPECT_EQ(file.kernel.tell(), second + 120);
}

// A single record with a literal field changed, read into its prototype.
struct HostileRecord {
  explicit HostileRecord(const ElementRecord& r) : file(modeltest::oneElement(r)) {
    file.kernel.seek(file.layout.elementRecordOffsets[0]);
  }
  OpenKernel file;
};

TEST_F(ElementRecordTest, DofCountAboveInt32MaxFails) {
  ElementRecord r = ElementRecord::make(645, {});
  r.dofCount = 0x80000000u;
  HostileRecord h(r);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(h.file.request); }));
  h.file.kernel.seek(h.file.layout.elementRecordOffsets[0]);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementDofRows(h.file.request); }));
}

TEST_F(ElementRecordTest, TableCountAboveInt32MaxFails) {
  ElementRecord r = ElementRecord::make(645, {1});
  r.stressLoad.cols = 0x80000000u;
  HostileRecord cols(r);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(cols.file.request); }));

  ElementRecord s = ElementRecord::make(645, {1});
  s.forceRotation.rows = 0xFFFFFFFFu;
  HostileRecord rows(s);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(rows.file.request); }));
}

TEST_F(ElementRecordTest, TableTooLargeToAllocateFails) {
  // 2^31 - 1 squared values: the product is taken in 64 bits and far beyond what may be allocated.
  ElementRecord r = ElementRecord::make(768, {1});
  r.forceRecovery.rows = 0x7FFFFFFFu;
  r.forceRecovery.cols = 0x7FFFFFFFu;
  HostileRecord h(r);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(h.file.request); }));

  // 65536 x 65536 wraps to 0 in 32 bits; in 64 bits it is 32 GiB of doubles.
  ElementRecord s = ElementRecord::make(768, {1});
  s.tenth.rows = 65536;
  s.tenth.cols = 65536;
  HostileRecord t(s);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(t.file.request); }));
}

TEST_F(ElementRecordTest, ReferenceCountAboveInt32MaxFails) {
  ElementRecord r = ElementRecord::make(645, {1});
  r.referenceCount = 0x80000000u;
  HostileRecord h(r);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readElementRecord(h.file.request); }));
}

TEST_F(ElementLifecycleTest, NewElementIsEmpty) {
  TimeKernelElement e;
  EXPECT_EQ(e.id, 0);
  expectCleared(e);
  EXPECT_EQ(e.velocityForce.rows, 0);
  EXPECT_EQ(e.velocityForce.owned, 1);
  EXPECT_EQ(e.referenceDisplacement.stride, 1);
  EXPECT_EQ(e.referenceDisplacement.owned, 1);
  EXPECT_EQ(e.elementType(), 0);
  EXPECT_STREQ(e.className(), "TimeKernelElement");
}

TEST_F(ElementLifecycleTest, ClearKeepsVelocityForceUntilTheNextFullRecord) {
  ElementRecord first = fullRecord(645, 0);
  ElementRecord second = fullRecord(645, 20000);
  ElementRecord third = ElementRecord::make(645, {4, 5});  // no velocity table
  KernelFile f;
  f.addElement(1, first);
  f.addElement(2, second);
  f.addElement(3, third);
  OpenKernel file(f);

  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  e->clear();
  expectCleared(*e);
  expectTable(e->velocityForce, first.velocityForce, "velocityForce after clear");

  // Reading only the rows of the next record leaves it in place too.
  file.kernel.seek(file.layout.elementRecordOffsets[1]);
  ASSERT_EQ(Zarn::readElementDofRows(file.request).get(), e.get());
  EXPECT_EQ(e->dofRows.size, 3);
  expectTable(e->velocityForce, first.velocityForce, "velocityForce after a dof-rows read");
  e->clear();

  // A full record replaces it, also by an empty table.
  file.kernel.seek(file.layout.elementRecordOffsets[2]);
  ASSERT_EQ(Zarn::readElementRecord(file.request).get(), e.get());
  expectTable(e->velocityForce, third.velocityForce, "velocityForce after a whole record read");
  EXPECT_EQ(e->velocityForce.rows, 0);
}

TEST_F(ElementLifecycleTest, DeepCloneOfEveryClassCopiesEveryField) {
  KernelFile f;
  std::vector<ElementRecord> records;
  for (std::size_t k = 0; k < std::size(kFamily); ++k) {
    records.push_back(fullRecord(kFamily[k].code, 100.0 * static_cast<double>(k)));
    f.addElement(static_cast<std::int32_t>(k + 1), records.back());
  }
  OpenKernel file(f);
  for (std::size_t k = 0; k < std::size(kFamily); ++k) {
    SCOPED_TRACE(kFamily[k].name);
    file.kernel.seek(file.layout.elementRecordOffsets[k]);
    Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
    ASSERT_TRUE(e);
    e->id = 30 + static_cast<std::int32_t>(k);

    Zarn::counted_ptr<Zarn::Base> copy = e->clone(true);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy.useCount(), 1u);
    EXPECT_NE(copy.get(), e.get());
    EXPECT_STREQ(copy->className(), kFamily[k].name);
    auto* c = dynamic_cast<TimeKernelElement*>(copy.get());
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->elementType(), kFamily[k].code);
    EXPECT_EQ(c->id, 30 + static_cast<std::int32_t>(k));
    e->clear();  // the copy owns its own tables
    expectRecord(*c, records[k]);
    EXPECT_EQ(c->referenceDisplacement.owned, 1);
  }
}

TEST_F(ElementLifecycleTest, ShallowCloneIsAnEmptyElementOfTheSameClass) {
  OpenKernel file(modeltest::oneElement(fullRecord(586, 0)));
  file.kernel.seek(file.layout.elementRecordOffsets[0]);
  Zarn::counted_ptr<TimeKernelElement> e = Zarn::readElementRecord(file.request);
  ASSERT_TRUE(e);
  e->id = 9;
  Zarn::counted_ptr<Zarn::Base> copy = e->clone(false);
  ASSERT_TRUE(copy);
  EXPECT_STREQ(copy->className(), "TimeKernelElementWarpingBar");
  auto* c = dynamic_cast<TimeKernelElement*>(copy.get());
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->elementType(), 586);
  EXPECT_EQ(c->id, 0);
  expectCleared(*c);
  EXPECT_EQ(c->velocityForce.rows, 0);
}

TEST_F(ElementLifecycleTest, CloneOfTheRootClassIsTheRootClass) {
  TimeKernelElement e;
  e.id = 4;
  Zarn::counted_ptr<Zarn::Base> copy = e.clone(true);
  ASSERT_TRUE(copy);
  EXPECT_STREQ(copy->className(), "TimeKernelElement");
  EXPECT_EQ(copy->id, 4);
}

TEST_F(ElementLifecycleTest, PrintsClassNameAndId) {
  Zarn::TimeKernelElementShell shell;
  shell.id = 3;
  std::ostringstream out;
  EXPECT_EQ(&shell.print(out), &out);
  EXPECT_EQ(out.str(), "TimeKernelElementShell ID=3");

  for (const Kind& kind : kFamily) {
    std::map<std::int32_t, Zarn::counted_ptr<TimeKernelElement>> prototypes;
    Zarn::counted_ptr<Zarn::TimeKernelNode> node;
    Zarn::makePrototypes(prototypes, node);
    Zarn::counted_ptr<TimeKernelElement> p = prototypes[kind.code];
    ASSERT_TRUE(p);
    p->id = 12;
    std::ostringstream line;
    p->print(line);
    EXPECT_EQ(line.str(), std::string(kind.name) + " ID=12");
  }
}

TEST_F(ElementFamilyTest, TypeCodesAndRecoveriesFollowTheFamilyTable) {
  std::map<std::int32_t, Zarn::counted_ptr<TimeKernelElement>> prototypes;
  Zarn::counted_ptr<Zarn::TimeKernelNode> node;
  Zarn::makePrototypes(prototypes, node);
  for (const Kind& kind : kFamily) {
    SCOPED_TRACE(kind.name);
    Zarn::counted_ptr<TimeKernelElement> p = prototypes[kind.code];
    ASSERT_TRUE(p);
    EXPECT_EQ(p->elementType(), kind.code);
    EXPECT_EQ(p->hasStressRecovery(), kind.stress);
    EXPECT_EQ(p->hasDeformRecovery(), kind.deform);
  }
  TimeKernelElement root;
  EXPECT_TRUE(root.hasStressRecovery());
  EXPECT_FALSE(root.hasDeformRecovery());
}

TEST_F(ElementFamilyTest, RigidBarHasNeitherStressNorDeformation) {
  Zarn::TimeKernelElementRigidBar rigid;
  EXPECT_EQ(rigid.elementType(), 584);
  EXPECT_FALSE(rigid.hasStressRecovery());
  EXPECT_FALSE(rigid.hasDeformRecovery());
}

}  // namespace
