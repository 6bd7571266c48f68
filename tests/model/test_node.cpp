// The node record read back from files built with the writer, and the node's clear, clone, print and
// rotation of triples.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <sstream>
#include <vector>

#include "kernelfile/platform.h"
#include "model/ModelFiles.h"
#include "model/TimeKernelNode.h"
#include "evaluate/ElementReader.h"

namespace {

using kernelwriter::KernelFile;
using kernelwriter::NodeRecord;
using modeltest::OpenKernel;
using testsupport::raisesFailure;
using Zarn::Matrix;
using Zarn::TimeKernelNode;

class NodeRecordTest : public testsupport::PlatformTest {};
class NodeLifecycleTest : public testsupport::PlatformTest {};
class NodeRotationTest : public testsupport::PlatformTest {};

// The arrays of a node as vectors, for comparison with what was written.
std::vector<std::int32_t> rowsOf(const TimeKernelNode& n) {
  return std::vector<std::int32_t>(n.dofRows.data, n.dofRows.data + n.dofRows.size);
}
std::vector<std::int32_t> codesOf(const TimeKernelNode& n) {
  return std::vector<std::int32_t>(n.dofCodes.data, n.dofCodes.data + n.dofCodes.size);
}

const std::array<double, 9> kTurn = {0.0, -1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0};  // 90 degrees about z
const std::array<double, 9> kMixed = {2, 3, 5, 7, 11, 13, 17, 19, 23};               // no symmetry at all

TEST_F(NodeRecordTest, RecordWithoutTransformReadsFieldByField) {
  KernelFile f;
  f.addNode(7, NodeRecord::make({5, 6, 7, 12}, {-999, -998, -997, -1000}));
  OpenKernel file(f);
  TimeKernelNode node;
  node.id = 42;
  const std::int64_t at = file.layout.nodeRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::readNode(file.kernel, node);

  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{5, 6, 7, 12}));
  // -1000 sits in the arrays like any other code.
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{-999, -998, -997, -1000}));
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(node.transform.cols, 0);
  EXPECT_EQ(node.id, 42);  // the record holds no id
  EXPECT_EQ(file.kernel.tell(), at + 8 + 8 * 4);
}

TEST_F(NodeRecordTest, RecordWithTransformReadsTheNineRealsInOrder) {
  OpenKernel file(modeltest::oneNode(NodeRecord::make({3, 1, 4}, {-996, -995, -994}, kMixed)));
  TimeKernelNode node;
  const std::int64_t at = file.layout.nodeRecordOffsets[0];
  file.kernel.seek(at);
  Zarn::readNode(file.kernel, node);

  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{3, 1, 4}));
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{-996, -995, -994}));
  EXPECT_EQ(node.transform.rows, 3);
  EXPECT_EQ(node.transform.cols, 3);
  for (int k = 0; k < 9; ++k) EXPECT_EQ(node.transform.values[k], kMixed[k]) << "value " << k;
  EXPECT_EQ(file.kernel.tell(), at + 8 + 8 * 3 + 72);
}

TEST_F(NodeRecordTest, HasTransformTwoCountsAsTrue) {
  NodeRecord r = NodeRecord::make({9}, {-999}, kMixed);
  r.hasTransform = 2;
  OpenKernel file(modeltest::oneNode(r));
  TimeKernelNode node;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(node.transform.rows, 3);
  EXPECT_EQ(node.transform.cols, 3);
  EXPECT_EQ(node.transform.values[8], 23.0);
  EXPECT_EQ(file.kernel.tell(), file.layout.nodeRecordOffsets[0] + 8 + 8 + 72);
}

TEST_F(NodeRecordTest, EmptyRecordTakesEightBytesAndTheWalkMovesOn) {
  KernelFile f;
  f.addNode(1, NodeRecord::make({}, {}));
  f.addNode(2, NodeRecord::make({8, 9}, {-999, -1000}));
  OpenKernel file(f);
  const std::int64_t first = file.layout.nodeRecordOffsets[0];
  ASSERT_EQ(file.layout.nodeRecordOffsets[1], first + 8);

  TimeKernelNode node;
  file.kernel.seek(first);
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(node.dofRows.size, 0);
  EXPECT_EQ(node.dofCodes.size, 0);
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(file.kernel.tell(), first + 8);

  // The next record stands right behind it.
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{8, 9}));
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{-999, -1000}));
}

TEST_F(NodeRecordTest, NextRecordReplacesArraysAndRotation) {
  KernelFile f;
  f.addNode(1, NodeRecord::make({1, 2, 3, 4}, {-999, -998, -997, -996}, kTurn));
  f.addNode(2, NodeRecord::make({20}, {-1000}));
  OpenKernel file(f);
  TimeKernelNode node;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);
  ASSERT_EQ(node.transform.rows, 3);
  file.kernel.seek(file.layout.nodeRecordOffsets[1]);
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{20}));
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{-1000}));
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(node.transform.cols, 0);
}

TEST_F(NodeRecordTest, WithoutViewTheNodeKeepsWhatItHeld) {
  OpenKernel file(modeltest::oneNode(NodeRecord::make({4, 5}, {-999, -998}, kTurn)));
  TimeKernelNode node;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);
  // No view can be made at a negative position: the read is dropped.
  file.kernel.seek(-16);
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{4, 5}));
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{-999, -998}));
  EXPECT_EQ(node.transform.rows, 3);
  EXPECT_EQ(node.transform.values[1], -1.0);
}

TEST_F(NodeRecordTest, RecordCutShortStopsAndLeavesNoUndefinedValues) {
  // The codes and the rotation are missing: the file ends right after the rows.
  NodeRecord r = NodeRecord::make({6, 7, 8}, {-999, -998, -997});
  r.dofCodes.clear();
  r.hasTransform = 1;
  OpenKernel file(modeltest::oneNode(r));
  const std::int64_t at = file.layout.nodeRecordOffsets[0];
  ASSERT_EQ(file.layout.fileSize, at + 8 + 4 * 3);
  TimeKernelNode node;
  file.kernel.seek(at);
  // Reading past the end would lengthen the file; make that impossible so that no view can be made there.
  Zarn::platform::calls().extendFile = [](Zarn::platform::FileHandle, std::int64_t) { return false; };
  Zarn::readNode(file.kernel, node);
  EXPECT_EQ(rowsOf(node), (std::vector<std::int32_t>{6, 7, 8}));
  // The codes array was made for the record but nothing could be read into it: it holds zeros.
  EXPECT_EQ(codesOf(node), (std::vector<std::int32_t>{0, 0, 0}));
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(file.kernel.tell(), at + 8 + 4 * 3);
}

// A file of one node whose record claims `count` rows and holds none: reading it fails and leaves no rows.
void expectReadOfCountFails(std::uint32_t count) {
  NodeRecord r;
  r.count = count;
  OpenKernel file(modeltest::oneNode(r));
  TimeKernelNode node;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  EXPECT_TRUE(raisesFailure([&] { Zarn::readNode(file.kernel, node); }));
  EXPECT_EQ(node.dofRows.size, 0);
}

TEST_F(NodeRecordTest, CountAboveInt32MaxFails) { expectReadOfCountFails(0x80000000u); }

TEST_F(NodeRecordTest, CountTooLargeToAllocateFails) {
  // 2^31 - 1 rows would take 8 GiB for the two arrays of a file of a few hundred bytes.
  expectReadOfCountFails(0x7FFFFFFFu);
}

TEST_F(NodeLifecycleTest, NewNodeIsEmptyWithoutRotation) {
  TimeKernelNode node;
  EXPECT_EQ(node.id, 0);
  EXPECT_EQ(node.dofRows.size, 0);
  EXPECT_EQ(node.dofRows.data, nullptr);
  EXPECT_EQ(node.dofCodes.size, 0);
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(node.transform.cols, 0);
  EXPECT_FALSE(node.transform.present());
}

TEST_F(NodeLifecycleTest, ClearFreesArraysAndDropsRotation) {
  OpenKernel file(modeltest::oneNode(NodeRecord::make({1, 2, 3}, {-999, -998, -997}, kMixed)));
  TimeKernelNode node;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);
  node.clear();
  EXPECT_EQ(node.dofRows.size, 0);
  EXPECT_EQ(node.dofRows.data, nullptr);
  EXPECT_EQ(node.dofCodes.size, 0);
  EXPECT_EQ(node.dofCodes.data, nullptr);
  EXPECT_EQ(node.transform.rows, 0);
  EXPECT_EQ(node.transform.cols, 0);
}

TEST_F(NodeLifecycleTest, DeepCloneCopiesEveryField) {
  OpenKernel file(modeltest::oneNode(NodeRecord::make({10, 11, 12, 13}, {-999, -998, -997, -1000}, kMixed)));
  TimeKernelNode node;
  node.id = 7;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);

  Zarn::counted_ptr<Zarn::Base> copy = node.clone(true);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.useCount(), 1u);
  EXPECT_STREQ(copy->className(), "TimeKernelNode");
  auto* c = dynamic_cast<TimeKernelNode*>(copy.get());
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->id, 7);
  EXPECT_EQ(rowsOf(*c), (std::vector<std::int32_t>{10, 11, 12, 13}));
  EXPECT_EQ(codesOf(*c), (std::vector<std::int32_t>{-999, -998, -997, -1000}));
  EXPECT_NE(c->dofRows.data, node.dofRows.data);  // its own storage
  EXPECT_EQ(c->transform.rows, 3);
  EXPECT_EQ(c->transform.cols, 3);
  for (int k = 0; k < 9; ++k) EXPECT_EQ(c->transform.values[k], kMixed[k]);

  // The copy outlives a clear of the original.
  node.clear();
  EXPECT_EQ(c->dofRows.size, 4);
  EXPECT_EQ(c->dofRows.data[3], 13);
}

TEST_F(NodeLifecycleTest, ShallowCloneIsAClearedNode) {
  OpenKernel file(modeltest::oneNode(NodeRecord::make({10, 11}, {-999, -998}, kMixed)));
  TimeKernelNode node;
  node.id = 7;
  file.kernel.seek(file.layout.nodeRecordOffsets[0]);
  Zarn::readNode(file.kernel, node);

  Zarn::counted_ptr<Zarn::Base> copy = node.clone(false);
  ASSERT_TRUE(copy);
  auto* c = dynamic_cast<TimeKernelNode*>(copy.get());
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->id, 0);
  EXPECT_EQ(c->dofRows.size, 0);
  EXPECT_EQ(c->dofCodes.size, 0);
  EXPECT_EQ(c->transform.rows, 0);
}

TEST_F(NodeLifecycleTest, PrintsClassNameAndId) {
  TimeKernelNode node;
  node.id = 7;
  std::ostringstream out;
  EXPECT_EQ(&node.print(out), &out);
  EXPECT_EQ(out.str(), "TimeKernelNode ID=7");
  node.id = -12;
  std::ostringstream negative;
  node.print(negative);
  EXPECT_EQ(negative.str(), "TimeKernelNode ID=-12");
}

// (t0 a + t1 b + t2 c, t3 a + t4 b + t5 c, t6 a + t7 b + t8 c), written out.
std::array<double, 3> turned(const std::array<double, 9>& t, double a, double b, double c) {
  return {t[0] * a + t[1] * b + t[2] * c, t[3] * a + t[4] * b + t[5] * c, t[6] * a + t[7] * b + t[8] * c};
}

// A node read from a file with the given codes (rows 0, 1, ...) and rotation.
struct NodeOnFile {
  NodeOnFile(std::vector<std::int32_t> codes, const std::array<double, 9>* rotation)
      : file(make(codes, rotation)) {
      file.kernel.seek(file.layout.nodeRecordOffsets[0]);
    Zarn::readNode(file.kernel, node);
  }
  static KernelFile make(const std::vector<std::int32_t>& codes, const std::array<double, 9>* rotation) {
    std::vector<std::uint32_t> rows;
    for (std::size_t k = 0; k < codes.size(); ++k) rows.push_back(static_cast<std::uint32_t>(k));
    return modeltest::oneNode(rotation ? NodeRecord::make(rows, codes, *rotation) : NodeRecord::make(rows, codes));
  }
  OpenKernel file;
  TimeKernelNode node;
};

// An owned rows x cols matrix holding `values` column by column.
void fill(Matrix& m, std::int32_t rows, std::int32_t cols, const std::vector<double>& values) {
  m.resize(rows, cols);
  for (std::int32_t j = 0; j < cols; ++j)
    for (std::int32_t i = 0; i < rows; ++i) m.at(i, j) = values[static_cast<std::size_t>(j * rows + i)];
}

TEST_F(NodeRotationTest, TurnsTranslationAndRotationTriplesAndSkipsTheRest) {
  // Entries: a translation triple, a -1000 entry, a rotation triple, and component 6 on its own.
  NodeOnFile n({-999, -998, -997, -1000, -996, -995, -994, -993}, &kMixed);
  Matrix target;
  const std::vector<double> before = modeltest::counting(16, 1.0);
  fill(target, 8, 2, before);
  n.node.rotateTriples(target);

  for (int j = 0; j < 2; ++j) {
    const double* x = &before[static_cast<std::size_t>(8 * j)];
    const std::array<double, 3> t = turned(kMixed, x[0], x[1], x[2]);
    const std::array<double, 3> r = turned(kMixed, x[4], x[5], x[6]);
    EXPECT_EQ(target.at(0, j), t[0]);
    EXPECT_EQ(target.at(1, j), t[1]);
    EXPECT_EQ(target.at(2, j), t[2]);
    EXPECT_EQ(target.at(3, j), x[3]);
    EXPECT_EQ(target.at(4, j), r[0]);
    EXPECT_EQ(target.at(5, j), r[1]);
    EXPECT_EQ(target.at(6, j), r[2]);
    EXPECT_EQ(target.at(7, j), x[7]);
  }
}

TEST_F(NodeRotationTest, OnlyMinus999AndMinus996OpenATriple) {
  // -998 opens nothing, so the walk steps on to -997 and then finds -996 at entry 2.
  NodeOnFile n({-998, -997, -996, -995, -994}, &kTurn);
  Matrix target;
  fill(target, 5, 1, {1, 2, 3, 4, 5});
  n.node.rotateTriples(target);
  const std::array<double, 3> r = turned(kTurn, 3, 4, 5);
  EXPECT_EQ(target.at(0, 0), 1.0);
  EXPECT_EQ(target.at(1, 0), 2.0);
  EXPECT_EQ(target.at(2, 0), r[0]);
  EXPECT_EQ(target.at(3, 0), r[1]);
  EXPECT_EQ(target.at(4, 0), r[2]);
}

TEST_F(NodeRotationTest, ColumnsAreFoundByTheStride) {
  NodeOnFile n({-999, -998, -997}, &kMixed);
  // Two columns of 3 values, 5 apart; the two values between them are not the node's.
  std::vector<double> storage = {1, 2, 3, 90, 91, 4, 5, 6};
  Matrix target = Matrix::view(3, 2, storage.data(), 5);
  n.node.rotateTriples(target);
  const std::array<double, 3> a = turned(kMixed, 1, 2, 3);
  const std::array<double, 3> b = turned(kMixed, 4, 5, 6);
  EXPECT_EQ(storage, (std::vector<double>{a[0], a[1], a[2], 90, 91, b[0], b[1], b[2]}));
}

TEST_F(NodeRotationTest, WithoutTransformNothingChanges) {
  NodeOnFile n({-999, -998, -997}, nullptr);
  Matrix target;
  fill(target, 3, 2, {1, 2, 3, 4, 5, 6});
  n.node.rotateTriples(target);
  for (int k = 0; k < 6; ++k) EXPECT_EQ(target.data[k], k + 1.0);
}

TEST_F(NodeRotationTest, TripleAtTheLastButOneEntryFailsBeforeAnyChange) {
  // The first triple is sound; the second starts at the last but one entry.
  NodeOnFile n({-999, -998, -997, -1000, -996, -995}, &kMixed);
  Matrix target;
  fill(target, 6, 1, {1, 2, 3, 4, 5, 6});
  EXPECT_TRUE(raisesFailure([&] { n.node.rotateTriples(target); }));
  for (int k = 0; k < 6; ++k) EXPECT_EQ(target.data[k], k + 1.0);
}

TEST_F(NodeRotationTest, TripleAtTheLastEntryFails) {
  NodeOnFile n({-1000, -1000, -999}, &kMixed);
  Matrix target;
  fill(target, 3, 1, {1, 2, 3});
  EXPECT_TRUE(raisesFailure([&] { n.node.rotateTriples(target); }));
  EXPECT_EQ(target.data[2], 3.0);
}

TEST_F(NodeRotationTest, TargetShorterThanATripleFails) {
  NodeOnFile n({-1000, -999, -998, -997}, &kMixed);
  Matrix target;
  fill(target, 3, 2, {1, 2, 3, 4, 5, 6});  // the triple needs rows 1 to 3
  EXPECT_TRUE(raisesFailure([&] { n.node.rotateTriples(target); }));
  for (int k = 0; k < 6; ++k) EXPECT_EQ(target.data[k], k + 1.0);
}

TEST_F(NodeRotationTest, TargetWithoutColumnsIsLeftAlone) {
  NodeOnFile n({-999, -998, -997}, &kMixed);
  Matrix target;
  target.resize(0, 0);
  n.node.rotateTriples(target);
  EXPECT_EQ(target.rows, 0);
}

}  // namespace
