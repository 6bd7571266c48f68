// Request selection: from the caller's node or element IDs to record positions (`requestedOffsets`) through the
// directories of sections 2 and 3, and from those records to the sorted set of response-table rows
// (`requiredRows`).
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

#include "evaluate/Request.h"
#include "kernelfile/ReadTimeKernel.h"
#include "keys/RequestList.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Layout;
using kernelwriter::NodeRecord;
using testsupport::raisesFailure;
using testsupport::TempFile;

using Rows = std::vector<std::uint32_t>;

// Codes for a node's degrees of freedom: translations, then rotations, as many as `rows` has.
std::vector<std::int32_t> codesFor(const Rows& rows) {
  std::vector<std::int32_t> codes;
  for (std::size_t i = 0; i < rows.size(); ++i) codes.push_back(-999 + static_cast<std::int32_t>(i % 6));
  return codes;
}

NodeRecord node(const Rows& rows) { return NodeRecord::make(rows, codesFor(rows)); }

// The union of the given row lists, ascending, each row once: what requiredRows must hold.
std::vector<std::int32_t> unionOf(const std::vector<Rows>& lists) {
  std::set<std::uint32_t> all;
  for (const Rows& list : lists)
    for (const std::uint32_t r : list) all.insert(r);
  std::vector<std::int32_t> sorted;
  for (const std::uint32_t r : all) sorted.push_back(static_cast<std::int32_t>(r));
  return sorted;
}

RequestList requestOf(const std::vector<std::int32_t>& ids) {
  RequestList list;
  list.values = ids.data();
  list.count = static_cast<std::int32_t>(ids.size());
  list.stride = 1;
  return list;
}

class SelectionTest : public testsupport::PlatformTest {
 protected:
  void TearDown() override {
    kernel.endCycle();
    PlatformTest::TearDown();
  }

  // Every file gets section 21, without which none opens.
  Layout open(KernelFile f) {
    f.setMatrix(21, 2, 40, std::vector<double>(80, 0.5));
    const Layout layout = f.write(file.path());
    kernel.fileName = file.path();
    kernel.openKernelFile();
    return layout;
  }

  std::vector<std::int32_t> requiredRows() const {
    return std::vector<std::int32_t>(request.requiredRows, request.requiredRows + request.requiredRowCount);
  }

  TempFile file{"selection"};
  ReadTimeKernel kernel;
  Request request{kernel};
};

// ---- requestedOffsets ----

using SelectionOffsets = SelectionTest;

TEST_F(SelectionOffsets, NodesResolveToTheirRecordsAndMissingIdsToMinusOne) {
  KernelFile f;
  f.addNode(10, node({0, 1, 2}));
  f.addNode(-20, node({3, 4}));
  f.addNode(30, node({5}));
  const Layout layout = open(f);
  ASSERT_EQ(layout.nodeRecordOffsets.size(), 3u);
  const std::vector<std::int32_t> ids = {30, 99, 10, -20, 0};
  request.selectNodes(requestOf(ids));
  const std::vector<std::int64_t> expected = {layout.nodeRecordOffsets[2], -1, layout.nodeRecordOffsets[0],
                                              layout.nodeRecordOffsets[1], -1};
  EXPECT_EQ(request.requestedOffsets, expected);
}

TEST_F(SelectionOffsets, ElementsResolveToTheirRecordsAndMissingIdsToMinusOne) {
  KernelFile f;
  f.addElement(501, ElementRecord::make(645, {0, 1}));
  f.addElement(-7, ElementRecord::make(582, {2}));
  f.addElement(88, ElementRecord::make(768, {3, 4, 5}));
  const Layout layout = open(f);
  ASSERT_EQ(layout.elementRecordOffsets.size(), 3u);
  const std::vector<std::int32_t> ids = {88, 12345, -7, 501};
  request.selectElements(requestOf(ids));
  const std::vector<std::int64_t> expected = {layout.elementRecordOffsets[2], -1, layout.elementRecordOffsets[1],
                                              layout.elementRecordOffsets[0]};
  EXPECT_EQ(request.requestedOffsets, expected);
}

TEST_F(SelectionOffsets, NodesAndElementsUseTheirOwnDirectories) {
  // The same ID names a node and an element; each selection reads its own directory.
  const Rows nodeRows = {1, 2}, elementRows = {7, 9};
  KernelFile f;
  f.addNode(10, node(nodeRows));
  f.addElement(10, ElementRecord::make(583, elementRows));
  const Layout layout = open(f);
  const std::vector<std::int32_t> ids = {10};
  request.selectNodes(requestOf(ids));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{layout.nodeRecordOffsets[0]});
  EXPECT_EQ(requiredRows(), unionOf({nodeRows}));
  request.selectElements(requestOf(ids));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{layout.elementRecordOffsets[0]});
  EXPECT_EQ(requiredRows(), unionOf({elementRows}));
}

TEST_F(SelectionOffsets, DuplicatedRequestGivesTwoEntries) {
  KernelFile f;
  f.addNode(1, node({0}));
  f.addNode(2, node({1}));
  f.addElement(3, ElementRecord::make(645, {4}));
  f.addElement(4, ElementRecord::make(645, {5}));
  const Layout layout = open(f);
  const std::vector<std::int32_t> nodes = {2, 1, 2};
  request.selectNodes(requestOf(nodes));
  EXPECT_EQ(request.requestedOffsets, (std::vector<std::int64_t>{layout.nodeRecordOffsets[1], layout.nodeRecordOffsets[0],
                                                                 layout.nodeRecordOffsets[1]}));
  EXPECT_EQ(requiredRows(), unionOf({{0}, {1}}));
  const std::vector<std::int32_t> elements = {4, 4};
  request.selectElements(requestOf(elements));
  EXPECT_EQ(request.requestedOffsets,
            (std::vector<std::int64_t>{layout.elementRecordOffsets[1], layout.elementRecordOffsets[1]}));
  EXPECT_EQ(requiredRows(), unionOf({{5}}));
}

TEST_F(SelectionOffsets, RequestListStrideIsHonoured) {
  KernelFile f;
  f.addNode(1, node({0}));
  f.addNode(2, node({1}));
  const Layout layout = open(f);
  const std::vector<std::int32_t> ids = {2, 1, 1, 2, 77};  // stride 2: 2, 1, 77
  RequestList list = requestOf(ids);
  list.count = 3;
  list.stride = 2;
  request.selectNodes(list);
  EXPECT_EQ(request.requestedOffsets, (std::vector<std::int64_t>{layout.nodeRecordOffsets[1], layout.nodeRecordOffsets[0], -1}));
}

// A file whose records come first, so that their offsets do not depend on the directories; `extra` adds raw
// directory entries for ID 10 pointing at the record of node 20 (or element 20), before (`rawFirst`) or after
// the real entry of 10.
KernelFile duplicatedDirectory(bool extra, bool rawFirst, std::int64_t nodeTarget, std::int64_t elementTarget) {
  KernelFile f;
  f.recordsBeforeSections = true;
  f.addNode(20, node({5, 6}));
  f.addElement(20, ElementRecord::make(642, {15, 16}));
  if (extra && rawFirst) {
    f.addNodeDirectoryEntry(10, nodeTarget);
    f.addElementDirectoryEntry(10, elementTarget);
  }
  f.addNode(10, node({1, 2}));
  f.addElement(10, ElementRecord::make(643, {11, 12}));
  if (extra && !rawFirst) {
    f.addNodeDirectoryEntry(10, nodeTarget);
    f.addElementDirectoryEntry(10, elementTarget);
  }
  return f;
}

TEST_F(SelectionOffsets, DuplicatedDirectoryIdResolvesToItsLastOccurrence) {
  // First write: where the records land.
  const Layout plain = open(duplicatedDirectory(false, false, 0, 0));
  kernel.endCycle();
  const std::int64_t node20 = plain.nodeRecordOffsets[0], node10 = plain.nodeRecordOffsets[1];
  const std::int64_t element20 = plain.elementRecordOffsets[0], element10 = plain.elementRecordOffsets[1];

  const std::vector<std::int32_t> ids = {10};
  {
    // The raw entry comes last: 10 now means the record of 20.
    const Layout layout = open(duplicatedDirectory(true, false, node20, element20));
    ASSERT_EQ(layout.nodeRecordOffsets, plain.nodeRecordOffsets);
    ASSERT_EQ(layout.elementRecordOffsets, plain.elementRecordOffsets);
    request.selectNodes(requestOf(ids));
    EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{node20});
    EXPECT_EQ(requiredRows(), unionOf({{5, 6}}));
    request.selectElements(requestOf(ids));
    EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{element20});
    EXPECT_EQ(requiredRows(), unionOf({{15, 16}}));
    kernel.endCycle();
  }
  {
    // The raw entry comes first: the real entry of 10 is the last one and wins.
    const Layout layout = open(duplicatedDirectory(true, true, node20, element20));
    ASSERT_EQ(layout.nodeRecordOffsets, plain.nodeRecordOffsets);
    ASSERT_EQ(layout.elementRecordOffsets, plain.elementRecordOffsets);
    request.selectNodes(requestOf(ids));
    EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{node10});
    EXPECT_EQ(requiredRows(), unionOf({{1, 2}}));
    request.selectElements(requestOf(ids));
    EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{element10});
    EXPECT_EQ(requiredRows(), unionOf({{11, 12}}));
  }
}

// ---- requiredRows ----

using SelectionRows = SelectionTest;

TEST_F(SelectionRows, NodeRowsAreSortedAndSharedRowsKeptOnce) {
  const Rows a = {9, 3, 5, 3}, b = {5, 1, 9}, c = {30, 0};
  KernelFile f;
  f.addNode(1, node(a));
  f.addNode(2, node(b));
  f.addNode(3, node(c));
  open(f);
  const std::vector<std::int32_t> ids = {3, 1, 2};
  request.selectNodes(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf({a, b, c}));
  EXPECT_EQ(request.requiredRowCount, static_cast<std::int32_t>(unionOf({a, b, c}).size()));
}

TEST_F(SelectionRows, ElementRowsAreSortedAndSharedRowsKeptOnce) {
  const Rows a = {7, 3, 5}, b = {5, 1, 7, 7}, c = {3};
  KernelFile f;
  f.addElement(100, ElementRecord::make(645, a));
  f.addElement(200, ElementRecord::make(768, b));
  f.addElement(300, ElementRecord::make(582, c));
  open(f);
  const std::vector<std::int32_t> ids = {200, 300, 100};
  request.selectElements(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf({a, b, c}));
}

TEST_F(SelectionRows, ElementOfAnUnknownTypeContributesNothing) {
  const Rows known = {4, 2}, zero = {100, 101}, unknown = {200};
  KernelFile f;
  f.addElement(1, ElementRecord::make(0, zero));
  f.addElement(2, ElementRecord::make(645, known));
  f.addElement(3, ElementRecord::make(581, unknown));
  const Layout layout = open(f);
  const std::vector<std::int32_t> ids = {1, 2, 3};
  request.selectElements(requestOf(ids));
  // The unknown elements are in the directory and keep their positions; they only add no rows.
  EXPECT_EQ(request.requestedOffsets, (std::vector<std::int64_t>{layout.elementRecordOffsets[0],
                                                                 layout.elementRecordOffsets[1],
                                                                 layout.elementRecordOffsets[2]}));
  EXPECT_EQ(requiredRows(), unionOf({known}));

  const std::vector<std::int32_t> onlyUnknown = {3, 1};
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(onlyUnknown)); }));
}

TEST_F(SelectionRows, AllFamilyCodesContribute) {
  const std::int32_t codes[] = {580, 582, 583, 584, 586, 594, 642, 643, 645, 768};
  KernelFile f;
  std::vector<Rows> lists;
  std::vector<std::int32_t> ids;
  for (std::int32_t k = 0; k < 10; ++k) {
    const auto r = static_cast<std::uint32_t>(3 * k);
    lists.push_back({r + 1, r});
    f.addElement(1000 + k, ElementRecord::make(codes[k], lists.back()));
    ids.push_back(1000 + k);
  }
  open(f);
  request.selectElements(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf(lists));
}

TEST_F(SelectionRows, NodeWithoutDegreesOfFreedomContributesNothing) {
  const Rows rows = {3, 8};
  KernelFile f;
  f.addNode(10, node({}));
  f.addNode(20, node(rows));
  f.addNode(30, NodeRecord::make({}, {}, {1, 0, 0, 0, 1, 0, 0, 0, 1}));
  open(f);
  const std::vector<std::int32_t> ids = {10, 20, 30};
  request.selectNodes(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf({rows}));

  const std::vector<std::int32_t> empties = {10, 30};
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(empties)); }));
}

TEST_F(SelectionRows, ElementWithoutDegreesOfFreedomContributesNothing) {
  const Rows rows = {6};
  KernelFile f;
  f.addElement(1, ElementRecord::make(645, {}));
  f.addElement(2, ElementRecord::make(583, rows));
  open(f);
  const std::vector<std::int32_t> ids = {1, 2};
  request.selectElements(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf({rows}));
  const std::vector<std::int32_t> empty = {1};
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(empty)); }));
}

TEST_F(SelectionRows, NodeWithARotationIsReadWhole) {
  // A rotation makes the record 72 bytes longer; the rows are the same and the next record is unaffected.
  const Rows a = {2, 4, 6}, b = {1};
  KernelFile f;
  f.addNode(1, NodeRecord::make(a, codesFor(a), {0, 1, 0, -1, 0, 0, 0, 0, 1}));
  f.addNode(2, node(b));
  open(f);
  const std::vector<std::int32_t> ids = {1, 2};
  request.selectNodes(requestOf(ids));
  EXPECT_EQ(requiredRows(), unionOf({a, b}));
}

TEST_F(SelectionRows, SecondSelectionReplacesTheFirst) {
  const Rows a = {1, 2, 3}, b = {7, 8, 9}, c = {4};
  KernelFile f;
  f.addNode(1, node(a));
  f.addNode(2, node(b));
  f.addNode(3, node(c));
  const Layout layout = open(f);
  const std::vector<std::int32_t> first = {1, 3};
  request.selectNodes(requestOf(first));
  EXPECT_EQ(requiredRows(), unionOf({a, c}));
  // Another selection of another row count.
  const std::vector<std::int32_t> second = {2};
  request.selectNodes(requestOf(second));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{layout.nodeRecordOffsets[1]});
  EXPECT_EQ(requiredRows(), unionOf({b}));
  // And one of the same row count, whose rows differ.
  const std::vector<std::int32_t> third = {1};
  request.selectNodes(requestOf(third));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{layout.nodeRecordOffsets[0]});
  EXPECT_EQ(requiredRows(), unionOf({a}));
}

TEST_F(SelectionRows, ElementSelectionAfterNodeSelectionHoldsOnlyElementRows) {
  const Rows nodeRows = {1, 2}, elementRows = {2, 5};
  KernelFile f;
  f.addNode(1, node(nodeRows));
  f.addElement(9, ElementRecord::make(645, elementRows));
  open(f);
  const std::vector<std::int32_t> nodes = {1}, elements = {9};
  request.selectNodes(requestOf(nodes));
  request.selectElements(requestOf(elements));
  EXPECT_EQ(requiredRows(), unionOf({elementRows}));
}

// ---- refusals ----

using SelectionFails = SelectionTest;

TEST_F(SelectionFails, RequestOfMissingIdsOnly) {
  KernelFile f;
  f.addNode(1, node({0}));
  f.addElement(2, ElementRecord::make(645, {0}));
  open(f);
  const std::vector<std::int32_t> ids = {5, 6};
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(ids)); }));
  EXPECT_EQ(request.requestedOffsets, (std::vector<std::int64_t>{-1, -1}));
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(ids)); }));
  EXPECT_EQ(request.requestedOffsets, (std::vector<std::int64_t>{-1, -1}));
}

TEST_F(SelectionFails, EmptyRequest) {
  KernelFile f;
  f.addNode(1, node({0}));
  f.addElement(2, ElementRecord::make(645, {0}));
  open(f);
  const std::vector<std::int32_t> none;
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(none)); }));
  EXPECT_TRUE(request.requestedOffsets.empty());
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(none)); }));
  EXPECT_TRUE(request.requestedOffsets.empty());
}

TEST_F(SelectionFails, DirectoryWithNoEntries) {
  KernelFile f;
  f.setDirectoryPresent(kernelwriter::kNodeDirectory, true);
  f.setDirectoryPresent(kernelwriter::kElementDirectory, true);
  open(f);
  const std::vector<std::int32_t> ids = {1};
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(ids)); }));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{-1});
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(ids)); }));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{-1});
}

TEST_F(SelectionFails, AbsentDirectory) {
  // The records are in the file, but no directory leads to them.
  KernelFile f;
  f.addNode(1, node({0}));
  f.addElement(1, ElementRecord::make(645, {0}));
  f.setDirectoryPresent(kernelwriter::kNodeDirectory, false);
  f.setDirectoryPresent(kernelwriter::kElementDirectory, false);
  open(f);
  const std::vector<std::int32_t> ids = {1};
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(ids)); }));
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(ids)); }));
}

TEST_F(SelectionFails, OnlyTheOtherDirectoryPresent) {
  KernelFile f;
  f.addNode(1, node({0}));  // a node directory and no element directory
  open(f);
  const std::vector<std::int32_t> ids = {1};
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(ids)); }));
  EXPECT_NO_THROW(request.selectNodes(requestOf(ids)));
}

TEST_F(SelectionFails, MislabelledDirectory) {
  KernelFile f;
  f.addNode(1, node({0}));
  f.addElement(1, ElementRecord::make(645, {0}));
  f.setSectionHeaderOverride(kernelwriter::kNodeDirectory, kernelwriter::kElementDirectory, 1, 0);
  f.setSectionHeaderOverride(kernelwriter::kElementDirectory, kernelwriter::kNodeDirectory, 1, 0);
  open(f);
  const std::vector<std::int32_t> ids = {1};
  EXPECT_TRUE(raisesFailure([&] { request.selectNodes(requestOf(ids)); }));
  EXPECT_TRUE(raisesFailure([&] { request.selectElements(requestOf(ids)); }));
}

TEST_F(SelectionFails, DirectorySecondCountIsNotUsed) {
  KernelFile f;
  f.addNode(1, node({4}));
  f.setSectionHeaderOverride(kernelwriter::kNodeDirectory, kernelwriter::kNodeDirectory, 1, 999);
  const Layout layout = open(f);
  const std::vector<std::int32_t> ids = {1};
  EXPECT_NO_THROW(request.selectNodes(requestOf(ids)));
  EXPECT_EQ(request.requestedOffsets, std::vector<std::int64_t>{layout.nodeRecordOffsets[0]});
  EXPECT_EQ(requiredRows(), unionOf({{4}}));
}

}  // namespace
}  // namespace Zarn
