// Section reads: a column of a column-contiguous section and the fallback to its transposed twin, history rows,
// the contributions of a selected mode, the choosers between direct and modal storage, the initial state, and
// reads across many views of a large file seen through the smallest window.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "kernelfile/FileMapping.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "base/DenseRecords.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using kernelwriter::KernelFile;
using testsupport::PlatformCallCounter;
using testsupport::raisesFailure;
using testsupport::TempFile;

constexpr std::int32_t kSteps = 4;
constexpr std::int32_t kDofs = 5;
constexpr std::int32_t kModes = 3;
constexpr double kGuard = -777.25;  // what a test puts where nothing may be written

// The value that stands for `quantity` at (row, column) of a by-step section; every section of a file gets its
// own quantity, so a read from the wrong section shows.
double sample(int quantity, std::int64_t row, std::int64_t column) {
  return 1000.0 * quantity + 10.0 * static_cast<double>(column) + static_cast<double>(row) + 0.125;
}

// A rows x cols matrix of `quantity`, column-major, as handed to the writer.
std::vector<double> byColumns(int quantity, std::int32_t rows, std::int32_t cols) {
  std::vector<double> values;
  for (std::int32_t c = 0; c < cols; ++c)
    for (std::int32_t r = 0; r < rows; ++r) values.push_back(sample(quantity, r, c));
  return values;
}

// The transpose of a rows x cols column-major matrix: cols x rows, column-major.
std::vector<double> transpose(const std::vector<double>& m, std::int32_t rows, std::int32_t cols) {
  std::vector<double> t;
  for (std::int32_t r = 0; r < rows; ++r)
    for (std::int32_t c = 0; c < cols; ++c) t.push_back(m[static_cast<std::size_t>(c * rows + r)]);
  return t;
}

double entryOf(const std::vector<double>& m, std::int32_t rows, std::int32_t r, std::int32_t c) {
  return m[static_cast<std::size_t>(c) * static_cast<std::size_t>(rows) + static_cast<std::size_t>(r)];
}

void setInts(IntArray& a, std::initializer_list<std::int32_t> values) {
  a.resize(static_cast<std::int32_t>(values.size()));
  std::int32_t k = 0;
  for (const std::int32_t v : values) a.data[k++] = v;
}

// The data of one file: for each by-step section s in 15..20 the matrix given to the writer (its twin s + 6
// gets the transpose), the mode shapes, and the initial states 5..10 and 12..14 (two columns each, of which only
// column 0 is meant to be read).
struct Responses {
  std::vector<double> byStep[27];  // indexed by section number; 15..17 dofs x steps, 18..20 modes x steps
  std::vector<double> byDof[27];   // 21..26, the transposes
  std::vector<double> initial[27]; // 5..10 dofs x 2, 12..14 modes x 2
  std::vector<double> modeShapes;  // dofs x modes

  Responses() {
    for (int s = 15; s <= 17; ++s) {
      byStep[s] = byColumns(s, kDofs, kSteps);
      byDof[s + 6] = transpose(byStep[s], kDofs, kSteps);
    }
    for (int s = 18; s <= 20; ++s) {
      byStep[s] = byColumns(s, kModes, kSteps);
      byDof[s + 6] = transpose(byStep[s], kModes, kSteps);
    }
    for (int s = 5; s <= 10; ++s) initial[s] = byColumns(s, kDofs, 2);
    for (int s = 12; s <= 14; ++s) initial[s] = byColumns(s, kModes, 2);
    for (std::int32_t m = 0; m < kModes; ++m)
      for (std::int32_t d = 0; d < kDofs; ++d) modeShapes.push_back(0.5 + 0.25 * d - 1.5 * m);
  }

  // Writes the sections listed; every file also gets section 21, which opening needs.
  KernelFile file(std::initializer_list<int> sections) const {
    KernelFile f;
    f.setMatrix(21, kSteps, kDofs, byDof[21]);
    for (const int s : sections) {
      if (s == 0) f.setMatrix(0, kDofs, kModes, modeShapes);
      else if (s >= 5 && s <= 10) f.setMatrix(s, kDofs, 2, initial[s]);
      else if (s >= 12 && s <= 14) f.setMatrix(s, kModes, 2, initial[s]);
      else if (s >= 15 && s <= 17) f.setMatrix(s, kDofs, kSteps, byStep[s]);
      else if (s >= 18 && s <= 20) f.setMatrix(s, kModes, kSteps, byStep[s]);
      else if (s >= 21 && s <= 23) f.setMatrix(s, kSteps, kDofs, byDof[s]);
      else if (s >= 24 && s <= 26) f.setMatrix(s, kSteps, kModes, byDof[s]);
    }
    return f;
  }

  double shape(std::int32_t dof, std::int32_t mode) const { return entryOf(modeShapes, kDofs, dof, mode); }
};

class SectionReadTest : public testsupport::PlatformTest {
 protected:
  void TearDown() override {
    kernel.endCycle();
    PlatformTest::TearDown();
  }

  void open(const KernelFile& f) {
    f.write(file.path());
    kernel.fileName = file.path();
    kernel.openKernelFile();
  }

  Responses data;
  TempFile file{"sections"};
  ReadTimeKernel kernel;
};

// ---- readSectionColumn ----

using SectionReadColumn = SectionReadTest;

TEST_F(SectionReadColumn, PresentSectionGivesEachColumn) {
  open(data.file({15}));
  for (std::int32_t step = 0; step < kSteps; ++step) {
    Vector v;
    kernel.readSectionColumn(15, step, v, nullptr);
    ASSERT_EQ(v.size, kDofs);
    for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_EQ(*v.at(d), entryOf(data.byStep[15], kDofs, d, step)) << d;
  }
}

TEST_F(SectionReadColumn, TwinGivesTheSameNumbersAsThePresentSection) {
  open(data.file({15, 16, 17, 18, 19, 20, 22, 23, 24, 25, 26}));
  std::vector<std::vector<double>> direct;
  for (int s = 15; s <= 20; ++s)
    for (std::int32_t step = 0; step < kSteps; ++step) {
      Vector v;
      kernel.readSectionColumn(s, step, v, nullptr);
      direct.emplace_back(v.data, v.data + v.size);
    }
  kernel.endCycle();

  open(data.file({22, 23, 24, 25, 26}));  // 15..20 absent: every read goes to the twin
  std::size_t k = 0;
  for (int s = 15; s <= 20; ++s) {
    const std::int32_t rows = s <= 17 ? kDofs : kModes;
    for (std::int32_t step = 0; step < kSteps; ++step, ++k) {
      Vector v;
      kernel.readSectionColumn(s, step, v, nullptr);
      ASSERT_EQ(v.size, rows) << "section " << s;
      ASSERT_EQ(direct[k].size(), static_cast<std::size_t>(rows));
      for (std::int32_t r = 0; r < rows; ++r) {
        EXPECT_EQ(*v.at(r), direct[k][static_cast<std::size_t>(r)]) << "section " << s << " step " << step;
        // ... and those are the numbers the twin was given, entry (step, r).
        EXPECT_EQ(*v.at(r), entryOf(data.byDof[s + 6], kSteps, step, r)) << "section " << s << " step " << step;
      }
    }
  }
}

TEST_F(SectionReadColumn, TwinWithIndicesReadsOnlyTheListedEntries) {
  open(data.file({}));  // 15 absent, 21 present
  IntArray indices;
  setInts(indices, {3, 0, 3});
  for (std::int32_t step = 0; step < kSteps; ++step) {
    Vector v;
    v.resize(kDofs);  // already the twin's size: not reallocated, so what is not read keeps the guard
    for (std::int32_t d = 0; d < kDofs; ++d) *v.at(d) = kGuard;
    kernel.readSectionColumn(15, step, v, &indices);
    ASSERT_EQ(v.size, kDofs);
    for (std::int32_t d = 0; d < kDofs; ++d) {
      const bool listed = d == 0 || d == 3;
      EXPECT_EQ(*v.at(d), listed ? entryOf(data.byStep[15], kDofs, d, step) : kGuard) << "step " << step << " dof " << d;
    }
  }
}

TEST_F(SectionReadColumn, PresentSectionWithIndicesGivesTheSameListedEntries) {
  open(data.file({15}));
  IntArray indices;
  setInts(indices, {4, 1});
  for (std::int32_t step = 0; step < kSteps; ++step) {
    Vector v;
    kernel.readSectionColumn(15, step, v, &indices);
    ASSERT_EQ(v.size, kDofs);
    EXPECT_EQ(*v.at(4), entryOf(data.byStep[15], kDofs, 4, step));
    EXPECT_EQ(*v.at(1), entryOf(data.byStep[15], kDofs, 1, step));
  }
}

TEST_F(SectionReadColumn, TwinFillsAStridedViewAtItsStride) {
  open(data.file({}));
  std::vector<double> buffer(2 * kDofs + 2, kGuard);
  Vector v = Vector::view(buffer.data() + 1, kDofs, 2);
  kernel.readSectionColumn(15, 2, v, nullptr);
  EXPECT_EQ(v.size, kDofs);
  for (std::size_t k = 0; k < buffer.size(); ++k) {
    const bool entry = k >= 1 && (k - 1) % 2 == 0 && (k - 1) / 2 < static_cast<std::size_t>(kDofs);
    const double expected =
        entry ? entryOf(data.byStep[15], kDofs, static_cast<std::int32_t>((k - 1) / 2), 2) : kGuard;
    EXPECT_EQ(buffer[k], expected) << k;
  }
}

TEST_F(SectionReadColumn, TwinIndexOutsideTheSectionFails) {
  open(data.file({}));
  IntArray indices;
  setInts(indices, {kDofs});
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionColumn(15, 0, v, &indices); }));
  setInts(indices, {-1});
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionColumn(15, 0, v, &indices); }));
}

TEST_F(SectionReadColumn, MislabelledSectionFallsBackToTheTwin) {
  KernelFile f = data.file({});
  f.setMatrix(15, kDofs, kSteps, std::vector<double>(kDofs * kSteps, 0.0));  // numbers that must not be read
  f.setSectionHeaderOverride(15, 16, kDofs, kSteps);
  open(f);
  Vector v;
  kernel.readSectionColumn(15, 1, v, nullptr);
  ASSERT_EQ(v.size, kDofs);
  for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_EQ(*v.at(d), entryOf(data.byDof[21], kSteps, 1, d)) << d;
}

TEST_F(SectionReadColumn, AbsentSectionBelowFifteenFailsWithoutFallback) {
  // Section 11 = 5 + 6 is present and would serve if a fallback were taken.
  KernelFile f = data.file({8});
  f.setMatrix(11, kSteps, kDofs, byColumns(11, kSteps, kDofs));
  open(f);
  std::vector<double> buffer(kDofs, kGuard);
  Vector v = Vector::view(buffer.data(), kDofs, 1);
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionColumn(5, 0, v, nullptr); }));
  for (const double x : buffer) EXPECT_EQ(x, kGuard);
}

TEST_F(SectionReadColumn, AbsentSectionAndAbsentTwinFails) {
  open(data.file({}));
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readSectionColumn(16, 0, v, nullptr); }));  // 16 and 22 both absent
}

TEST_F(SectionReadColumn, ZeroRowSectionGivesAnEmptyVector) {
  KernelFile f = data.file({});
  f.setMatrix(15, 0, kSteps, std::vector<double>{});
  f.setMatrix(8, 0, 1, std::vector<double>{});
  open(f);
  Vector v;
  v.resize(3);
  EXPECT_NO_THROW(kernel.readSectionColumn(15, 2, v, nullptr));
  EXPECT_EQ(v.size, 0);
  Vector w;
  EXPECT_NO_THROW(kernel.readSectionColumn(8, 0, w, nullptr));
  EXPECT_EQ(w.size, 0);
}

TEST_F(SectionReadColumn, ShorterViewReadsItsOwnSize) {
  open(data.file({15}));
  std::vector<double> buffer(kDofs + 2, kGuard);
  Vector v = Vector::view(buffer.data() + 1, 3, 1);
  kernel.readSectionColumn(15, 2, v, nullptr);
  EXPECT_EQ(v.size, 3);
  EXPECT_EQ(buffer[0], kGuard);
  for (std::int32_t d = 0; d < 3; ++d) EXPECT_EQ(buffer[static_cast<std::size_t>(d + 1)], entryOf(data.byStep[15], kDofs, d, 2));
  for (std::size_t k = 4; k < buffer.size(); ++k) EXPECT_EQ(buffer[k], kGuard) << k;
}

TEST_F(SectionReadColumn, LongerViewReadsItsOwnSizeIntoTheNextColumn) {
  open(data.file({15}));
  // Seven doubles from the start of column 1: its five, then the first two of column 2, as stored.
  std::vector<double> buffer(9, kGuard);
  Vector v = Vector::view(buffer.data() + 1, kDofs + 2, 1);
  kernel.readSectionColumn(15, 1, v, nullptr);
  EXPECT_EQ(v.size, kDofs + 2);
  EXPECT_EQ(buffer[0], kGuard);
  for (std::size_t k = 0; k < static_cast<std::size_t>(kDofs + 2); ++k)
    EXPECT_EQ(buffer[k + 1], data.byStep[15][static_cast<std::size_t>(kDofs) + k]) << k;
  EXPECT_EQ(buffer[8], kGuard);
}

TEST_F(SectionReadColumn, SecondCountOfSection11IsNotUsed) {
  const std::vector<double> motion = byColumns(11, 9, 1);
  for (const std::int32_t second : {0, 7}) {
    KernelFile f = data.file({});
    f.setMatrix(11, 9, 1, motion);
    f.setSectionHeaderOverride(11, 11, 9, second);
    open(f);
    Vector v;
    kernel.readSectionColumn(11, 0, v, nullptr);
    ASSERT_EQ(v.size, 9) << "second count " << second;
    for (std::int32_t r = 0; r < 9; ++r) EXPECT_EQ(*v.at(r), motion[static_cast<std::size_t>(r)]) << r;
    kernel.endCycle();
  }
}

TEST_F(SectionReadColumn, NegativeSecondCountOfSection11IsNotUsed) {
  const std::vector<double> motion = byColumns(11, 9, 1);
  KernelFile f = data.file({});
  f.setMatrix(11, 9, 1, motion);
  f.setSectionHeaderOverride(11, 11, 9, -1);
  open(f);
  Vector v;
  ASSERT_NO_THROW(kernel.readSectionColumn(11, 0, v, nullptr));
  ASSERT_EQ(v.size, 9);
  for (std::int32_t r = 0; r < 9; ++r) EXPECT_EQ(*v.at(r), motion[static_cast<std::size_t>(r)]) << r;
}

// ---- readHistoryRows ----

using SectionReadHistory = SectionReadTest;

TEST_F(SectionReadHistory, PicksTheListedRowsIncludingARepeat) {
  open(data.file({}));
  IntArray indices;
  setInts(indices, {4, 0, 2, 0});
  Matrix m;
  kernel.readHistoryRows(21, indices, m);
  ASSERT_EQ(m.rows, 4);
  ASSERT_EQ(m.cols, kSteps);
  EXPECT_EQ(m.stride, 4);
  for (std::int32_t i = 0; i < indices.size; ++i)
    for (std::int32_t t = 0; t < kSteps; ++t)
      EXPECT_EQ(m.at(i, t), entryOf(data.byDof[21], kSteps, t, indices[i])) << "row " << i << " step " << t;
}

TEST_F(SectionReadHistory, OwnedMatrixOfTheRightShapeIsReused) {
  open(data.file({}));
  IntArray indices;
  setInts(indices, {1, 3});
  Matrix m;
  m.resize(2, kSteps);
  const double* before = m.data;
  kernel.readHistoryRows(21, indices, m);
  EXPECT_EQ(m.data, before);
  for (std::int32_t i = 0; i < 2; ++i)
    for (std::int32_t t = 0; t < kSteps; ++t) EXPECT_EQ(m.at(i, t), entryOf(data.byDof[21], kSteps, t, indices[i]));
}

TEST_F(SectionReadHistory, EmptyListGivesNoRows) {
  open(data.file({}));
  IntArray indices;
  Matrix m;
  EXPECT_NO_THROW(kernel.readHistoryRows(21, indices, m));
  EXPECT_EQ(m.rows, 0);
  EXPECT_TRUE(m.empty());
}

// A view of rows x cols with column distance `stride`, in the middle of a guarded buffer; after a read of
// `indices` (steps wide) only the entries of both the view and the result may have changed.
void checkViewRead(ReadTimeKernel& kernel, const Responses& data, std::int32_t rows, std::int32_t cols,
                   std::int32_t stride) {
  IntArray indices;
  setInts(indices, {3, 1, 3});
  const std::int32_t lead = 4;
  std::vector<double> buffer(static_cast<std::size_t>(lead + stride * cols + 4), kGuard);
  Matrix m = Matrix::view(rows, cols, buffer.data() + lead, stride);
  kernel.readHistoryRows(22, indices, m);
  EXPECT_EQ(m.rows, rows);
  EXPECT_EQ(m.cols, cols);
  EXPECT_EQ(m.data, buffer.data() + lead);
  for (std::size_t k = 0; k < buffer.size(); ++k) {
    double expected = kGuard;
    const std::int64_t inView = static_cast<std::int64_t>(k) - lead;
    if (inView >= 0) {
      const std::int64_t r = inView % stride, c = inView / stride;
      if (r < rows && c < cols && r < indices.size && c < kSteps)
        expected = entryOf(data.byDof[22], kSteps, static_cast<std::int32_t>(c), indices[static_cast<std::int32_t>(r)]);
    }
    EXPECT_EQ(buffer[k], expected) << "view " << rows << " x " << cols << ", buffer entry " << k;
  }
}

TEST_F(SectionReadHistory, SmallerViewTakesOnlyItsOwnPart) {
  open(data.file({22}));
  checkViewRead(kernel, data, 2, 3, 5);
}

TEST_F(SectionReadHistory, LargerViewIsFilledOnlyWhereTheResultReaches) {
  open(data.file({22}));
  checkViewRead(kernel, data, 5, kSteps + 2, 6);
}

TEST_F(SectionReadHistory, RowOutsideTheSectionFails) {
  open(data.file({}));
  IntArray indices;
  Matrix m;
  setInts(indices, {0, kDofs});
  EXPECT_TRUE(raisesFailure([&] { kernel.readHistoryRows(21, indices, m); }));
  setInts(indices, {-1});
  EXPECT_TRUE(raisesFailure([&] { kernel.readHistoryRows(21, indices, m); }));
}

TEST_F(SectionReadHistory, AbsentSectionFails) {
  open(data.file({}));
  IntArray indices;
  setInts(indices, {0});
  Matrix m;
  EXPECT_TRUE(raisesFailure([&] { kernel.readHistoryRows(23, indices, m); }));
}

// ---- modal reads ----

using SectionReadModal = SectionReadTest;

TEST_F(SectionReadModal, ColumnIsTheModeShapeTimesTheModalCoordinate) {
  open(data.file({0, 18}));
  for (std::int32_t mode = 0; mode < kModes; ++mode) {
    kernel.selectedMode = mode;
    for (std::int32_t step = 0; step < kSteps; ++step) {
      Vector v;
      kernel.readModalColumn(18, step, v, nullptr);
      ASSERT_EQ(v.size, kDofs);
      const double q = entryOf(data.byStep[18], kModes, mode, step);
      for (std::int32_t d = 0; d < kDofs; ++d)
        EXPECT_TRUE(testsupport::approx(*v.at(d), data.shape(d, mode) * q)) << "mode " << mode << " step " << step;
    }
  }
}

TEST_F(SectionReadModal, ColumnThroughTheTwinGivesTheSame) {
  open(data.file({0, 24}));  // 18 absent
  kernel.selectedMode = 2;
  for (std::int32_t step = 0; step < kSteps; ++step) {
    Vector v;
    kernel.readModalColumn(18, step, v, nullptr);
    ASSERT_EQ(v.size, kDofs);
    const double q = entryOf(data.byDof[24], kSteps, step, 2);
    for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_TRUE(testsupport::approx(*v.at(d), data.shape(d, 2) * q));
  }
}

TEST_F(SectionReadModal, ColumnFailsForAnEmptyModalSection) {
  KernelFile f = data.file({0});
  f.setMatrix(18, 0, kSteps, std::vector<double>{});
  open(f);
  kernel.selectedMode = 0;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 0, v, nullptr); }));
}

TEST_F(SectionReadModal, ColumnFailsForAnEmptyTwin) {
  KernelFile f = data.file({0});
  f.setMatrix(24, kSteps, 0, std::vector<double>{});
  open(f);
  kernel.selectedMode = 0;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 0, v, nullptr); }));
}

TEST_F(SectionReadModal, ColumnFailsForAModeBeyondTheModalRows) {
  // Section 0 has three modes, the modal section only two.
  KernelFile f = data.file({0});
  f.setMatrix(18, 2, kSteps, byColumns(18, 2, kSteps));
  open(f);
  kernel.selectedMode = 2;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 1, v, nullptr); }));
  kernel.selectedMode = 1;
  EXPECT_NO_THROW(kernel.readModalColumn(18, 1, v, nullptr));
}

TEST_F(SectionReadModal, ColumnFailsForAModeBeyondTheTwinsColumns) {
  KernelFile f = data.file({0});
  f.setMatrix(24, kSteps, 2, transpose(byColumns(18, 2, kSteps), 2, kSteps));
  open(f);
  kernel.selectedMode = 2;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 0, v, nullptr); }));
}

TEST_F(SectionReadModal, ColumnFailsWithoutModeShapes) {
  open(data.file({18}));
  kernel.selectedMode = 0;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 0, v, nullptr); }));
  kernel.endCycle();

  KernelFile f = data.file({18});
  f.setMatrix(0, 0, kModes, std::vector<double>{});
  open(f);
  kernel.selectedMode = 0;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalColumn(18, 0, v, nullptr); }));
}

TEST_F(SectionReadModal, HistoryRowsAreTheRestrictedShapeTimesTheModalHistory) {
  open(data.file({0, 24}));
  IntArray indices;
  setInts(indices, {3, 1, 3, 0});
  for (std::int32_t mode = 0; mode < kModes; ++mode) {
    kernel.selectedMode = mode;
    Matrix m;
    kernel.readModalHistoryRows(24, indices, m);
    ASSERT_EQ(m.rows, indices.size);
    ASSERT_EQ(m.cols, kSteps);
    for (std::int32_t i = 0; i < indices.size; ++i)
      for (std::int32_t t = 0; t < kSteps; ++t) {
        const double expected = data.shape(indices[i], mode) * entryOf(data.byDof[24], kSteps, t, mode);
        EXPECT_TRUE(testsupport::approx(m.at(i, t), expected)) << "mode " << mode << " row " << i << " step " << t;
      }
  }
}

TEST_F(SectionReadModal, HistoryRowsIntoASmallerViewStayInsideIt) {
  open(data.file({0, 25}));
  kernel.selectedMode = 1;
  IntArray indices;
  setInts(indices, {2, 4, 0});
  std::vector<double> buffer(2 + 3 * 2 + 2, kGuard);  // a 2 x 2 view with column distance 3
  Matrix m = Matrix::view(2, 2, buffer.data() + 2, 3);
  kernel.readModalHistoryRows(25, indices, m);
  for (std::size_t k = 0; k < buffer.size(); ++k) {
    double expected = kGuard;
    const std::int64_t inView = static_cast<std::int64_t>(k) - 2;
    if (inView >= 0 && inView % 3 < 2 && inView / 3 < 2) {
      const auto i = static_cast<std::int32_t>(inView % 3), t = static_cast<std::int32_t>(inView / 3);
      expected = data.shape(indices[i], 1) * entryOf(data.byDof[25], kSteps, t, 1);
    }
    EXPECT_TRUE(testsupport::approx(buffer[k], expected)) << k;
  }
}

TEST_F(SectionReadModal, HistoryRowsFailForEmptyShapesOrHistory) {
  IntArray indices;
  setInts(indices, {0});
  Matrix m;
  {
    KernelFile f = data.file({24});
    f.setMatrix(0, 0, kModes, std::vector<double>{});
    open(f);
    kernel.selectedMode = 0;
    EXPECT_TRUE(raisesFailure([&] { kernel.readModalHistoryRows(24, indices, m); }));
    kernel.endCycle();
  }
  {
    KernelFile f = data.file({0});
    f.setMatrix(24, 0, kModes, std::vector<double>{});
    open(f);
    kernel.selectedMode = 0;
    EXPECT_TRUE(raisesFailure([&] { kernel.readModalHistoryRows(24, indices, m); }));
    kernel.endCycle();
  }
  {
    // A mode beyond the modal history's columns.
    KernelFile f = data.file({0});
    f.setMatrix(24, kSteps, 2, transpose(byColumns(18, 2, kSteps), 2, kSteps));
    open(f);
    kernel.selectedMode = 2;
    EXPECT_TRUE(raisesFailure([&] { kernel.readModalHistoryRows(24, indices, m); }));
  }
}

TEST_F(SectionReadModal, HistoryRowOutsideTheModeShapesFails) {
  open(data.file({0, 24}));
  kernel.selectedMode = 0;
  IntArray indices;
  setInts(indices, {kDofs});
  Matrix m;
  EXPECT_TRUE(raisesFailure([&] { kernel.readModalHistoryRows(24, indices, m); }));
}

// ---- choosers ----

using SectionReadChooser = SectionReadTest;

// The choosers of displacement, velocity and acceleration: at one step, and history rows.
using AtStep = void (ReadTimeKernel::*)(std::int32_t, Vector&);
const AtStep kAtStep[3] = {&ReadTimeKernel::readDisplacementAtStep, &ReadTimeKernel::readVelocityAtStep,
                           &ReadTimeKernel::readAccelerationAtStep};
using History = bool (ReadTimeKernel::*)(const IntArray&, Matrix&, std::int32_t);
const History kHistory[3] = {&ReadTimeKernel::readDisplacementHistory, &ReadTimeKernel::readVelocityHistory,
                             &ReadTimeKernel::readAccelerationHistory};

TEST_F(SectionReadChooser, DirectStorageWithoutASelectedMode) {
  open(data.file({0, 15, 16, 17, 18, 19, 20, 22, 23, 24, 25, 26}));
  ASSERT_EQ(kernel.selectedMode, -1);
  for (int q = 0; q < 3; ++q) {
    Vector v;
    (kernel.*kAtStep[q])(3, v);
    ASSERT_EQ(v.size, kDofs);
    for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_EQ(*v.at(d), entryOf(data.byStep[15 + q], kDofs, d, 3)) << q;
  }
  IntArray indices;
  setInts(indices, {2, 4});
  for (int q = 0; q < 3; ++q) {
    Matrix m;
    (kernel.*kHistory[q])(indices, m, 0);
    ASSERT_EQ(m.rows, 2);
    ASSERT_EQ(m.cols, kSteps);
    for (std::int32_t i = 0; i < 2; ++i)
      for (std::int32_t t = 0; t < kSteps; ++t) EXPECT_EQ(m.at(i, t), entryOf(data.byDof[21 + q], kSteps, t, indices[i])) << q;
  }
}

TEST_F(SectionReadChooser, ModalStorageUnderASelectedMode) {
  open(data.file({0, 15, 16, 17, 18, 19, 20, 22, 23, 24, 25, 26}));
  kernel.selectedMode = 1;
  for (int q = 0; q < 3; ++q) {
    Vector v;
    (kernel.*kAtStep[q])(2, v);
    ASSERT_EQ(v.size, kDofs);
    const double factor = entryOf(data.byStep[18 + q], kModes, 1, 2);
    for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_TRUE(testsupport::approx(*v.at(d), data.shape(d, 1) * factor)) << q;
  }
  IntArray indices;
  setInts(indices, {0, 3});
  for (int q = 0; q < 3; ++q) {
    Matrix m;
    (kernel.*kHistory[q])(indices, m, 0);
    ASSERT_EQ(m.rows, 2);
    ASSERT_EQ(m.cols, kSteps);
    for (std::int32_t i = 0; i < 2; ++i)
      for (std::int32_t t = 0; t < kSteps; ++t) {
        const double expected = data.shape(indices[i], 1) * entryOf(data.byDof[24 + q], kSteps, t, 1);
        EXPECT_TRUE(testsupport::approx(m.at(i, t), expected)) << q;
      }
  }
}

TEST_F(SectionReadChooser, ModalReadFailsWhereOnlyDirectStorageExists) {
  open(data.file({0, 15}));
  kernel.selectedMode = 0;
  Vector v;
  EXPECT_TRUE(raisesFailure([&] { kernel.readDisplacementAtStep(0, v); }));
  IntArray indices;
  setInts(indices, {0});
  Matrix m;
  EXPECT_TRUE(raisesFailure([&] { kernel.readDisplacementHistory(indices, m); }));
}

// ---- readInitialState ----

using SectionReadInitial = SectionReadTest;

// Checks u, v and a, as read by readInitialState, against column 0 of the sections first, first + 1, first + 2.
void checkDirectInitialState(const Responses& data, const Vector& u, const Vector& v, const Vector& a, int first) {
  const Vector* got[3] = {&u, &v, &a};
  for (int q = 0; q < 3; ++q) {
    ASSERT_EQ(got[q]->size, kDofs);
    for (std::int32_t d = 0; d < kDofs; ++d) EXPECT_EQ(*got[q]->at(d), entryOf(data.initial[first + q], kDofs, d, 0)) << q;
  }
}

TEST_F(SectionReadInitial, WithBaseMotionReadsSectionsFiveToSeven) {
  open(data.file({5, 6, 7, 8, 9, 10, 12, 13, 14, 0}));
  Vector u, v, a;
  kernel.readInitialState(u, v, a, true);
  checkDirectInitialState(data, u, v, a, 5);
}

TEST_F(SectionReadInitial, WithoutBaseMotionReadsSectionsEightToTen) {
  open(data.file({5, 6, 7, 8, 9, 10, 12, 13, 14, 0}));
  Vector u, v, a;
  kernel.readInitialState(u, v, a, false);
  checkDirectInitialState(data, u, v, a, 8);
}

TEST_F(SectionReadInitial, UnderASelectedModeReadsTheModalSections) {
  open(data.file({5, 6, 7, 8, 9, 10, 12, 13, 14, 0}));
  for (const bool baseMotion : {true, false}) {
    kernel.selectedMode = 2;
    Vector u, v, a;
    kernel.readInitialState(u, v, a, baseMotion);
    const Vector* got[3] = {&u, &v, &a};
    for (int q = 0; q < 3; ++q) {
      ASSERT_EQ(got[q]->size, kDofs);
      const double factor = entryOf(data.initial[12 + q], kModes, 2, 0);
      for (std::int32_t d = 0; d < kDofs; ++d)
        EXPECT_TRUE(testsupport::approx(*got[q]->at(d), data.shape(d, 2) * factor)) << q;
    }
  }
}

TEST_F(SectionReadInitial, MissingStateFailsWithoutFallingBackToTheOtherRun) {
  open(data.file({8, 9, 10}));  // a run without base motion only
  Vector u, v, a;
  EXPECT_TRUE(raisesFailure([&] { kernel.readInitialState(u, v, a, true); }));
  EXPECT_NO_THROW(kernel.readInitialState(u, v, a, false));
}

// ---- many views: a file of tens of MB through the 1 MiB window ----

constexpr std::int32_t kLargeSteps = 1000;
constexpr std::int32_t kLargeDofs = 3600;  // 3,600,000 doubles, 28.8 MB
constexpr std::int64_t kFloorWindow = 0x100000;

// Entry (step, dof) of the large section 21; exact in binary and different from every neighbour.
double largeEntry(std::int64_t step, std::int64_t dof) { return static_cast<double>(step * 7919 + dof * 104729) * 0.5 - 11.0; }

class SectionReadLargeFile : public testsupport::PlatformTest {
 protected:
  static void SetUpTestSuite() {
    file_ = new TempFile("sections_large");
    KernelFile f;
    f.setMatrix(21, kLargeSteps, kLargeDofs, largeEntry);  // 15 absent: every column read takes the twin
    f.write(file_->path());
  }
  static void TearDownTestSuite() {
    delete file_;
    file_ = nullptr;
  }

  void SetUp() override {
    memoryBudget = 1;  // less than this process already uses: nothing is available, the window drops to 1 MiB
    kernel.fileName = file_->path();
    kernel.openKernelFile();
    ASSERT_EQ(kernel.mapping.windowSize, kFloorWindow);
    ASSERT_EQ(kernel.stepCount, kLargeSteps);
    ASSERT_EQ(kernel.dofCount, kLargeDofs);
  }
  void TearDown() override {
    kernel.endCycle();
    PlatformTest::TearDown();  // puts memoryBudget back to 0
  }

  static TempFile* file_;
  ReadTimeKernel kernel;
};

TempFile* SectionReadLargeFile::file_ = nullptr;

TEST_F(SectionReadLargeFile, HistoryRowsAcrossViewBoundaries) {
  // Every row, in batches of 100 (an owned 100 x 1000 matrix stays under the per-call allocation limit), the
  // batches alternately ascending and descending so that the window moves both ways.
  constexpr std::int32_t kBatch = 100;
  std::int64_t mismatches = 0;
  for (std::int32_t first = 0; first < kLargeDofs; first += kBatch) {
    IntArray indices;
    indices.resize(kBatch);
    const bool descending = (first / kBatch) % 2 == 1;
    for (std::int32_t i = 0; i < kBatch; ++i) indices.data[i] = descending ? first + kBatch - 1 - i : first + i;
    Matrix m;
    kernel.readHistoryRows(21, indices, m);
    ASSERT_EQ(m.rows, kBatch);
    ASSERT_EQ(m.cols, kLargeSteps);
    for (std::int32_t i = 0; i < kBatch; ++i)
      for (std::int32_t t = 0; t < kLargeSteps; ++t)
        if (m.at(i, t) != largeEntry(t, indices[i])) {
          if (mismatches++ == 0) ADD_FAILURE() << "first mismatch: dof " << indices[i] << " step " << t;
        }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST_F(SectionReadLargeFile, ScatteredHistoryRowsIntoAView) {
  Zarn::positionedReadsEnabled = false;  // the views are counted: every read goes through the mapping
  // Rows from the far end, the start and the middle in turn, into a caller's view with guards around it.
  IntArray indices;
  indices.resize(60);
  for (std::int32_t i = 0; i < 60; ++i) {
    const std::int32_t k = i / 3;
    indices.data[i] = i % 3 == 0 ? kLargeDofs - 1 - 7 * k : (i % 3 == 1 ? 11 * k : kLargeDofs / 2 + 13 * k);
  }
  const std::size_t guard = 16;
  std::vector<double> buffer(guard + 60 * static_cast<std::size_t>(kLargeSteps) + guard, kGuard);
  Matrix m = Matrix::view(60, kLargeSteps, buffer.data() + guard, 60);
  PlatformCallCounter counter;
  kernel.readHistoryRows(21, indices, m);
  EXPECT_GT(counter.counts().mapView, 40);  // the rows lie far apart: nearly every one needs a view of its own
  std::int64_t mismatches = 0;
  for (std::int32_t i = 0; i < 60; ++i)
    for (std::int32_t t = 0; t < kLargeSteps; ++t)
      if (buffer[guard + static_cast<std::size_t>(t) * 60 + static_cast<std::size_t>(i)] != largeEntry(t, indices[i])) ++mismatches;
  EXPECT_EQ(mismatches, 0);
  for (std::size_t k = 0; k < guard; ++k) {
    EXPECT_EQ(buffer[k], kGuard);
    EXPECT_EQ(buffer[buffer.size() - 1 - k], kGuard);
  }
}

TEST_F(SectionReadLargeFile, TwinColumnsAcrossViewBoundaries) {
  Zarn::positionedReadsEnabled = false;  // the views are counted: every read goes through the mapping
  // One column of the absent section 15 gathers one double from each of 3,600 columns of 21, spread over the
  // whole payload: many views for each read.
  const std::int64_t span = static_cast<std::int64_t>(kLargeDofs - 1) * kLargeSteps * 8;
  std::int64_t mismatches = 0;
  for (std::int32_t step = 0; step < kLargeSteps; step += 37) {
    PlatformCallCounter counter;
    Vector v;
    kernel.readSectionColumn(15, step, v, nullptr);
    ASSERT_EQ(v.size, kLargeDofs);
    EXPECT_GE(counter.counts().mapView, span / (kFloorWindow + FileMapping::kViewGranularity)) << step;
    for (std::int32_t d = 0; d < kLargeDofs; ++d)
      if (*v.at(d) != largeEntry(step, d)) {
        if (mismatches++ == 0) ADD_FAILURE() << "first mismatch: step " << step << " dof " << d;
      }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST_F(SectionReadLargeFile, TwinColumnsWithIndicesAndTheLastStep) {
  IntArray indices;
  indices.resize(200);
  for (std::int32_t i = 0; i < 200; ++i) indices.data[i] = (kLargeDofs - 1) - (i * 1777) % kLargeDofs;
  for (const std::int32_t step : {0, kLargeSteps / 2, kLargeSteps - 1}) {
    std::vector<double> buffer(kLargeDofs, kGuard);
    Vector v = Vector::view(buffer.data(), kLargeDofs, 1);
    kernel.readSectionColumn(15, step, v, &indices);
    std::vector<bool> listed(kLargeDofs, false);
    for (std::int32_t i = 0; i < indices.size; ++i) listed[static_cast<std::size_t>(indices[i])] = true;
    std::int64_t mismatches = 0;
    for (std::int32_t d = 0; d < kLargeDofs; ++d) {
      const double expected = listed[static_cast<std::size_t>(d)] ? largeEntry(step, d) : kGuard;
      if (buffer[static_cast<std::size_t>(d)] != expected) ++mismatches;
    }
    EXPECT_EQ(mismatches, 0) << "step " << step;
  }
  // The chooser takes the same road.
  Vector v;
  kernel.readDisplacementAtStep(kLargeSteps - 1, v);
  ASSERT_EQ(v.size, kLargeDofs);
  for (std::int32_t d = 0; d < kLargeDofs; d += 97) EXPECT_EQ(*v.at(d), largeEntry(kLargeSteps - 1, d)) << d;
}

}  // namespace
}  // namespace Zarn
