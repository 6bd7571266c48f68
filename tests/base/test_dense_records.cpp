// The dense records: ownership, reshaping, copying with strides, clearing, and the node's 3 x 3 rotation.
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "base/DenseRecords.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using testsupport::approx;
using testsupport::raisesFailure;

constexpr double kGap = -999.0;  // stands in the storage between columns or entries, which must never change

// ---- Matrix ----

TEST(RecordsMatrix, DefaultIsEmptyAndOwned) {
  Matrix m;
  EXPECT_EQ(m.rows, 0);
  EXPECT_EQ(m.cols, 0);
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.stride, 0);
  EXPECT_EQ(m.owned, 1);
  EXPECT_TRUE(m.empty());
}

TEST(RecordsMatrix, ResizeAllocatesAndSetsTheStrideToTheRows) {
  Matrix m;
  m.resize(3, 4);
  EXPECT_EQ(m.rows, 3);
  EXPECT_EQ(m.cols, 4);
  EXPECT_EQ(m.stride, 3);
  ASSERT_NE(m.data, nullptr);
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 3; ++r) m.data[r + c * 3] = 10 * c + r;
  EXPECT_EQ(m.at(2, 3), 32.0);
  EXPECT_EQ(&m.at(1, 2), m.data + 1 + 2 * 3);
  EXPECT_EQ(m.count(), 12);
  EXPECT_FALSE(m.empty());
}

TEST(RecordsMatrix, ResizeToTheSameShapeKeepsTheStorage) {
  Matrix m;
  m.resize(2, 5);
  double* before = m.data;
  m.data[3] = 4.5;
  m.resize(2, 5);
  EXPECT_EQ(m.data, before);
  EXPECT_EQ(m.data[3], 4.5);
}

TEST(RecordsMatrix, ResizeToZeroRowsOrColumnsLeavesDataNullButRecordsTheShape) {
  Matrix m;
  m.resize(3, 4);
  m.resize(0, 5);
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows, 0);
  EXPECT_EQ(m.cols, 5);
  EXPECT_EQ(m.stride, 0);
  EXPECT_TRUE(m.empty());

  m.resize(4, 0);
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows, 4);
  EXPECT_EQ(m.cols, 0);
  EXPECT_EQ(m.stride, 4);
  EXPECT_TRUE(m.empty());
  EXPECT_EQ(m.count(), 0);
}

TEST(RecordsMatrix, ResizeOfAViewChangesNothing) {
  double storage[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  Matrix v = Matrix::view(2, 3, storage, 3);
  v.resize(5, 5);
  EXPECT_EQ(v.rows, 2);
  EXPECT_EQ(v.cols, 3);
  EXPECT_EQ(v.data, storage);
  EXPECT_EQ(v.stride, 3);
  EXPECT_EQ(v.owned, 0);
  v.resize(0, 0);
  EXPECT_EQ(v.data, storage);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(storage[i], i + 1);
}

TEST(RecordsMatrix, NegativeShapeFails) {
  Matrix m;
  EXPECT_TRUE(raisesFailure([&] { m.resize(-1, 3); }));
  EXPECT_TRUE(raisesFailure([&] { m.resize(3, -1); }));
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows, 0);
}

TEST(RecordsMatrix, ClearOfAViewLeavesTheStorageUntouched) {
  std::vector<double> storage = {1.5, 2.5, 3.5, 4.5, 5.5, 6.5};
  Matrix v = Matrix::view(2, 3, storage.data(), 2);
  v.clear();
  EXPECT_EQ(v.data, nullptr);
  EXPECT_EQ(v.rows, 0);
  EXPECT_EQ(v.cols, 0);
  EXPECT_EQ(v.stride, 0);
  EXPECT_EQ(v.owned, 0);  // the flag keeps its value
  EXPECT_EQ(storage, (std::vector<double>{1.5, 2.5, 3.5, 4.5, 5.5, 6.5}));
}

TEST(RecordsMatrix, ClearOfAnOwnedRecordFreesAndKeepsTheFlag) {
  Matrix m;
  m.resize(3, 3);
  m.clear();
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows, 0);
  EXPECT_EQ(m.cols, 0);
  EXPECT_EQ(m.stride, 0);
  EXPECT_EQ(m.owned, 1);
}

// A source of `rows` x `cols` over storage with column distance `stride`: entry (r, c) = 100 c + r + 0.25, the
// rows between `rows` and `stride` hold kGap.
std::vector<double> stridedStorage(int rows, int cols, int stride) {
  std::vector<double> s(static_cast<std::size_t>(stride * cols), kGap);
  for (int c = 0; c < cols; ++c)
    for (int r = 0; r < rows; ++r) s[static_cast<std::size_t>(r + c * stride)] = 100.0 * c + r + 0.25;
  return s;
}

TEST(RecordsMatrix, AssignFromAStridedSourceCopiesColumnByColumnIntoAPackedTarget) {
  std::vector<double> storage = stridedStorage(3, 4, 5);
  const Matrix source = Matrix::view(3, 4, storage.data(), 5);
  Matrix target;
  target.assign(source);
  EXPECT_EQ(target.rows, 3);
  EXPECT_EQ(target.cols, 4);
  EXPECT_EQ(target.stride, 3);  // resized: packed
  EXPECT_EQ(target.owned, 1);
  ASSERT_NE(target.data, nullptr);
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 3; ++r) EXPECT_EQ(target.data[r + c * 3], 100.0 * c + r + 0.25) << r << "," << c;
}

TEST(RecordsMatrix, AssignIntoAnOwnedRecordOfTheRightShapeKeepsItsStride) {
  std::vector<double> storage = stridedStorage(3, 4, 5);
  const Matrix source = Matrix::view(3, 4, storage.data(), 5);
  // An owned 6 x 4 block used as 3 x 4 with column distance 6.
  Matrix target;
  target.resize(6, 4);
  for (int i = 0; i < 24; ++i) target.data[i] = kGap;
  target.rows = 3;
  double* before = target.data;
  target.assign(source);
  EXPECT_EQ(target.data, before);
  EXPECT_EQ(target.rows, 3);
  EXPECT_EQ(target.cols, 4);
  EXPECT_EQ(target.stride, 6);
  for (int c = 0; c < 4; ++c) {
    for (int r = 0; r < 6; ++r) {
      const double expected = r < 3 ? 100.0 * c + r + 0.25 : kGap;
      EXPECT_EQ(target.data[r + c * 6], expected) << r << "," << c;
    }
  }
}

TEST(RecordsMatrix, AssignIntoAViewOfTheRightShapeWritesThroughItsStride) {
  std::vector<double> source(6);
  for (int i = 0; i < 6; ++i) source[static_cast<std::size_t>(i)] = i + 1;  // packed 2 x 3
  std::vector<double> out(12, kGap);
  Matrix view = Matrix::view(2, 3, out.data(), 4);
  view.assign(Matrix::view(2, 3, source.data(), 2));
  EXPECT_EQ(view.stride, 4);
  const std::vector<double> expected = {1, 2, kGap, kGap, 3, 4, kGap, kGap, 5, 6, kGap, kGap};
  EXPECT_EQ(out, expected);
}

TEST(RecordsMatrix, AssignBetweenPackedRecords) {
  std::vector<double> storage = stridedStorage(4, 2, 4);
  Matrix target;
  target.resize(1, 1);
  target.assign(Matrix::view(4, 2, storage.data(), 4));
  EXPECT_EQ(target.rows, 4);
  EXPECT_EQ(target.cols, 2);
  EXPECT_EQ(target.stride, 4);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(target.data[i], storage[static_cast<std::size_t>(i)]) << i;
}

TEST(RecordsMatrix, AssignFromAnEmptySourceGivesAnEmptyTarget) {
  Matrix target;
  target.resize(2, 2);
  Matrix empty;
  target.assign(empty);
  EXPECT_EQ(target.rows, 0);
  EXPECT_EQ(target.cols, 0);
  EXPECT_EQ(target.data, nullptr);
  EXPECT_TRUE(target.empty());
}

TEST(RecordsMatrix, EmptyMeansNoEntriesWhateverTheStride) {
  double storage[4] = {1, 2, 3, 4};
  EXPECT_TRUE(Matrix::view(0, 5, storage, 7).empty());
  EXPECT_TRUE(Matrix::view(3, 0, storage, 3).empty());
  EXPECT_FALSE(Matrix::view(1, 1, storage, 0).empty());
  EXPECT_FALSE(Matrix::view(2, 2, storage, 2).empty());
  EXPECT_EQ(Matrix::view(0, 5, storage, 7).count(), 0);
  EXPECT_EQ(Matrix::view(60000, 60000, nullptr, 60000).count(), 3600000000LL);  // no 32-bit wrap
}

TEST(RecordsMatrix, ColumnDistanceTakesZeroAsTheRows) {
  double storage[4] = {1, 2, 3, 4};
  EXPECT_EQ(Matrix::view(2, 2, storage, 0).columnDistance(), 2);
  EXPECT_EQ(Matrix::view(2, 2, storage, 5).columnDistance(), 5);
}

TEST(RecordsMatrix, SetZeroWalksByTheStride) {
  std::vector<double> storage = stridedStorage(2, 3, 4);
  Matrix v = Matrix::view(2, 3, storage.data(), 4);
  v.setZero();
  const std::vector<double> expected = {0, 0, kGap, kGap, 0, 0, kGap, kGap, 0, 0, kGap, kGap};
  EXPECT_EQ(storage, expected);
}

TEST(RecordsMatrix, MoveTransfersOwnership) {
  Matrix a;
  a.resize(2, 2);
  double* data = a.data;
  Matrix b(std::move(a));
  EXPECT_EQ(b.data, data);
  EXPECT_EQ(b.rows, 2);
  EXPECT_EQ(a.data, nullptr);  // NOLINT(bugprone-use-after-move): the moved-from state is part of the contract
  Matrix c;
  c = std::move(b);
  EXPECT_EQ(c.data, data);
  EXPECT_EQ(c.stride, 2);
  EXPECT_EQ(b.data, nullptr);  // NOLINT(bugprone-use-after-move)
}

// ---- Vector ----

TEST(RecordsVector, DefaultIsEmptyOwnedWithStrideOne) {
  Vector v;
  EXPECT_EQ(v.data, nullptr);
  EXPECT_EQ(v.size, 0);
  EXPECT_EQ(v.stride, 1);
  EXPECT_EQ(v.owned, 1);
  EXPECT_TRUE(v.empty());
}

TEST(RecordsVector, ResizeAllocatesOrNullAndKeepsTheStride) {
  Vector v;
  v.resize(5);
  EXPECT_EQ(v.size, 5);
  EXPECT_NE(v.data, nullptr);
  EXPECT_EQ(v.stride, 1);
  double* before = v.data;
  v.resize(5);
  EXPECT_EQ(v.data, before);
  v.resize(0);
  EXPECT_EQ(v.data, nullptr);
  EXPECT_EQ(v.size, 0);
  v.stride = 3;
  v.resize(0);
  EXPECT_EQ(v.stride, 3);
  v.resize(2);
  EXPECT_EQ(v.size, 2);
  EXPECT_EQ(v.stride, 3);
  EXPECT_TRUE(raisesFailure([&] { v.resize(-1); }));
}

TEST(RecordsVector, ResizeOfAViewChangesNothing) {
  double storage[3] = {1, 2, 3};
  Vector v = Vector::view(storage, 3, 1);
  v.resize(10);
  EXPECT_EQ(v.data, storage);
  EXPECT_EQ(v.size, 3);
  EXPECT_EQ(v.owned, 0);
  v.resize(0);
  EXPECT_EQ(v.data, storage);
  EXPECT_EQ(v.size, 3);
}

TEST(RecordsVector, AtStepsByTheStride) {
  double storage[9] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
  Vector v = Vector::view(storage, 3, 4);
  EXPECT_EQ(v.at(0), storage);
  EXPECT_EQ(v.at(2), storage + 8);
  EXPECT_EQ(*v.at(1), 4.0);
}

TEST(RecordsVector, ClearOfAViewLeavesTheStorageUntouched) {
  std::vector<double> storage = {9, 8, 7};
  Vector v = Vector::view(storage.data(), 3, 1);
  v.clear();
  EXPECT_EQ(v.data, nullptr);
  EXPECT_EQ(v.size, 0);
  EXPECT_EQ(v.owned, 0);
  EXPECT_EQ(storage, (std::vector<double>{9, 8, 7}));
}

TEST(RecordsVector, AssignFromAStridedSourceIntoAFreshRecord) {
  std::vector<double> storage = {1, kGap, kGap, 2, kGap, kGap, 3, kGap, kGap, 4};
  Vector target;
  target.assign(Vector::view(storage.data(), 4, 3));
  ASSERT_EQ(target.size, 4);
  EXPECT_EQ(target.stride, 1);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(target.data[i], i + 1.0) << i;
}

TEST(RecordsVector, AssignIntoAStridedViewWritesEveryOtherEntry) {
  const std::vector<double> source = {1.5, 2.5, 3.5};
  std::vector<double> out(6, kGap);
  Vector view = Vector::view(out.data(), 3, 2);
  view.assign(Vector::view(const_cast<double*>(source.data()), 3, 1));
  EXPECT_EQ(out, (std::vector<double>{1.5, kGap, 2.5, kGap, 3.5, kGap}));
}

TEST(RecordsVector, AssignBetweenContiguousRecords) {
  std::vector<double> source = {4, 5, 6, 7};
  Vector target;
  target.resize(1);
  target.assign(Vector::view(source.data(), 4, 1));
  ASSERT_EQ(target.size, 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(target.data[i], source[static_cast<std::size_t>(i)]);
}

TEST(RecordsVector, SetZeroWalksByTheStride) {
  std::vector<double> storage = {1, 2, 3, 4, 5};
  Vector v = Vector::view(storage.data(), 3, 2);
  v.setZero();
  EXPECT_EQ(storage, (std::vector<double>{0, 2, 0, 4, 0}));
}

// ---- IntArray ----

TEST(RecordsIntArray, ResizeAtAssignAndClear) {
  IntArray a;
  EXPECT_EQ(a.data, nullptr);
  EXPECT_EQ(a.size, 0);
  a.resize(4);
  ASSERT_NE(a.data, nullptr);
  EXPECT_EQ(a.size, 4);
  for (int i = 0; i < 4; ++i) *a.at(i) = 3 * i - 1;
  EXPECT_EQ(a.at(3), a.data + 3);
  EXPECT_EQ(a[2], 5);
  int* before = a.data;
  a.resize(4);
  EXPECT_EQ(a.data, before);
  EXPECT_EQ(a[1], 2);

  IntArray b;
  b.assign(a);
  ASSERT_EQ(b.size, 4);
  EXPECT_NE(b.data, a.data);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(b[i], 3 * i - 1);

  a.resize(0);
  EXPECT_EQ(a.data, nullptr);
  EXPECT_EQ(a.size, 0);
  b.clear();
  EXPECT_EQ(b.data, nullptr);
  EXPECT_EQ(b.size, 0);
  EXPECT_TRUE(raisesFailure([&] { b.resize(-2); }));
}

// ---- Matrix3 ----

TEST(RecordsMatrix3, RotatesATripleRowByRow) {
  Matrix3 t;
  EXPECT_FALSE(t.present());
  t.rows = 3;
  t.cols = 3;
  EXPECT_TRUE(t.present());
  const double values[9] = {0, -1, 0, 1, 0, 0, 0, 0, 2};
  for (int i = 0; i < 9; ++i) t.values[i] = values[i];
  // The triple (1, 2, 3) stored every third value.
  double storage[7] = {1, kGap, kGap, 2, kGap, kGap, 3};
  t.rotate(storage, 3);
  EXPECT_TRUE(approx(storage[0], 0 * 1 + -1 * 2 + 0 * 3));
  EXPECT_TRUE(approx(storage[3], 1 * 1 + 0 * 2 + 0 * 3));
  EXPECT_TRUE(approx(storage[6], 0 * 1 + 0 * 2 + 2 * 3));
  EXPECT_EQ(storage[1], kGap);
  EXPECT_EQ(storage[5], kGap);
}

}  // namespace
}  // namespace Zarn
