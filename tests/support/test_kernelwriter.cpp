// The kernel-file writer against hand-decoded bytes: every expected offset and value below is worked out from
// the format by hand (the arithmetic is in the comments), and the bytes are read back with memcpy.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "kernelwriter/KernelWriter.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Layout;
using kernelwriter::NodeRecord;
using kernelwriter::Table;
using Bytes = std::vector<uint8_t>;

// Reads a value of type T at byte `at`; a read past the end fails the test and gives 0.
template <typename T>
T at(const Bytes& b, int64_t offset) {
  if (offset < 0 || uint64_t(offset) + sizeof(T) > b.size()) {
    ADD_FAILURE() << "read of " << sizeof(T) << " bytes at " << offset << " past a file of " << b.size();
    return T();
  }
  T v;
  std::memcpy(&v, b.data() + offset, sizeof(T));
  return v;
}
int32_t i32(const Bytes& b, int64_t o) { return at<int32_t>(b, o); }
uint32_t u32(const Bytes& b, int64_t o) { return at<uint32_t>(b, o); }
int64_t i64(const Bytes& b, int64_t o) { return at<int64_t>(b, o); }
double f64(const Bytes& b, int64_t o) { return at<double>(b, o); }

// Table entry of a section in the file header.
int64_t tableEntry(const Bytes& b, int section) { return i64(b, 4 + 8 * int64_t(section)); }

// Walks a record field by field.
struct Cursor {
  const Bytes& b;
  int64_t pos;
  int32_t i32() { return ::i32(b, advance(4)); }
  uint32_t u32() { return ::u32(b, advance(4)); }
  double f64() { return ::f64(b, advance(8)); }
  int64_t advance(int64_t n) {
    pos += n;
    return pos - n;
  }
  // Expects a table of the given shape holding exactly `values`.
  void expectTable(uint32_t rows, uint32_t cols, const std::vector<double>& values, const char* name) {
    SCOPED_TRACE(name);
    EXPECT_EQ(u32(), rows);
    EXPECT_EQ(u32(), cols);
    for (double v : values) EXPECT_EQ(f64(), v);
  }
};

Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string tempPath(const char* stem) {
  return ::testing::TempDir() + "kernelwriter_" + stem + "_" +
         ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".bin";
}

// values[j * rows + i] = first + j * rows + i, i.e. the entries in storage order counted up from `first`.
std::vector<double> counting(uint32_t rows, uint32_t cols, double first) {
  std::vector<double> v;
  for (uint32_t k = 0; k < rows * cols; ++k) v.push_back(first + k);
  return v;
}

TEST(KernelWriter, EmptyFileIsTheHeaderWithEveryPositionAbsent) {
  KernelFile f;
  Layout layout;
  const Bytes b = f.bytes(&layout);
  ASSERT_EQ(b.size(), 220u);  // 4 + 27 * 8
  EXPECT_EQ(layout.fileSize, 220);
  // 100 = 0x64, least significant byte first.
  EXPECT_EQ(b[0], 0x64);
  EXPECT_EQ(b[1], 0);
  EXPECT_EQ(b[2], 0);
  EXPECT_EQ(b[3], 0);
  // -1 in 64 bits is all ones.
  for (size_t k = 4; k < 220; ++k) EXPECT_EQ(b[k], 0xFF) << "byte " << k;
  for (int s = 0; s < 27; ++s) EXPECT_EQ(layout.sectionPositions[s], -1) << "section " << s;
  EXPECT_TRUE(layout.nodeRecordOffsets.empty());
  EXPECT_TRUE(layout.elementRecordOffsets.empty());

  f.formatNumber = 99;
  EXPECT_EQ(i32(f.bytes(), 0), 99);
}

TEST(KernelWriter, SectionTableHoldsPositionsAbsencesAndOverrides) {
  KernelFile f;
  f.setMatrix(21, 2, 3, counting(2, 3, 1.0));  // 12 + 6 * 8 = 60 bytes
  f.setMatrix(4, 1, 3, counting(1, 3, 0.5));   // 12 + 3 * 8 = 36 bytes
  f.setMatrix(22, 2, 3, counting(2, 3, 9.0));
  f.removeSection(22);
  f.setPositionOverride(5, 12345);  // absent, yet the table says otherwise
  f.setPositionOverride(4, -7);     // present, and the table lies about it

  Layout layout;
  const Bytes b = f.bytes(&layout);
  // Ascending order: section 4 at 220, section 21 at 220 + 36 = 256, end at 256 + 60 = 316.
  ASSERT_EQ(b.size(), 316u);
  EXPECT_EQ(layout.fileSize, 316);
  EXPECT_EQ(layout.sectionPositions[4], 220);
  EXPECT_EQ(layout.sectionPositions[21], 256);
  EXPECT_EQ(layout.sectionPositions[22], -1);
  EXPECT_EQ(layout.sectionPositions[5], -1);

  EXPECT_EQ(tableEntry(b, 4), -7);
  EXPECT_EQ(tableEntry(b, 5), 12345);
  EXPECT_EQ(tableEntry(b, 21), 256);
  EXPECT_EQ(tableEntry(b, 22), -1);
  for (int s = 0; s < 27; ++s) {
    if (s != 4 && s != 5 && s != 21) {
      EXPECT_EQ(tableEntry(b, s), -1) << "section " << s;
    }
  }
  // The overridden section's own bytes still stand where the layout says.
  EXPECT_EQ(i32(b, 220), 4);
  EXPECT_EQ(f64(b, 232), 0.5);
}

TEST(KernelWriter, MatrixSectionIsHeaderThenColumnMajorPayload) {
  const int32_t a = 3, b = 2;
  std::vector<double> values;  // entry (i, j) = 10 j + i + 0.5, column by column
  for (int j = 0; j < b; ++j)
    for (int i = 0; i < a; ++i) values.push_back(10.0 * j + i + 0.5);

  KernelFile f;
  f.setMatrix(21, a, b, values);
  f.setMatrix(1, 9, 0, std::vector<double>{});  // an empty section is its header alone
  Layout layout;
  const Bytes bytes = f.bytes(&layout);
  // Section 1 at 220 (12 bytes), section 21 at 232 (12 + 48 bytes), end at 292.
  ASSERT_EQ(bytes.size(), 292u);
  EXPECT_EQ(tableEntry(bytes, 1), 220);
  EXPECT_EQ(i32(bytes, 220), 1);
  EXPECT_EQ(i32(bytes, 224), 9);
  EXPECT_EQ(i32(bytes, 228), 0);

  const int64_t p = 232;
  EXPECT_EQ(tableEntry(bytes, 21), p);
  EXPECT_EQ(layout.sectionPositions[21], p);
  // 21 = 0x15, least significant byte first.
  EXPECT_EQ(bytes[p], 0x15);
  EXPECT_EQ(bytes[p + 1], 0);
  EXPECT_EQ(i32(bytes, p + 4), 3);
  EXPECT_EQ(i32(bytes, p + 8), 2);
  for (int j = 0; j < b; ++j)
    for (int i = 0; i < a; ++i) EXPECT_EQ(f64(bytes, p + 12 + (j * a + i) * 8), 10.0 * j + i + 0.5);
  // Entry (0, 0) is 0.5 = 0x3FE0000000000000: six zero bytes, then E0 3F.
  for (int k = 0; k < 6; ++k) EXPECT_EQ(bytes[p + 12 + k], 0);
  EXPECT_EQ(bytes[p + 18], 0xE0);
  EXPECT_EQ(bytes[p + 19], 0x3F);
}

TEST(KernelWriter, DirectoriesListIdsThenRecordOffsets) {
  KernelFile f;
  f.setMatrix(21, 1, 1, {7.0});
  f.addNode(11, NodeRecord::make({0}, {-999}));                 // 8 + 8 * 1 = 16 bytes
  f.addNodeDirectoryEntry(99, 5000);                            // raw, no record
  f.addNode(12, NodeRecord::make({1, 2}, {-998, -997}));        // 8 + 8 * 2 = 24 bytes
  f.addElement(501, ElementRecord::make(582, {0, 1}));          // 4 + 4 + 8 + 10 empty tables * 8 + 4 = 100

  Layout layout;
  const Bytes b = f.bytes(&layout);
  // Section 2 at 220: 12 + 3 * 12 = 48 bytes. Section 3 at 268: 12 + 12 = 24. Section 21 at 292: 12 + 8 = 20.
  // Records from 312: node 11 (16), node 12 at 328 (24), element 501 at 352 (100), end at 452.
  ASSERT_EQ(b.size(), 452u);
  EXPECT_EQ(tableEntry(b, 2), 220);
  EXPECT_EQ(tableEntry(b, 3), 268);
  EXPECT_EQ(tableEntry(b, 21), 292);
  EXPECT_EQ(layout.nodeRecordOffsets, (std::vector<int64_t>{312, 328}));
  EXPECT_EQ(layout.elementRecordOffsets, (std::vector<int64_t>{352}));

  // Node directory: (2, 3, 3), ids 11 99 12, offsets 312 5000 328.
  EXPECT_EQ(i32(b, 220), 2);
  EXPECT_EQ(i32(b, 224), 3);
  EXPECT_EQ(i32(b, 228), 3);
  EXPECT_EQ(i32(b, 232), 11);
  EXPECT_EQ(i32(b, 236), 99);
  EXPECT_EQ(i32(b, 240), 12);
  EXPECT_EQ(i64(b, 244), 312);
  EXPECT_EQ(i64(b, 252), 5000);
  EXPECT_EQ(i64(b, 260), 328);

  // Element directory: (3, 1, 1), id 501, offset 352.
  EXPECT_EQ(i32(b, 268), 3);
  EXPECT_EQ(i32(b, 272), 1);
  EXPECT_EQ(i32(b, 276), 1);
  EXPECT_EQ(i32(b, 280), 501);
  EXPECT_EQ(i64(b, 284), 352);

  // The records start where the directories point.
  EXPECT_EQ(u32(b, 312), 1u);
  EXPECT_EQ(u32(b, 328), 2u);
  EXPECT_EQ(i32(b, 352), 582);
}

TEST(KernelWriter, DirectoryPresenceFollowsEntriesUnlessSet) {
  {
    KernelFile f;
    f.setDirectoryPresent(2, true);  // present with no entries: header (2, 0, 0) and nothing after it
    const Bytes b = f.bytes();
    ASSERT_EQ(b.size(), 232u);
    EXPECT_EQ(tableEntry(b, 2), 220);
    EXPECT_EQ(tableEntry(b, 3), -1);
    EXPECT_EQ(i32(b, 220), 2);
    EXPECT_EQ(i32(b, 224), 0);
    EXPECT_EQ(i32(b, 228), 0);
  }
  for (bool useRemove : {false, true}) {
    SCOPED_TRACE(useRemove ? "removeSection" : "setDirectoryPresent");
    KernelFile f;
    f.addElement(7, ElementRecord::make(580, {}));  // 4 + 4 + 10 * 8 + 4 = 92 bytes
    if (useRemove)
      f.removeSection(3);
    else
      f.setDirectoryPresent(3, false);
    Layout layout;
    const Bytes b = f.bytes(&layout);
    // No directory, yet the record is written right after the header.
    ASSERT_EQ(b.size(), 312u);
    EXPECT_EQ(tableEntry(b, 3), -1);
    EXPECT_EQ(layout.elementRecordOffsets, (std::vector<int64_t>{220}));
    EXPECT_EQ(i32(b, 220), 580);
  }
}

TEST(KernelWriter, NodeRecordWithoutRotationTakesEightPlusEightN) {
  KernelFile f;
  f.setDirectoryPresent(2, false);
  f.addNode(1, NodeRecord::make({4, 5, 6}, {-999, -998, -1000}));
  Layout layout;
  const Bytes b = f.bytes(&layout);
  ASSERT_EQ(layout.nodeRecordOffsets.size(), 1u);
  const int64_t p = layout.nodeRecordOffsets[0];
  EXPECT_EQ(p, 220);
  EXPECT_EQ(b.size(), 220u + 8 + 8 * 3);
  EXPECT_EQ(u32(b, p), 3u);
  EXPECT_EQ(u32(b, p + 4), 0u);
  EXPECT_EQ(u32(b, p + 8), 4u);
  EXPECT_EQ(u32(b, p + 12), 5u);
  EXPECT_EQ(u32(b, p + 16), 6u);
  EXPECT_EQ(i32(b, p + 20), -999);
  EXPECT_EQ(i32(b, p + 24), -998);
  EXPECT_EQ(i32(b, p + 28), -1000);
}

TEST(KernelWriter, NodeRecordWithRotationAddsSeventyTwoBytes) {
  const std::array<double, 9> t = {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9};
  KernelFile f;
  f.setDirectoryPresent(2, false);
  f.addNode(1, NodeRecord::make({10, 11}, {-996, -995}, t));
  const Bytes b = f.bytes();
  const int64_t p = 220;
  EXPECT_EQ(b.size(), 220u + 8 + 8 * 2 + 72);
  EXPECT_EQ(u32(b, p), 2u);
  EXPECT_EQ(u32(b, p + 4), 1u);
  EXPECT_EQ(u32(b, p + 8), 10u);
  EXPECT_EQ(u32(b, p + 12), 11u);
  EXPECT_EQ(i32(b, p + 16), -996);
  EXPECT_EQ(i32(b, p + 20), -995);
  for (int k = 0; k < 9; ++k) EXPECT_EQ(f64(b, p + 24 + 8 * k), t[k]) << "entry " << k;
}

TEST(KernelWriter, NodeRecordFieldsAreWrittenLiterally) {
  NodeRecord r;
  r.count = 5;         // disagrees with the single row
  r.hasTransform = 2;  // claims a rotation that is not there
  r.dofRows = {1};
  EXPECT_EQ(r.byteSize(), 12);
  KernelFile f;
  f.setDirectoryPresent(2, false);
  f.addNode(1, r);
  const Bytes b = f.bytes();
  ASSERT_EQ(b.size(), 232u);
  EXPECT_EQ(u32(b, 220), 5u);
  EXPECT_EQ(u32(b, 224), 2u);
  EXPECT_EQ(u32(b, 228), 1u);
}

TEST(KernelWriter, ElementRecordWritesEveryTableInFileOrder) {
  ElementRecord r = ElementRecord::make(645, {7, 8, 9});
  r.forceRotation = Table::matrix(3, 3, counting(3, 3, 100));
  r.stressRotation = Table::matrix(3, 3, counting(3, 3, 200));
  r.forceOffset = Table::matrix(2, 1, counting(2, 1, 300));
  r.stressOffset = Table::matrix(6, 2, counting(6, 2, 400));
  r.setReference({0.25, -0.5, 0.75});
  r.forceLoad = Table::matrix(2, 2, counting(2, 2, 500));
  r.stressLoad = Table::matrix(1, 2, counting(1, 2, 600));
  r.forceRecovery = Table::matrix(2, 3, counting(2, 3, 700));
  r.stressRecovery = Table::matrix(4, 3, counting(4, 3, 800));
  r.velocityForce = Table::matrix(2, 3, counting(2, 3, 900));
  r.tenth = Table::matrix(1, 4, counting(1, 4, 1000));
  // 4 + 4 + 3 * 4 for code, count and rows; 4 + 3 * 8 for the reference; each table 8 + 8 * rows * cols with
  // 9 + 9 + 2 + 12 + 4 + 2 + 6 + 12 + 6 + 4 = 66 values over 10 tables.
  const int64_t expectedSize = 20 + 28 + 10 * 8 + 66 * 8;
  EXPECT_EQ(r.byteSize(), expectedSize);

  KernelFile f;
  f.setDirectoryPresent(3, false);
  f.addElement(1, r);
  const Bytes b = f.bytes();
  ASSERT_EQ(int64_t(b.size()), 220 + expectedSize);

  Cursor c{b, 220};
  EXPECT_EQ(c.i32(), 645);
  EXPECT_EQ(c.u32(), 3u);
  EXPECT_EQ(c.u32(), 7u);
  EXPECT_EQ(c.u32(), 8u);
  EXPECT_EQ(c.u32(), 9u);
  c.expectTable(3, 3, counting(3, 3, 100), "forceRotation");
  c.expectTable(3, 3, counting(3, 3, 200), "stressRotation");
  c.expectTable(2, 1, counting(2, 1, 300), "forceOffset");
  c.expectTable(6, 2, counting(6, 2, 400), "stressOffset");
  EXPECT_EQ(c.u32(), 3u);
  EXPECT_EQ(c.f64(), 0.25);
  EXPECT_EQ(c.f64(), -0.5);
  EXPECT_EQ(c.f64(), 0.75);
  c.expectTable(2, 2, counting(2, 2, 500), "forceLoad");
  c.expectTable(1, 2, counting(1, 2, 600), "stressLoad");
  c.expectTable(2, 3, counting(2, 3, 700), "forceRecovery");
  c.expectTable(4, 3, counting(4, 3, 800), "stressRecovery");
  c.expectTable(2, 3, counting(2, 3, 900), "velocityForce");
  c.expectTable(1, 4, counting(1, 4, 1000), "tenth");
  EXPECT_EQ(c.pos, int64_t(b.size()));
}

TEST(KernelWriter, ElementRecordFieldsAreWrittenLiterally) {
  ElementRecord r;
  r.typeCode = 581;
  r.dofCount = 5;                    // one row follows, not five
  r.dofRows = {4};
  r.forceRotation.rows = 3;          // a 3 x 3 table holding one value
  r.forceRotation.cols = 3;
  r.forceRotation.values = {2.5};
  r.referenceCount = 4;              // no values follow
  KernelFile f;
  f.setDirectoryPresent(3, false);
  f.addElement(1, r);
  const Bytes b = f.bytes();
  // 4 + 4 + 4, the table 8 + 8, three empty tables 24, the count 4, six empty tables 48.
  ASSERT_EQ(b.size(), 220u + 12 + 16 + 24 + 4 + 48);
  Cursor c{b, 220};
  EXPECT_EQ(c.i32(), 581);
  EXPECT_EQ(c.u32(), 5u);
  EXPECT_EQ(c.u32(), 4u);
  c.expectTable(3, 3, {2.5}, "short forceRotation");
  for (int k = 0; k < 3; ++k) c.expectTable(0, 0, {}, "empty table");
  EXPECT_EQ(c.u32(), 4u);
  for (int k = 0; k < 6; ++k) c.expectTable(0, 0, {}, "empty table");
  EXPECT_EQ(c.pos, int64_t(b.size()));
}

TEST(KernelWriter, SectionHeaderOverrideChangesOnlyTheHeader) {
  KernelFile f;
  f.setMatrix(21, 2, 2, {1, 2, 3, 4});
  f.setSectionHeaderOverride(21, 22, 5, 7);
  f.addElementDirectoryEntry(40, 999);
  f.setSectionHeaderOverride(3, 3, 1000, 0);
  f.setSectionHeaderOverride(9, 9, 1, 1);  // absent section: nothing is written for it
  const Bytes b = f.bytes();
  // Section 3 at 220: 12 + 12 = 24. Section 21 at 244: 12 + 32 = 44. End at 288.
  ASSERT_EQ(b.size(), 288u);
  EXPECT_EQ(tableEntry(b, 9), -1);
  EXPECT_EQ(i32(b, 220), 3);
  EXPECT_EQ(i32(b, 224), 1000);
  EXPECT_EQ(i32(b, 228), 0);
  EXPECT_EQ(i32(b, 232), 40);
  EXPECT_EQ(i64(b, 236), 999);
  EXPECT_EQ(tableEntry(b, 21), 244);
  EXPECT_EQ(i32(b, 244), 22);
  EXPECT_EQ(i32(b, 248), 5);
  EXPECT_EQ(i32(b, 252), 7);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(f64(b, 256 + 8 * k), k + 1.0);
}

// A small file with matrices, both directories and records; used by the order and the round-trip tests.
KernelFile sampleFile() {
  KernelFile f;
  f.setMatrix(0, 2, 1, {0.5, 1.5});                            // 12 + 16 = 28 bytes
  f.setMatrix(4, 1, 2, {2.0, 3.0});                            // 28 bytes
  f.setMatrix(21, 2, 2, {4.0, 5.0, 6.0, 7.0});                 // 12 + 32 = 44 bytes
  f.addNode(3, NodeRecord::make({0, 1}, {-999, -998}));        // directory 2: 12 + 12 = 24 bytes
  f.addElement(8, ElementRecord::make(582, {1}));              // directory 3: 24 bytes
  return f;
}

TEST(KernelWriter, PhysicalOrderMovesSectionsButNotTheirContents) {
  const KernelFile ascending = sampleFile();
  KernelFile reordered = sampleFile();
  reordered.setPhysicalOrder({21, 3, 0, 9});  // 9 is absent and skipped; 2 and 4 follow in ascending order

  Layout la, lr;
  const Bytes a = ascending.bytes(&la);
  const Bytes r = reordered.bytes(&lr);
  ASSERT_EQ(a.size(), r.size());

  // Ascending: 0 at 220, 2 at 248, 3 at 272, 4 at 296, 21 at 324, records from 368.
  EXPECT_EQ(la.sectionPositions[0], 220);
  EXPECT_EQ(la.sectionPositions[2], 248);
  EXPECT_EQ(la.sectionPositions[3], 272);
  EXPECT_EQ(la.sectionPositions[4], 296);
  EXPECT_EQ(la.sectionPositions[21], 324);
  // Reordered: 21 at 220, 3 at 264, 0 at 288, 2 at 316, 4 at 340, records from 368.
  EXPECT_EQ(lr.sectionPositions[21], 220);
  EXPECT_EQ(lr.sectionPositions[3], 264);
  EXPECT_EQ(lr.sectionPositions[0], 288);
  EXPECT_EQ(lr.sectionPositions[2], 316);
  EXPECT_EQ(lr.sectionPositions[4], 340);
  EXPECT_EQ(la.nodeRecordOffsets, (std::vector<int64_t>{368}));
  EXPECT_EQ(lr.nodeRecordOffsets, (std::vector<int64_t>{368}));

  const std::vector<std::pair<int, int64_t>> sizes = {{0, 28}, {2, 24}, {3, 24}, {4, 28}, {21, 44}};
  for (const auto& [s, size] : sizes) {
    SCOPED_TRACE(s);
    EXPECT_EQ(tableEntry(a, s), la.sectionPositions[s]);
    EXPECT_EQ(tableEntry(r, s), lr.sectionPositions[s]);
    const auto fromA = a.begin() + la.sectionPositions[s];
    const auto fromR = r.begin() + lr.sectionPositions[s];
    EXPECT_TRUE(std::equal(fromA, fromA + size, fromR));
  }
  EXPECT_TRUE(std::equal(a.begin() + 368, a.end(), r.begin() + 368));
}

TEST(KernelWriter, RecordsCanPrecedeTheSections) {
  KernelFile f = sampleFile();
  f.recordsBeforeSections = true;
  Layout first;
  f.bytes(&first);
  // Node record at 220 (8 + 16 = 24 bytes), element record at 244.
  EXPECT_EQ(first.nodeRecordOffsets, (std::vector<int64_t>{220}));
  EXPECT_EQ(first.elementRecordOffsets, (std::vector<int64_t>{244}));
  // Element 582 with one row and empty tables: 4 + 4 + 4 + 80 + 4 = 96 bytes, so section 0 starts at 340.
  EXPECT_EQ(first.sectionPositions[0], 340);

  // A second id for the same record: growing the directory does not move the records.
  f.addElementDirectoryEntry(9, first.elementRecordOffsets[0]);
  Layout second;
  const Bytes b = f.bytes(&second);
  EXPECT_EQ(second.elementRecordOffsets, first.elementRecordOffsets);
  const int64_t dir = second.sectionPositions[3];
  EXPECT_EQ(i32(b, dir + 4), 2);
  EXPECT_EQ(i32(b, dir + 12), 8);
  EXPECT_EQ(i32(b, dir + 16), 9);
  EXPECT_EQ(i64(b, dir + 20), 244);
  EXPECT_EQ(i64(b, dir + 28), 244);
  EXPECT_EQ(i32(b, 244), 582);
}

TEST(KernelWriter, WriteAndBytesGiveTheSameFile) {
  // 300 x 500 doubles = 1,200,000 bytes: more than one 1 MiB chunk, so the chunk boundary is crossed.
  KernelFile f = sampleFile();
  f.setMatrix(21, 300, 500, [](int64_t row, int64_t col) { return double(row) - 0.001 * double(col); });
  f.setPositionOverride(7, 42);
  f.setSectionHeaderOverride(4, 4, 9, 9);
  const std::string path = tempPath("roundtrip");

  const Layout written = f.write(path);
  const Bytes onDisk = readFile(path);
  std::remove(path.c_str());
  Layout inMemory;
  const Bytes b = f.bytes(&inMemory);

  ASSERT_EQ(onDisk.size(), b.size());
  EXPECT_TRUE(onDisk == b);
  EXPECT_EQ(written.fileSize, int64_t(b.size()));
  EXPECT_EQ(written.sectionPositions, inMemory.sectionPositions);
  EXPECT_EQ(written.nodeRecordOffsets, inMemory.nodeRecordOffsets);
  EXPECT_EQ(written.elementRecordOffsets, inMemory.elementRecordOffsets);
  // Entry (299, 499) is the last value of section 21.
  const int64_t last = written.sectionPositions[21] + 12 + (499 * 300 + 299) * 8;
  EXPECT_EQ(f64(onDisk, last), 299.0 - 0.001 * 499.0);
}

TEST(KernelWriter, GeneratorFormEqualsVectorForm) {
  const int32_t a = 4, b = 3;
  std::vector<double> values;
  std::vector<std::pair<int64_t, int64_t>> expectedCalls;
  for (int64_t col = 0; col < b; ++col)
    for (int64_t row = 0; row < a; ++row) {
      values.push_back(0.25 * double(row) + 100.0 * double(col));
      expectedCalls.emplace_back(row, col);
    }

  KernelFile fromVector;
  fromVector.setMatrix(15, a, b, values);
  KernelFile fromGenerator;
  std::vector<std::pair<int64_t, int64_t>> calls;
  fromGenerator.setMatrix(15, a, b, [&calls](int64_t row, int64_t col) {
    calls.emplace_back(row, col);
    return 0.25 * double(row) + 100.0 * double(col);
  });

  EXPECT_EQ(fromGenerator.bytes(), fromVector.bytes());
  EXPECT_EQ(calls, expectedCalls);  // column by column, row fastest, once each
}

TEST(KernelWriter, RejectsMisuse) {
  KernelFile f;
  EXPECT_THROW(f.setMatrix(21, 2, 2, {1.0, 2.0, 3.0}), std::invalid_argument);
  EXPECT_THROW(f.setMatrix(2, 1, 1, {1.0}), std::invalid_argument);
  EXPECT_THROW(f.setMatrix(3, 1, 1, {1.0}), std::invalid_argument);
  EXPECT_THROW(f.setMatrix(27, 1, 1, {1.0}), std::out_of_range);
  EXPECT_THROW(f.setMatrix(-1, 1, 1, {1.0}), std::out_of_range);
  EXPECT_THROW(f.setMatrix(21, -1, 0, std::vector<double>{}), std::invalid_argument);
  EXPECT_THROW(f.setDirectoryPresent(4, true), std::invalid_argument);
  EXPECT_THROW(f.setPhysicalOrder({21, 4, 21}), std::invalid_argument);
  EXPECT_THROW(f.setPhysicalOrder({27}), std::out_of_range);
  EXPECT_THROW(Table::matrix(2, 2, {1.0}), std::invalid_argument);
  EXPECT_THROW(NodeRecord::make({1, 2}, {-999}), std::invalid_argument);
  EXPECT_THROW(f.write(tempPath("missing") + "/no/such/dir/file.bin"), std::runtime_error);
  // A rejected call leaves the file as it was: still only the header.
  EXPECT_EQ(f.bytes().size(), 220u);
}

TEST(KernelWriter, PatchHelpersStoreLittleEndianInPlace) {
  Bytes b(16, 0);
  kernelwriter::putI32(b, 1, -2);  // FE FF FF FF
  EXPECT_EQ(b[0], 0x00);
  EXPECT_EQ(b[1], 0xFE);
  EXPECT_EQ(b[2], 0xFF);
  EXPECT_EQ(b[3], 0xFF);
  EXPECT_EQ(b[4], 0xFF);
  EXPECT_EQ(b[5], 0x00);
  kernelwriter::putI64(b, 8, 0x0102030405060708);
  for (int k = 0; k < 8; ++k) EXPECT_EQ(b[8 + k], 8 - k);
  kernelwriter::putF64(b, 0, 1.0);  // 0x3FF0000000000000
  for (int k = 0; k < 6; ++k) EXPECT_EQ(b[k], 0);
  EXPECT_EQ(b[6], 0xF0);
  EXPECT_EQ(b[7], 0x3F);
  kernelwriter::putU32(b, 12, 0xA1B2C3D4u);
  EXPECT_EQ(b[12], 0xD4);
  EXPECT_EQ(b[15], 0xA1);

  EXPECT_THROW(kernelwriter::putI32(b, 13, 0), std::out_of_range);
  EXPECT_THROW(kernelwriter::putI64(b, 9, 0), std::out_of_range);
  EXPECT_THROW(kernelwriter::putF64(b, -1, 0.0), std::out_of_range);
  EXPECT_EQ(b.size(), 16u);

  const std::string path = tempPath("patch");
  kernelwriter::writeBytes(path, b);
  const Bytes back = readFile(path);
  std::remove(path.c_str());
  EXPECT_EQ(back, b);
}

}  // namespace
