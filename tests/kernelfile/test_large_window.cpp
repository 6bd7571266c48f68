// A file of some 50 MB read through the smallest window (1 MiB): every value must come out right across the
// many view boundaries, and the number of views mapped must match the window.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kernelfile/FileMapping.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using testsupport::PlatformCallCounter;
using testsupport::TempFile;

constexpr std::int32_t kSteps = 1100;
constexpr std::int32_t kDofs = 6000;  // 6,600,000 doubles, 52.8 MB
constexpr std::int64_t kValues = std::int64_t(kSteps) * kDofs;
constexpr std::int64_t kWindow = 0x100000;

// Entry (row, col) of section 21; every value differs from its neighbours and is exact in binary.
double entry(std::int64_t row, std::int64_t col) { return double(row * 7919 + col * 104729) * 0.25 - 3.0; }
// The k-th value of the payload in file order: column by column, the row running fastest.
double valueAt(std::int64_t k) { return entry(k % kSteps, k / kSteps); }

class FileMappingLargeFile : public testsupport::PlatformTest {
 protected:
  static void SetUpTestSuite() {
    file_ = new TempFile("large");
    kernelwriter::KernelFile kernel;
    kernel.setMatrix(21, kSteps, kDofs, entry);
    kernel.write(file_->path());
  }
  static void TearDownTestSuite() {
    delete file_;
    file_ = nullptr;
  }

  void SetUp() override {
    ASSERT_GE(testsupport::sizeOnDisk(file_->path()), kValues * 8);
    memoryBudget = 1;  // less than this process uses: nothing available, so the window falls to its floor
    kernel_.fileName = file_->path();
    kernel_.openKernelFile();
    ASSERT_EQ(kernel_.mapping.windowSize, kWindow);
    ASSERT_EQ(kernel_.stepCount, kSteps);
    ASSERT_EQ(kernel_.dofCount, kDofs);
  }
  void TearDown() override {
    kernel_.endCycle();
    PlatformTest::TearDown();
  }

  // Reads the payload of section 21 in chunks of the given numbers of doubles, in turn, and compares every value.
  // Gives the number of views mapped for it.
  int readPayloadInChunks(const std::vector<std::int32_t>& chunks) {
    std::int32_t first = 0, second = 0;
    kernel_.readSectionHeader(21, first, second);
    const std::int64_t start = kernel_.tell();
    PlatformCallCounter counter;
    std::vector<double> buffer;
    std::int64_t done = 0, mismatches = 0, firstMismatch = -1;
    std::size_t turn = 0;
    while (done < kValues) {
      const std::int64_t n = std::min<std::int64_t>(chunks[turn++ % chunks.size()], kValues - done);
      buffer.assign(static_cast<std::size_t>(n), -1.0);
      if (!kernel_.mapping.read(buffer.data(), n * 8)) {
        ADD_FAILURE() << "read of " << n << " values dropped at value " << done;
        break;
      }
      for (std::int64_t i = 0; i < n; ++i) {
        if (buffer[static_cast<std::size_t>(i)] != valueAt(done + i)) {
          if (firstMismatch < 0) firstMismatch = done + i;
          ++mismatches;
        }
      }
      done += n;
    }
    EXPECT_EQ(mismatches, 0) << "first wrong value is number " << firstMismatch;
    EXPECT_EQ(kernel_.tell(), start + kValues * 8);
    return counter.counts().mapView;
  }

  static TempFile* file_;
  ReadTimeKernel kernel_;
};

TempFile* FileMappingLargeFile::file_ = nullptr;

TEST_F(FileMappingLargeFile, ValueByValueThroughTheKernel) {
  Zarn::positionedReadsEnabled = false;  // the views are counted: every read goes through the mapping
  std::int32_t first = 0, second = 0;
  kernel_.readSectionHeader(21, first, second);
  PlatformCallCounter counter;
  std::int64_t mismatches = 0, firstMismatch = -1;
  for (std::int64_t k = 0; k < kValues; ++k) {
    double value = -1.0;
    kernel_.readDoubles(&value, 1);
    if (value != valueAt(k)) {
      if (firstMismatch < 0) firstMismatch = k;
      ++mismatches;
    }
  }
  EXPECT_EQ(mismatches, 0) << "first wrong value is number " << firstMismatch;
  // Each view serves at most one window of reading forward and at least a window less one value.
  const std::int64_t bytes = kValues * 8;
  EXPECT_GE(counter.counts().mapView, bytes / kWindow);
  EXPECT_LE(counter.counts().mapView, bytes / (kWindow - 8) + 2);
  EXPECT_EQ(counter.counts().unmapView, counter.counts().mapView);  // one view at a time
}

TEST_F(FileMappingLargeFile, OddSizedChunksThroughTheMapping) {
  Zarn::positionedReadsEnabled = false;  // the views are counted: every read goes through the mapping
  const std::vector<std::int32_t> chunks = {1, 3, 7, 129, 1000, 4097, 12345, 2, 65537 / 8};
  const int views = readPayloadInChunks(chunks);
  const std::int64_t bytes = kValues * 8;
  const std::int64_t largestChunk = 12345 * 8;
  EXPECT_GE(views, bytes / kWindow);
  EXPECT_LE(views, bytes / (kWindow - largestChunk) + 2);
}

TEST_F(FileMappingLargeFile, ChunksLargerThanTheWindowMapViewsOfTheirOwnSize) {
  // 200,000 doubles (1.6 MB) a chunk: each read needs its own view, larger than the window.
  const int views = readPayloadInChunks({200000});
  EXPECT_EQ(views, (kValues + 199999) / 200000);
}

TEST_F(FileMappingLargeFile, BackwardsAcrossViews) {
  // Whole columns from the last to the first: every column starts before the view of the one read before.
  std::int32_t first = 0, second = 0;
  kernel_.readSectionHeader(21, first, second);
  const std::int64_t payload = kernel_.tell();
  std::vector<double> column(kSteps);
  std::int64_t mismatches = 0;
  for (std::int64_t col = kDofs - 1; col >= 0; col -= 97) {
    kernel_.seek(payload + col * kSteps * 8);
    kernel_.readDoubles(column.data(), kSteps);
    for (std::int64_t row = 0; row < kSteps; ++row) {
      if (column[static_cast<std::size_t>(row)] != entry(row, col)) ++mismatches;
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace Zarn
