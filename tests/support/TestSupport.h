// Helpers shared by the tests: temporary files, the one tolerance check for doubles, the library's failure,
// and a counter of platform calls.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "kernelfile/platform.h"

namespace testsupport {

// A unique path under the test temp directory. Nothing is created; whatever exists at the path when the object
// goes out of scope is removed.
class TempFile {
 public:
  // `stem` only makes the name easier to recognise; uniqueness comes from a random tag and a counter.
  explicit TempFile(const std::string& stem = "kernel");
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }
  const char* c_str() const { return path_.c_str(); }

 private:
  std::string path_;
};

// Size on disk of the file at `path` (a stat, not through the library), or -1 when it does not exist.
std::int64_t sizeOnDisk(const std::string& path);
// The bytes of the file at `path`, read with the standard library.
std::string readWholeFile(const std::string& path);

// The one tolerance check for doubles: |value - expected| <= abs + rel * |expected|.
testing::AssertionResult approx(double value, double expected, double abs = 1e-12, double rel = 1e-12);

// Runs `action` and checks that it raises the library's one failure, the integer 1.
template <class F>
testing::AssertionResult raisesFailure(F&& action) {
  try {
    action();
  } catch (int value) {
    if (value == 1) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "raised the integer " << value << " instead of 1";
  } catch (...) {
    return testing::AssertionFailure() << "raised something other than the integer 1";
  }
  return testing::AssertionFailure() << "raised nothing";
}

// How many times each platform entry was called while a PlatformCallCounter was installed.
struct PlatformCounts {
  int openExisting = 0;
  int fileSize = 0;
  int extendFile = 0;
  int freeDiskSpace = 0;
  int createMapping = 0;
  int closeMapping = 0;
  int mapView = 0;
  int unmapView = 0;
  int closeFile = 0;
  int availableMemory = 0;
  int processMemoryUse = 0;
  int readAt = 0;
  std::int64_t lastMapOffset = -1;  // arguments of the latest mapView call, -1 before the first
  std::int64_t lastMapSize = -1;
};

// Wraps every entry of the platform table in force when it is constructed with a counting forwarder, and puts
// that table back when it is destroyed. Entries replaced after construction (fault injection) are not counted.
// Only one counter may be alive at a time.
class PlatformCallCounter {
 public:
  PlatformCallCounter();
  ~PlatformCallCounter();
  PlatformCallCounter(const PlatformCallCounter&) = delete;
  PlatformCallCounter& operator=(const PlatformCallCounter&) = delete;

  const PlatformCounts& counts() const;
  void reset();
};

// Base fixture for tests that touch process-wide state: TearDown puts the system's platform calls back, the
// memory budget to 0 and the allocation limit to unlimited, whether or not the test passed.
class PlatformTest : public testing::Test {
 protected:
  void TearDown() override;
};

}  // namespace testsupport
