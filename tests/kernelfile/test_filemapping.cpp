// The mapped window: where views are placed and how large they are, growth of the mapping and of the file,
// seek, reads that are dropped, close, and the window size from the available memory.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kernelfile/FileMapping.h"
#include "kernelfile/platform.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using testsupport::PlatformCallCounter;
using testsupport::sizeOnDisk;
using testsupport::TempFile;

// Byte i of a pattern file. 251 is prime, so neighbouring blocks of any power-of-two size differ.
unsigned char patternByte(std::int64_t i) { return static_cast<unsigned char>((i * 131 + 7) % 251); }

void writePatternFile(const std::string& path, std::int64_t size) {
  std::vector<uint8_t> bytes(static_cast<std::size_t>(size));
  for (std::int64_t i = 0; i < size; ++i) bytes[static_cast<std::size_t>(i)] = patternByte(i);
  kernelwriter::writeBytes(path, bytes);
}

// Checks `n` bytes read at file offset `at` against the pattern of a file of `fileSize` bytes: zero past its end.
testing::AssertionResult matchesPattern(const unsigned char* bytes, std::int64_t at, std::int64_t n,
                                        std::int64_t fileSize) {
  for (std::int64_t i = 0; i < n; ++i) {
    const std::int64_t offset = at + i;
    const unsigned char expected = offset < fileSize ? patternByte(offset) : 0;
    if (bytes[i] != expected) {
      return testing::AssertionFailure() << "byte at offset " << offset << " is " << int(bytes[i]) << ", expected "
                                         << int(expected);
    }
  }
  return testing::AssertionSuccess();
}

// These tests look at the mapped window's own mechanics (which views are made, and when), so every read goes
// through the view; the positioned reads that serve small reads inside the file have tests of their own below.
class FileMappingTest : public testsupport::PlatformTest {
 protected:
  void SetUp() override {
    PlatformTest::SetUp();
    Zarn::positionedReadsEnabled = false;
  }

  // Writes a pattern file of `size` bytes at `file` and opens `mapping` on it at its own size.
  void openPatternFile(std::int64_t size) {
    writePatternFile(file.path(), size);
    mapping.open(file.path(), 0);
  }

  TempFile file;  // declared first: removed only after the mapping has closed it
  FileMapping mapping;
};

TEST_F(FileMappingTest, TwelveBytesAt65537MapFrom65536WithOneByteMoreThanTheComputedSize) {
  openPatternFile(200000);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.windowSize, 1024);  // not set by anybody yet
  mapping.seek(65537, 0);
  ASSERT_EQ(mapping.view(), nullptr);

  PlatformCallCounter counter;
  unsigned char bytes[12];
  ASSERT_TRUE(mapping.read(bytes, 12));
  // size = min(max(12, 1024), 200000 - 65537) = 1024; r = 65537 mod 65536 = 1.
  EXPECT_EQ(counter.counts().mapView, 1);
  EXPECT_EQ(counter.counts().lastMapOffset, 65536);
  EXPECT_EQ(counter.counts().lastMapSize, 1025);
  EXPECT_EQ(mapping.viewOffset(), 65536);
  EXPECT_EQ(mapping.viewSize(), 1025);
  EXPECT_EQ(mapping.position(), 65537 + 12);
  EXPECT_TRUE(matchesPattern(bytes, 65537, 12, 200000));
}

TEST_F(FileMappingTest, TwelveBytesAt65537WithALargeWindowMapToTheEndPlusOneByte) {
  openPatternFile(200000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.windowSize = 0x100000;
  mapping.seek(65537, 0);
  PlatformCallCounter counter;
  unsigned char bytes[12];
  ASSERT_TRUE(mapping.read(bytes, 12));
  // size = min(max(12, 1048576), 200000 - 65537) = 134463, plus r = 1.
  EXPECT_EQ(counter.counts().mapView, 1);
  EXPECT_EQ(mapping.viewOffset(), 65536);
  EXPECT_EQ(mapping.viewSize(), 134464);
  EXPECT_TRUE(matchesPattern(bytes, 65537, 12, 200000));
}

TEST_F(FileMappingTest, EmptyFileTakesTheWindowSizeAsMappingAndIsLengthened) {
  kernelwriter::writeBytes(file.path(), {});
  ASSERT_EQ(sizeOnDisk(file.path()), 0);
  mapping.open(file.path(), 0);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.fileSize(), 0);
  EXPECT_EQ(mapping.mappingSize(), 1024);
  EXPECT_EQ(sizeOnDisk(file.path()), 1024);

  std::vector<unsigned char> bytes(1024, 0xEE);
  ASSERT_TRUE(mapping.read(bytes.data(), 1024));
  for (std::size_t i = 0; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], 0) << "byte " << i;
}

TEST_F(FileMappingTest, EmptyFileTakesAWindowSizeSetBeforeOpen) {
  kernelwriter::writeBytes(file.path(), {});
  mapping.windowSize = 5000;
  mapping.open(file.path(), 0);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.mappingSize(), 5000);
  EXPECT_EQ(sizeOnDisk(file.path()), 5000);
}

TEST_F(FileMappingTest, RequestedSizeWinsOverTheFileSize) {
  writePatternFile(file.path(), 300);
  mapping.open(file.path(), 700);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.fileSize(), 300);
  EXPECT_EQ(mapping.mappingSize(), 700);
  EXPECT_EQ(sizeOnDisk(file.path()), 700);
}

TEST_F(FileMappingTest, NonEmptyFileMapsItsOwnSizeAndStaysAsItIs) {
  openPatternFile(3000);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.fileSize(), 3000);
  EXPECT_EQ(mapping.mappingSize(), 3000);
  EXPECT_EQ(mapping.fileName(), file.path());
  std::vector<unsigned char> bytes(3000);
  ASSERT_TRUE(mapping.read(bytes.data(), 3000));
  EXPECT_TRUE(matchesPattern(bytes.data(), 0, 3000, 3000));
  mapping.close();
  EXPECT_EQ(sizeOnDisk(file.path()), 3000);
}

TEST_F(FileMappingTest, EnsureViewPastTheEndGrowsTheMappingToExactlyPositionPlusN) {
  openPatternFile(1000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.seek(990, 0);
  mapping.ensureView(100);
  ASSERT_NE(mapping.view(), nullptr);
  EXPECT_EQ(mapping.mappingSize(), 1090);
  EXPECT_EQ(sizeOnDisk(file.path()), 1090);
  EXPECT_EQ(mapping.position(), 990);  // ensureView does not move

  unsigned char bytes[100];
  std::memset(bytes, 0xEE, sizeof bytes);
  ASSERT_TRUE(mapping.read(bytes, 100));
  // The 10 bytes that were in the file, then 90 zeros.
  EXPECT_TRUE(matchesPattern(bytes, 990, 100, 1000));
  EXPECT_EQ(mapping.position(), 1090);
  mapping.close();
  EXPECT_EQ(sizeOnDisk(file.path()), 1090);
}

TEST_F(FileMappingTest, SeekPastTheMappingRaisesFileSizeAndOnlyTheNextEnsureViewGrows) {
  openPatternFile(1000);
  ASSERT_TRUE(mapping.isOpen());

  EXPECT_EQ(mapping.seek(10, 0), 0u);
  EXPECT_EQ(mapping.fileSize(), 1000);

  EXPECT_EQ(mapping.seek(5000, 0), 0xFFFFFFFFu);
  EXPECT_EQ(mapping.position(), 5000);
  EXPECT_EQ(mapping.fileSize(), 5000);
  EXPECT_EQ(mapping.mappingSize(), 1000);
  EXPECT_EQ(sizeOnDisk(file.path()), 1000);

  // fileSize is a high-water mark: going back leaves it where it was, and it still exceeds the mapping.
  EXPECT_EQ(mapping.seek(20, 0), 0xFFFFFFFFu);
  EXPECT_EQ(mapping.fileSize(), 5000);
  EXPECT_EQ(mapping.mappingSize(), 1000);

  mapping.seek(5000, 0);
  mapping.ensureView(8);
  EXPECT_EQ(mapping.mappingSize(), 5008);
  EXPECT_EQ(sizeOnDisk(file.path()), 5008);
  ASSERT_NE(mapping.view(), nullptr);
  std::int64_t value = -1;
  ASSERT_TRUE(mapping.read(&value, 8));
  EXPECT_EQ(value, 0);
}

TEST_F(FileMappingTest, SeekWhenceRelativeAndFromTheEnd) {
  openPatternFile(1000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.seek(100, 0);
  mapping.seek(25, 1);
  EXPECT_EQ(mapping.position(), 125);
  mapping.seek(-5, 1);
  EXPECT_EQ(mapping.position(), 120);
  mapping.seek(40, 2);  // any other whence: fileSize - offset
  EXPECT_EQ(mapping.position(), 960);
  mapping.seek(40, 7);
  EXPECT_EQ(mapping.position(), 960);
  unsigned char byte = 0;
  ASSERT_TRUE(mapping.read(&byte, 1));
  EXPECT_EQ(byte, patternByte(960));
}

TEST_F(FileMappingTest, NearbyForwardReadStaysInTheViewWithoutPlatformCalls) {
  openPatternFile(200000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.windowSize = 4096;
  mapping.seek(100, 0);

  PlatformCallCounter counter;
  unsigned char bytes[32];
  ASSERT_TRUE(mapping.read(bytes, 8));
  ASSERT_EQ(counter.counts().mapView, 1);
  // size = min(max(8, 4096), 200000 - 100) = 4096, r = 100: the view is [0, 4196).
  EXPECT_EQ(mapping.viewOffset(), 0);
  EXPECT_EQ(mapping.viewSize(), 4196);

  counter.reset();
  mapping.seek(200, 1);  // to 308
  ASSERT_TRUE(mapping.read(bytes, 16));
  EXPECT_TRUE(matchesPattern(bytes, 308, 16, 200000));
  mapping.seek(4180, 0);  // a small read at the very end of the view still fits
  ASSERT_TRUE(mapping.read(bytes, 16));
  EXPECT_TRUE(matchesPattern(bytes, 4180, 16, 200000));
  const testsupport::PlatformCounts none;
  EXPECT_EQ(counter.counts().mapView, none.mapView);
  EXPECT_EQ(counter.counts().unmapView, none.unmapView);
  EXPECT_EQ(counter.counts().fileSize, none.fileSize);
  EXPECT_EQ(counter.counts().extendFile, none.extendFile);
  EXPECT_EQ(counter.counts().availableMemory, none.availableMemory);

  // A larger read from inside the view passes its end and remaps from that position.
  mapping.seek(4188, 0);
  ASSERT_TRUE(mapping.read(bytes, 32));
  EXPECT_TRUE(matchesPattern(bytes, 4188, 32, 200000));
  EXPECT_EQ(counter.counts().mapView, 1);
  EXPECT_EQ(counter.counts().unmapView, 1);
  // 4188 mod 65536 = 4188: offset 0, size 4096 + 4188.
  EXPECT_EQ(mapping.viewOffset(), 0);
  EXPECT_EQ(mapping.viewSize(), 8284);
}

TEST_F(FileMappingTest, SeekBackwardsBeforeTheViewOffsetAlwaysRemaps) {
  openPatternFile(200000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.windowSize = 0x100000;
  mapping.seek(65537, 0);
  unsigned char byte = 0;
  ASSERT_TRUE(mapping.read(&byte, 1));
  ASSERT_EQ(mapping.viewOffset(), 65536);

  PlatformCallCounter counter;
  mapping.seek(65535, 0);  // one byte before the view
  ASSERT_TRUE(mapping.read(&byte, 1));
  EXPECT_EQ(byte, patternByte(65535));
  EXPECT_EQ(counter.counts().mapView, 1);
  EXPECT_EQ(counter.counts().unmapView, 1);
  EXPECT_EQ(mapping.viewOffset(), 0);
  // min(max(1, 1 MiB), 200000 - 65535) + 65535: the whole file.
  EXPECT_EQ(mapping.viewSize(), 200000);

  // Forward again, inside the new view: no call.
  mapping.seek(150000, 0);
  ASSERT_TRUE(mapping.read(&byte, 1));
  EXPECT_EQ(byte, patternByte(150000));
  EXPECT_EQ(counter.counts().mapView, 1);
}

TEST_F(FileMappingTest, OnlyOneViewExistsAtATime) {
  writePatternFile(file.path(), 400000);
  PlatformCallCounter counter;
  {
    FileMapping mapping;  // one of its own, so that its destructor runs inside the test
    mapping.open(file.path(), 0);
    ASSERT_TRUE(mapping.isOpen());
    mapping.windowSize = 4096;
    unsigned char bytes[64];
    for (std::int64_t at : {0, 70000, 10, 300000, 131072, 399990}) {
      mapping.seek(at, 0);
      ASSERT_TRUE(mapping.read(bytes, 10));
      EXPECT_TRUE(matchesPattern(bytes, at, 10, 400000));
      EXPECT_EQ(counter.counts().unmapView, counter.counts().mapView - 1);
    }
    EXPECT_EQ(counter.counts().mapView, 6);
  }
  // The destructor closes: every view made was released, and the file once.
  EXPECT_EQ(counter.counts().unmapView, 6);
  EXPECT_EQ(counter.counts().closeFile, 1);
}

TEST_F(FileMappingTest, CloseForgetsEverythingAndPutsTheWindowBackTo1024) {
  openPatternFile(5000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.windowSize = 777777;
  mapping.seek(100, 0);
  unsigned char byte = 0;
  ASSERT_TRUE(mapping.read(&byte, 1));

  PlatformCallCounter counter;
  mapping.close();
  EXPECT_EQ(counter.counts().unmapView, 1);
  EXPECT_EQ(counter.counts().closeFile, 1);
  EXPECT_FALSE(mapping.isOpen());
  EXPECT_FALSE(mapping.hasMapping());
  EXPECT_EQ(mapping.view(), nullptr);
  EXPECT_EQ(mapping.windowSize, 1024);
  EXPECT_EQ(mapping.position(), 0);
  EXPECT_EQ(mapping.fileSize(), 0);
  EXPECT_EQ(mapping.viewOffset(), 0);
  EXPECT_EQ(mapping.viewSize(), 0);
  EXPECT_EQ(mapping.mappingSize(), 0);
  EXPECT_EQ(mapping.fileName(), "");

  // A second close has nothing left to release.
  mapping.close();
  EXPECT_EQ(counter.counts().unmapView, 1);
  EXPECT_EQ(counter.counts().closeFile, 1);

  // Reopened, the window is 1024 until the owner sets it.
  mapping.open(file.path(), 0);
  ASSERT_TRUE(mapping.isOpen());
  EXPECT_EQ(mapping.windowSize, 1024);
}

TEST_F(FileMappingTest, FailedMapViewLeavesTheDestinationAndThePosition) {
  openPatternFile(5000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.seek(40, 0);

  platform::calls().mapView = [](platform::FileHandle, std::int64_t, std::int64_t) -> void* { return nullptr; };
  unsigned char bytes[16];
  std::memset(bytes, 0xAB, sizeof bytes);
  EXPECT_FALSE(mapping.read(bytes, 16));
  for (unsigned char b : bytes) EXPECT_EQ(b, 0xAB);
  EXPECT_EQ(mapping.position(), 40);
  EXPECT_EQ(mapping.view(), nullptr);
  EXPECT_EQ(mapping.take(16), nullptr);
  EXPECT_EQ(mapping.position(), 40);

  // With the system's call back the same read succeeds from the same place.
  platform::resetCalls();
  ASSERT_TRUE(mapping.read(bytes, 16));
  EXPECT_TRUE(matchesPattern(bytes, 40, 16, 5000));
  EXPECT_EQ(mapping.position(), 56);
}

TEST_F(FileMappingTest, TakeHandsOutThePointerAndAdvances) {
  openPatternFile(5000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.seek(1234, 0);
  const unsigned char* p = mapping.take(20);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(mapping.position(), 1254);
  EXPECT_TRUE(matchesPattern(p, 1234, 20, 5000));
  EXPECT_EQ(p, static_cast<const unsigned char*>(mapping.view()) + (1234 - mapping.viewOffset()));
}

// ---- positioned reads: small reads inside the file need no view ----

class PositionedReadTest : public FileMappingTest {
 protected:
  void SetUp() override {
    FileMappingTest::SetUp();
    positionedReadsEnabled = true;
  }
};

TEST_F(PositionedReadTest, SmallReadsInsideTheFileComeFromOneBlockWithoutAView) {
  openPatternFile(200000);
  ASSERT_TRUE(mapping.isOpen());
  PlatformCallCounter counter;
  unsigned char bytes[16] = {};
  mapping.seek(65537, 0);
  ASSERT_TRUE(mapping.read(bytes, 12));
  EXPECT_TRUE(matchesPattern(bytes, 65537, 12, 200000));
  EXPECT_EQ(mapping.position(), 65549);
  mapping.seek(65600, 0);
  const unsigned char* p = mapping.take(16);
  ASSERT_NE(p, nullptr);
  EXPECT_TRUE(matchesPattern(p, 65600, 16, 200000));
  EXPECT_EQ(mapping.position(), 65616);
  EXPECT_EQ(counter.counts().readAt, 1);  // the second read is served by the block of the first
  EXPECT_EQ(counter.counts().mapView, 0);
  EXPECT_EQ(mapping.view(), nullptr);
  EXPECT_EQ(sizeOnDisk(file.path()), 200000);
}

TEST_F(PositionedReadTest, ALongerReadGoesStraightIntoItsDestination) {
  openPatternFile(200000);
  PlatformCallCounter counter;
  std::vector<unsigned char> bytes(20000, 0);
  mapping.seek(1001, 0);
  ASSERT_TRUE(mapping.read(bytes.data(), 20000));
  EXPECT_TRUE(matchesPattern(bytes.data(), 1001, 20000, 200000));
  EXPECT_EQ(mapping.position(), 21001);
  EXPECT_EQ(counter.counts().readAt, 1);
  EXPECT_EQ(counter.counts().mapView, 0);
}

TEST_F(PositionedReadTest, AWalkThroughConsecutiveBytesFetchesGrowingBlocks) {
  openPatternFile(200000);
  PlatformCallCounter counter;
  // 12-byte records one after another over 180,000 bytes, as a walk over node records reads them.
  for (std::int64_t at = 0; at + 12 <= 180000; at += 12) {
    mapping.seek(at, 0);
    const unsigned char* p = mapping.take(12);
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(matchesPattern(p, at, 12, 200000)) << at;
  }
  // Blocks of 4, 8, 16, 32 and then 64 KiB cover 180,000 bytes in a handful of fetches (a record that straddles a
  // block's end starts the next block at its own page, so blocks overlap by a page), where single pages would
  // take 44.
  EXPECT_LE(counter.counts().readAt, 8);
  EXPECT_EQ(counter.counts().mapView, 0);
}

TEST_F(PositionedReadTest, ReadsThatSkipAlongFetchSinglePages) {
  openPatternFile(200000);
  PlatformCallCounter counter;
  // One 8-byte read every 5,000 bytes: each lands just past the page of the one before, and uses little of it.
  std::int64_t fetchedBytes = 0;
  platform::Calls& table = platform::calls();
  static std::int64_t* total = nullptr;
  total = &fetchedBytes;
  static bool (*forward)(platform::FileHandle, std::int64_t, void*, std::int64_t) = nullptr;
  forward = table.readAt;
  table.readAt = [](platform::FileHandle file, std::int64_t offset, void* destination, std::int64_t size) {
    *total += size;
    return forward(file, offset, destination, size);
  };
  int reads = 0;
  for (std::int64_t at = 0; at + 8 <= 200000; at += 5000) {
    unsigned char bytes[8] = {};
    mapping.seek(at, 0);
    ASSERT_TRUE(mapping.read(bytes, 8));
    ASSERT_TRUE(matchesPattern(bytes, at, 8, 200000)) << at;
    ++reads;
  }
  // Every fetch is one page (or two when a read straddles a page's end), never a grown block.
  EXPECT_EQ(counter.counts().readAt, reads);
  EXPECT_LE(fetchedBytes, reads * 2 * 4096);
}

TEST_F(PositionedReadTest, AReadOfAMebibyteOrMoreUsesTheView) {
  openPatternFile(3 * 0x100000);
  mapping.windowSize = 0x100000;
  PlatformCallCounter counter;
  std::vector<unsigned char> bytes(0x100000, 0);
  mapping.seek(5, 0);
  ASSERT_TRUE(mapping.read(bytes.data(), 0x100000));
  EXPECT_TRUE(matchesPattern(bytes.data(), 5, 0x100000, 3 * 0x100000));
  EXPECT_EQ(counter.counts().readAt, 0);
  EXPECT_EQ(counter.counts().mapView, 1);
}

TEST_F(PositionedReadTest, AReadPastTheEndGoesThroughTheViewAndLengthensTheFile) {
  openPatternFile(5000);
  PlatformCallCounter counter;
  unsigned char bytes[16];
  std::memset(bytes, 0xee, sizeof bytes);
  mapping.seek(4990, 0);
  ASSERT_TRUE(mapping.read(bytes, 16));
  EXPECT_TRUE(matchesPattern(bytes, 4990, 16, 5000));  // ten bytes of the file, then zeros
  EXPECT_EQ(counter.counts().readAt, 0);
  EXPECT_EQ(counter.counts().mapView, 1);
  EXPECT_EQ(sizeOnDisk(file.path()), 5006);
}

TEST_F(PositionedReadTest, AFailedPositionedReadIsServedByTheView) {
  openPatternFile(5000);
  platform::calls().readAt = [](platform::FileHandle, std::int64_t, void*, std::int64_t) { return false; };
  PlatformCallCounter counter;
  unsigned char bytes[16] = {};
  mapping.seek(40, 0);
  ASSERT_TRUE(mapping.read(bytes, 16));
  EXPECT_TRUE(matchesPattern(bytes, 40, 16, 5000));
  EXPECT_EQ(mapping.position(), 56);
  EXPECT_EQ(counter.counts().mapView, 1);
}

TEST_F(PositionedReadTest, ARefusedLengtheningDropsThatReadAloneAsThroughTheView) {
  openPatternFile(5000);
  unsigned char bytes[8] = {};
  mapping.seek(100, 0);
  ASSERT_TRUE(mapping.read(bytes, 8));  // fetches a block
  std::memset(bytes, 0xee, sizeof bytes);
  mapping.seek(std::int64_t(1) << 40, 0);
  EXPECT_FALSE(mapping.read(bytes, 8));  // would lengthen the file by a terabyte: refused, the read dropped
  for (unsigned char b : bytes) EXPECT_EQ(b, 0xee);
  mapping.seek(200, 0);
  ASSERT_TRUE(mapping.read(bytes, 8));  // inside the file reads still succeed
  EXPECT_TRUE(matchesPattern(bytes, 200, 8, 5000));
  EXPECT_EQ(sizeOnDisk(file.path()), 5000);
}

TEST_F(FileMappingTest, ReadAtANegativePositionIsDropped) {
  openPatternFile(5000);
  ASSERT_TRUE(mapping.isOpen());
  mapping.seek(-8, 0);
  std::int64_t value = 42;
  EXPECT_FALSE(mapping.read(&value, 8));
  EXPECT_EQ(value, 42);
  EXPECT_EQ(mapping.position(), -8);
  EXPECT_EQ(sizeOnDisk(file.path()), 5000);
}

TEST_F(FileMappingTest, GrowthBeyondTheFreeDiskSpaceIsRefusedAndTheReadDropped) {
  openPatternFile(1000);
  ASSERT_TRUE(mapping.isOpen());
  platform::calls().freeDiskSpace = [](platform::FileHandle, std::int64_t* bytes) {
    *bytes = 50;
    return true;
  };
  mapping.seek(1000, 0);
  unsigned char bytes[100];
  std::memset(bytes, 0x5A, sizeof bytes);
  EXPECT_FALSE(mapping.read(bytes, 100));  // 100 more bytes than there are, 50 free
  for (unsigned char b : bytes) EXPECT_EQ(b, 0x5A);
  EXPECT_EQ(mapping.position(), 1000);
  EXPECT_EQ(sizeOnDisk(file.path()), 1000);

  // Only the refused read is dropped: the mapping of what the file holds stays, so a read inside the file
  // still succeeds, while no later read lengthens the file in this open.
  EXPECT_TRUE(mapping.hasMapping());
  mapping.seek(10, 0);
  EXPECT_TRUE(mapping.read(bytes, 10));
  for (int i = 0; i < 10; ++i) EXPECT_EQ(bytes[i], patternByte(10 + i)) << i;
  platform::calls().freeDiskSpace = [](platform::FileHandle, std::int64_t* bytes) {
    *bytes = 1 << 20;
    return true;
  };
  mapping.seek(1000, 0);
  EXPECT_FALSE(mapping.read(bytes, 10));
  EXPECT_EQ(sizeOnDisk(file.path()), 1000);
}

TEST_F(FileMappingTest, GrowthWithinTheFreeDiskSpaceLengthensTheFile) {
  openPatternFile(1000);
  ASSERT_TRUE(mapping.isOpen());
  platform::calls().freeDiskSpace = [](platform::FileHandle, std::int64_t* bytes) {
    *bytes = 50;
    return true;
  };
  mapping.seek(960, 0);
  unsigned char bytes[80];
  ASSERT_TRUE(mapping.read(bytes, 80));  // 40 more bytes, 50 free
  EXPECT_TRUE(matchesPattern(bytes, 960, 80, 1000));
  EXPECT_EQ(sizeOnDisk(file.path()), 1040);
}

TEST_F(FileMappingTest, FailedOpenLeavesItClosed) {
  TempFile missing;
  mapping.open(missing.path(), 0);
  EXPECT_FALSE(mapping.isOpen());
  EXPECT_FALSE(mapping.hasMapping());
  EXPECT_EQ(mapping.view(), nullptr);
  EXPECT_EQ(mapping.windowSize, 1024);
  EXPECT_EQ(mapping.mappingSize(), 0);
  EXPECT_EQ(mapping.fileSize(), 0);
  EXPECT_EQ(mapping.fileName(), "");
  EXPECT_EQ(sizeOnDisk(missing.path()), -1);  // nothing was created
  unsigned char byte = 7;
  EXPECT_FALSE(mapping.read(&byte, 1));
  EXPECT_EQ(byte, 7);
}

TEST_F(FileMappingTest, FailedOpenCallLeavesItClosedAndTouchesNothing) {
  writePatternFile(file.path(), 100);
  platform::calls().openExisting = [](const char*, platform::FileHandle*) { return false; };
  PlatformCallCounter counter;
  mapping.open(file.path(), 0);
  EXPECT_FALSE(mapping.isOpen());
  EXPECT_EQ(mapping.fileName(), "");
  EXPECT_EQ(counter.counts().openExisting, 1);
  EXPECT_EQ(counter.counts().closeFile, 0);
  EXPECT_EQ(counter.counts().mapView, 0);
  EXPECT_EQ(counter.counts().extendFile, 0);
  EXPECT_EQ(sizeOnDisk(file.path()), 100);
}

TEST_F(FileMappingTest, ADirectoryCannotBeOpened) {
  mapping.open(testing::TempDir(), 0);
  EXPECT_FALSE(mapping.isOpen());
}

TEST_F(FileMappingTest, WindowSizeForFloorsAtOneMebibyteAndIsThirtyPercentAbove) {
  EXPECT_EQ(windowSizeFor(0), 1048576);
  EXPECT_EQ(windowSizeFor(-5), 1048576);
  EXPECT_EQ(windowSizeFor(1000), 1048576);
  EXPECT_EQ(windowSizeFor(3000000), 1048576);  // 900,000
  EXPECT_EQ(windowSizeFor(3495253), 1048576);  // 1,048,575.9 truncates below the floor
  EXPECT_EQ(windowSizeFor(3495260), 1048578);  // 1,048,578.0
  EXPECT_EQ(windowSizeFor(10000000), 3000000);
  EXPECT_EQ(windowSizeFor(10000001), 3000000);  // 3,000,000.3 truncated
  EXPECT_EQ(windowSizeFor(10000004), 3000001);  // 3,000,001.2 truncated
  EXPECT_EQ(windowSizeFor(17179869184), 5153960755);  // 16 GiB: 5,153,960,755.2
}

TEST_F(FileMappingTest, AvailableMemoryWithoutABudgetAsksTheSystem) {
  platform::calls().availableMemory = [](std::int64_t* bytes) {
    *bytes = 777000000;
    return true;
  };
  platform::calls().processMemoryUse = [](std::int64_t* bytes) {
    *bytes = 3000000;
    return true;
  };
  memoryBudget = 0;
  PlatformCallCounter counter;
  EXPECT_EQ(availableMemory(), 777000000);
  EXPECT_EQ(counter.counts().availableMemory, 1);
  EXPECT_EQ(counter.counts().processMemoryUse, 0);
  memoryBudget = -4;
  EXPECT_EQ(availableMemory(), 777000000);
}

TEST_F(FileMappingTest, AvailableMemoryWithABudgetIsWhatThisProcessHasNotUsed) {
  platform::calls().availableMemory = [](std::int64_t* bytes) {
    *bytes = 777000000;
    return true;
  };
  platform::calls().processMemoryUse = [](std::int64_t* bytes) {
    *bytes = 3000000;
    return true;
  };
  PlatformCallCounter counter;
  memoryBudget = 10000000;
  EXPECT_EQ(availableMemory(), 7000000);
  EXPECT_EQ(counter.counts().availableMemory, 0);
  EXPECT_EQ(counter.counts().processMemoryUse, 1);
  memoryBudget = 3000001;
  EXPECT_EQ(availableMemory(), 1);
  memoryBudget = 3000000;
  EXPECT_EQ(availableMemory(), 0);
  memoryBudget = 1;
  EXPECT_EQ(availableMemory(), 0);
}

TEST_F(FileMappingTest, AvailableMemoryWhenTheSystemCannotTell) {
  platform::calls().availableMemory = [](std::int64_t*) { return false; };
  platform::calls().processMemoryUse = [](std::int64_t*) { return false; };
  memoryBudget = 0;
  EXPECT_EQ(availableMemory(), 0);
  memoryBudget = 5000000;  // no figure for the use: the whole budget
  EXPECT_EQ(availableMemory(), 5000000);
}

TEST_F(FileMappingTest, AvailableMemoryOfThisMachineWithATinyBudgetIsZero) {
  memoryBudget = 1;  // this process uses more than one byte
  EXPECT_EQ(availableMemory(), 0);
  EXPECT_EQ(windowSizeFor(availableMemory()), 1048576);
  memoryBudget = 0;
  EXPECT_GT(availableMemory(), 0);
}

}  // namespace
}  // namespace Zarn
