// Turning element results into the output frame: each class's rotation against plain matrix products written
// out here, with the rotation tables read from files built with the writer.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "model/ElementFamily.h"
#include "evaluate/ElementReader.h"
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

class ElementRotationTest : public testsupport::PlatformTest {};

using Column = std::vector<double>;

// A table of the given shape with the values first, first + 1, ... (integers, so every product below is exact).
Table counted(std::uint32_t rows, std::uint32_t cols, double first) {
  return Table::matrix(rows, cols, counting(std::int64_t(rows) * cols, first));
}

// y = B x, with B the n by n block of `t` whose top-left entry is (r0, c0); entry (r, c) of t is
// t.values[c * t.rows + r].
Column product(const Table& t, std::uint32_t r0, std::uint32_t c0, std::uint32_t n, const Column& x) {
  Column y(n, 0.0);
  for (std::uint32_t r = 0; r < n; ++r)
    for (std::uint32_t c = 0; c < n; ++c) y[r] += t.values[(c0 + c) * t.rows + (r0 + r)] * x[c];
  return y;
}

// Entries [from, from + n) of a column.
Column part(const Column& x, std::size_t from, std::size_t n) {
  return Column(x.begin() + static_cast<std::ptrdiff_t>(from),
                x.begin() + static_cast<std::ptrdiff_t>(from + n));
}

// Puts `y` at entries [from, ...) of `x`.
void place(Column& x, std::size_t from, const Column& y) {
  for (std::size_t k = 0; k < y.size(); ++k) x[from + k] = y[k];
}

// The prototype of `code` after reading a record with the two rotation tables.
struct ElementOnFile {
  ElementOnFile(std::int32_t code, const Table& forceRotation, const Table& stressRotation)
      : file(make(code, forceRotation, stressRotation)) {
    file.kernel.seek(file.layout.elementRecordOffsets[0]);
    element = Zarn::readElementRecord(file.request);
  }
  static KernelFile make(std::int32_t code, const Table& forceRotation, const Table& stressRotation) {
    ElementRecord r = ElementRecord::make(code, {0, 1, 2});
    r.forceRotation = forceRotation;
    r.stressRotation = stressRotation;
    return modeltest::oneElement(r);
  }
  OpenKernel file;
  Zarn::counted_ptr<TimeKernelElement> element;
};

// A result with `rows` values a column, the columns given one after another.
struct Result {
  Result(std::int32_t rows, const std::vector<Column>& columns) {
    m.resize(rows, static_cast<std::int32_t>(columns.size()));
    for (std::size_t j = 0; j < columns.size(); ++j)
      for (std::int32_t i = 0; i < rows; ++i) m.at(i, static_cast<std::int32_t>(j)) = columns[j][i];
  }
  Column column(std::int32_t j) const {
    Column c;
    for (std::int32_t i = 0; i < m.rows; ++i) c.push_back(m.at(i, j));
    return c;
  }
  Matrix m;
};

const Table kEmpty;

TEST_F(ElementRotationTest, PlaneStressTurnsTheFirstTripleOfForceAndOfStress) {
  const Table force = counted(3, 3, 1);
  const Table stress = counted(4, 4, 20);  // only its top-left 3 by 3 counts
  ElementOnFile e(642, force, stress);
  ASSERT_TRUE(e.element);
  const Column a = counting(5, 1), b = counting(5, -7);

  Result f(5, {a, b});
  e.element->rotateForce(f.m);
  for (int j = 0; j < 2; ++j) {
    Column expected = j == 0 ? a : b;
    place(expected, 0, product(force, 0, 0, 3, part(expected, 0, 3)));
    EXPECT_EQ(f.column(j), expected) << "column " << j;
  }

  Result s(5, {a, b});
  e.element->rotateStress(s.m);
  for (int j = 0; j < 2; ++j) {
    Column expected = j == 0 ? a : b;
    place(expected, 0, product(stress, 0, 0, 3, part(expected, 0, 3)));
    EXPECT_EQ(s.column(j), expected) << "column " << j;
  }
}

TEST_F(ElementRotationTest, PlaneStrainKeepsTheFourthStressValue) {
  const Table force = counted(3, 3, 5);
  const Table stress = counted(3, 3, -4);
  ElementOnFile e(643, force, stress);
  ASSERT_TRUE(e.element);
  const Column a = {2, -3, 5, 11};

  Result s(4, {a, a, a});
  e.element->rotateStress(s.m);
  Column expected = a;
  place(expected, 0, product(stress, 0, 0, 3, part(a, 0, 3)));
  ASSERT_EQ(expected[3], 11.0);
  for (int j = 0; j < 3; ++j) EXPECT_EQ(s.column(j), expected);

  Result f(3, {a});  // the first three values of a
  e.element->rotateForce(f.m);
  EXPECT_EQ(f.column(0), product(force, 0, 0, 3, part(a, 0, 3)));
}

TEST_F(ElementRotationTest, SolidTurnsItsForceTripleAndAllSixStressValues) {
  const Table force = counted(3, 3, 2);
  const Table stress = counted(7, 7, -20);  // its top-left 6 by 6, with a column distance of 7
  ElementOnFile e(768, force, stress);
  ASSERT_TRUE(e.element);
  const Column a = counting(6, 1), b = {3, 0, -1, 4, 1, -5};

  Result s(6, {a, b});
  e.element->rotateStress(s.m);
  EXPECT_EQ(s.column(0), product(stress, 0, 0, 6, a));
  EXPECT_EQ(s.column(1), product(stress, 0, 0, 6, b));

  Result f(3, {part(a, 0, 3), part(b, 0, 3)});
  e.element->rotateForce(f.m);
  EXPECT_EQ(f.column(0), product(force, 0, 0, 3, part(a, 0, 3)));
  EXPECT_EQ(f.column(1), product(force, 0, 0, 3, part(b, 0, 3)));
}

// Shell force: 0-2 and 3-5 by forceRotation, 6-8 and 9-11 by stressRotation, 12-13 by its block at (3, 3).
Column shellForce(const Table& force, const Table& stress, Column x) {
  if (!force.values.empty()) {
    place(x, 0, product(force, 0, 0, 3, part(x, 0, 3)));
    place(x, 3, product(force, 0, 0, 3, part(x, 3, 3)));
  }
  if (!stress.values.empty()) {
    place(x, 6, product(stress, 0, 0, 3, part(x, 6, 3)));
    place(x, 9, product(stress, 0, 0, 3, part(x, 9, 3)));
    place(x, 12, product(stress, 3, 3, 2, part(x, 12, 2)));
  }
  return x;
}

TEST_F(ElementRotationTest, ShellForceTurnsTriplesByBothTablesAndThePairByTheBlock) {
  const Table force = counted(4, 4, 1);     // top-left 3 by 3, column distance 4
  const Table stress = counted(5, 5, -12);  // top-left 3 by 3, and the 2 by 2 block at row 3, column 3
  ElementOnFile e(645, force, stress);
  ASSERT_TRUE(e.element);
  const Column a = counting(14, 1), b = counting(14, -30);

  Result f(14, {a, b});
  e.element->rotateForce(f.m);
  EXPECT_EQ(f.column(0), shellForce(force, stress, a));
  EXPECT_EQ(f.column(1), shellForce(force, stress, b));
  // The pair written out: value 12 becomes E00 a + E01 b, value 13 E10 a + E11 b, with E(r, c) = (3+r, 3+c).
  const double e00 = stress.values[3 * 5 + 3], e01 = stress.values[4 * 5 + 3];
  const double e10 = stress.values[3 * 5 + 4], e11 = stress.values[4 * 5 + 4];
  EXPECT_EQ(f.m.at(12, 0), e00 * 13 + e01 * 14);
  EXPECT_EQ(f.m.at(13, 0), e10 * 13 + e11 * 14);
}

TEST_F(ElementRotationTest, ShellForceTurnsOnlyByTheTablesItHas) {
  const Table force = counted(3, 3, 1);
  const Table stress = counted(6, 6, 4);
  const Column a = counting(14, 2);
  {
    ElementOnFile e(645, kEmpty, stress);
    Result f(14, {a});
    e.element->rotateForce(f.m);
    const Column expected = shellForce(kEmpty, stress, a);
    EXPECT_EQ(part(expected, 0, 6), part(a, 0, 6));
    EXPECT_EQ(f.column(0), expected);
  }
  {
    ElementOnFile e(645, force, kEmpty);
    // Without stressRotation only the first six values are addressed, so six rows are enough.
    Result f(6, {part(a, 0, 6)});
    e.element->rotateForce(f.m);
    EXPECT_EQ(f.column(0), part(shellForce(force, kEmpty, a), 0, 6));
  }
}

TEST_F(ElementRotationTest, ShellStressTurnsTwoTriplesByStressRotation) {
  const Table force = counted(3, 3, 100);
  const Table stress = counted(5, 5, -3);
  ElementOnFile e(645, force, stress);
  ASSERT_TRUE(e.element);
  const Column a = counting(6, 1), b = {0, 2, -2, 7, 1, 3};
  Result s(6, {a, b});
  e.element->rotateStress(s.m);
  for (int j = 0; j < 2; ++j) {
    const Column x = j == 0 ? a : b;
    Column expected = x;
    place(expected, 0, product(stress, 0, 0, 3, part(x, 0, 3)));
    place(expected, 3, product(stress, 0, 0, 3, part(x, 3, 3)));
    EXPECT_EQ(s.column(j), expected) << "column " << j;
  }
}

TEST_F(ElementRotationTest, ClassesWithoutRotationLeaveTheResultAlone) {
  const Table force = counted(6, 6, 3);
  const Table stress = counted(6, 6, -9);
  const Column a = counting(14, 1);
  for (std::int32_t code : {580, 582, 583, 584, 586, 594}) {
    SCOPED_TRACE(code);
    ElementOnFile e(code, force, stress);
    ASSERT_TRUE(e.element);
    Result f(14, {a, a});
    e.element->rotateForce(f.m);
    EXPECT_EQ(f.column(0), a);
    EXPECT_EQ(f.column(1), a);
    Result s(14, {a});
    e.element->rotateStress(s.m);
    EXPECT_EQ(s.column(0), a);
  }
  TimeKernelElement root;
  Result r(3, {{1, 2, 3}});
  root.rotateForce(r.m);
  root.rotateStress(r.m);
  EXPECT_EQ(r.column(0), (Column{1, 2, 3}));
}

TEST_F(ElementRotationTest, EmptyTableTurnsNothing) {
  const Column a = counting(14, 1);
  for (std::int32_t code : {642, 643, 645, 768}) {
    SCOPED_TRACE(code);
    ElementOnFile e(code, kEmpty, kEmpty);
    ASSERT_TRUE(e.element);
    Result f(14, {a});
    e.element->rotateForce(f.m);
    EXPECT_EQ(f.column(0), a);
    Result s(14, {a});
    e.element->rotateStress(s.m);
    EXPECT_EQ(s.column(0), a);
  }
  // A table with rows but no columns is empty as well.
  Table rowsOnly;
  rowsOnly.rows = 3;
  ElementOnFile e(642, rowsOnly, rowsOnly);
  Result f(3, {{1, 2, 3}});
  e.element->rotateForce(f.m);
  EXPECT_EQ(f.column(0), (Column{1, 2, 3}));
}

// Expects the rotation to fail and to leave the result as it was.
template <class Rotate>
void expectRefused(Rotate rotate, std::int32_t rows) {
  const Column a = counting(rows, 1);
  Result r(rows, {a, a});
  EXPECT_TRUE(raisesFailure([&] { rotate(r.m); }));
  EXPECT_EQ(r.column(0), a);
  EXPECT_EQ(r.column(1), a);
}

TEST_F(ElementRotationTest, TableSmallerThanItsBlockFails) {
  {
    ElementOnFile e(642, counted(2, 2, 1), counted(3, 2, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 3);
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 3);
  }
  {
    ElementOnFile e(643, counted(2, 3, 1), counted(1, 1, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 4);
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 4);
  }
  {
    // Enough for a first triple, not for the 6 by 6.
    ElementOnFile e(768, counted(3, 3, 1), counted(5, 5, 1));
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 6);
  }
  {
    ElementOnFile e(768, counted(3, 3, 1), counted(6, 5, 1));
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 6);
  }
  {
    // The shell's triples would fit in a 4 by 4, but the pair's block at (3, 3) needs a 5 by 5.
    ElementOnFile e(645, counted(3, 3, 1), counted(4, 4, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 14);
  }
  {
    ElementOnFile e(645, counted(3, 2, 1), counted(5, 5, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 14);
  }
  {
    ElementOnFile e(645, counted(3, 3, 1), counted(2, 2, 1));
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 6);
  }
}

TEST_F(ElementRotationTest, ResultShorterThanTheRotationFails) {
  {
    ElementOnFile e(642, counted(3, 3, 1), counted(3, 3, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 2);
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 2);
  }
  {
    ElementOnFile e(645, counted(3, 3, 1), counted(5, 5, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 13);
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 5);
  }
  {
    ElementOnFile e(645, counted(3, 3, 1), kEmpty);
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 5);
  }
  {
    ElementOnFile e(768, counted(3, 3, 1), counted(6, 6, 1));
    expectRefused([&](Matrix& m) { e.element->rotateForce(m); }, 2);
    expectRefused([&](Matrix& m) { e.element->rotateStress(m); }, 5);
  }
}

TEST_F(ElementRotationTest, ResultWithoutColumnsIsLeftAlone) {
  ElementOnFile e(768, counted(3, 3, 1), counted(6, 6, 1));
  double unused = 4.0;
  Matrix none = Matrix::view(6, 0, &unused, 6);
  e.element->rotateForce(none);
  e.element->rotateStress(none);
  EXPECT_EQ(unused, 4.0);
}

TEST_F(ElementRotationTest, ResultColumnsAreFoundByTheirStride) {
  const Table force = counted(3, 3, 1);
  ElementOnFile e(642, force, kEmpty);
  // Two columns of 3 values, 5 apart; the two values between them do not belong to the result.
  std::vector<double> storage = {1, 2, 3, 90, 91, 4, 5, 6};
  Matrix view = Matrix::view(3, 2, storage.data(), 5);
  e.element->rotateForce(view);
  const Column a = product(force, 0, 0, 3, {1, 2, 3});
  const Column b = product(force, 0, 0, 3, {4, 5, 6});
  EXPECT_EQ(storage, (std::vector<double>{a[0], a[1], a[2], 90, 91, b[0], b[1], b[2]}));
}

TEST_F(ElementRotationTest, TableWithStrideZeroIsReadWithItsRowsAsColumnDistance) {
  // Rotation tables that are views with stride 0 (no record makes one; a caller's view can).
  Zarn::TimeKernelElementPlaneStress e;
  std::vector<double> values = counting(16, 1);
  e.forceRotation = Matrix::view(4, 4, values.data(), 0);
  const Table same = Table::matrix(4, 4, values);
  Result f(3, {{1, -2, 3}});
  e.rotateForce(f.m);
  EXPECT_EQ(f.column(0), product(same, 0, 0, 3, {1, -2, 3}));
}

TEST_F(ElementRotationTest, ShellForceWithStrideZeroStressTableTakesPackedBlocks) {
  // With stride 0 the triples use a column distance of 3 and the pair's block starts at entry 3 with a column
  // distance of 2: A(r, c) = v[r + 3c] and E(r, c) = v[3 + r + 2c].
  Zarn::TimeKernelElementShell e;
  std::vector<double> v = counting(25, -6);
  e.stressRotation = Matrix::view(5, 5, v.data(), 0);
  const Column x = counting(14, 1);
  Result f(14, {x});
  e.rotateForce(f.m);

  Column expected = x;
  for (std::size_t t : {6u, 9u}) {
    for (std::size_t r = 0; r < 3; ++r) {
      double sum = 0;
      for (std::size_t c = 0; c < 3; ++c) sum += v[r + 3 * c] * x[t + c];
      expected[t + r] = sum;
    }
  }
  expected[12] = v[3] * x[12] + v[5] * x[13];
  expected[13] = v[4] * x[12] + v[6] * x[13];
  EXPECT_EQ(f.column(0), expected);
}

}  // namespace
