#include "support/TestSupport.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

#include "kernelfile/FileMapping.h"
#include "base/Allocation.h"

namespace testsupport {

namespace fs = std::filesystem;

TempFile::TempFile(const std::string& stem) {
  // A random tag per process keeps test binaries that run side by side apart; the serial keeps the files of
  // one process apart.
  static const unsigned tag = std::random_device{}();
  static int serial = 0;
  const std::string name =
      "timekernel_" + stem + "_" + std::to_string(tag) + "_" + std::to_string(++serial) + ".bin";
  path_ = (fs::path(testing::TempDir()) / name).string();
  std::error_code ignored;
  fs::remove(path_, ignored);
}

TempFile::~TempFile() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::int64_t sizeOnDisk(const std::string& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return error ? -1 : static_cast<std::int64_t>(size);
}

std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

testing::AssertionResult approx(double value, double expected, double abs, double rel) {
  const double difference = std::fabs(value - expected);
  if (difference <= abs + rel * std::fabs(expected)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << value << " differs from " << expected << " by " << difference
                                     << " (allowed " << abs << " + " << rel << " relative)";
}

// ---- platform call counter ----

namespace {

namespace platform = Zarn::platform;

platform::Calls gInner;  // the table the forwarders call
PlatformCounts gCounts;

bool countOpenExisting(const char* path, platform::FileHandle* file) {
  ++gCounts.openExisting;
  return gInner.openExisting(path, file);
}
bool countFileSize(platform::FileHandle file, std::int64_t* size) {
  ++gCounts.fileSize;
  return gInner.fileSize(file, size);
}
bool countExtendFile(platform::FileHandle file, std::int64_t size) {
  ++gCounts.extendFile;
  return gInner.extendFile(file, size);
}
bool countFreeDiskSpace(platform::FileHandle file, std::int64_t* bytes) {
  ++gCounts.freeDiskSpace;
  return gInner.freeDiskSpace(file, bytes);
}
bool countCreateMapping(platform::FileHandle file, std::int64_t size) {
  ++gCounts.createMapping;
  return gInner.createMapping(file, size);
}
void countCloseMapping(platform::FileHandle file) {
  ++gCounts.closeMapping;
  gInner.closeMapping(file);
}
void* countMapView(platform::FileHandle file, std::int64_t offset, std::int64_t size) {
  ++gCounts.mapView;
  gCounts.lastMapOffset = offset;
  gCounts.lastMapSize = size;
  return gInner.mapView(file, offset, size);
}
void countUnmapView(void* view, std::int64_t size) {
  ++gCounts.unmapView;
  gInner.unmapView(view, size);
}
void countCloseFile(platform::FileHandle file) {
  ++gCounts.closeFile;
  gInner.closeFile(file);
}
bool countAvailableMemory(std::int64_t* bytes) {
  ++gCounts.availableMemory;
  return gInner.availableMemory(bytes);
}
bool countProcessMemoryUse(std::int64_t* bytes) {
  ++gCounts.processMemoryUse;
  return gInner.processMemoryUse(bytes);
}

bool countReadAt(platform::FileHandle file, std::int64_t offset, void* destination, std::int64_t size) {
  ++gCounts.readAt;
  return gInner.readAt(file, offset, destination, size);
}

}  // namespace

PlatformCallCounter::PlatformCallCounter() {
  gInner = platform::calls();
  gCounts = PlatformCounts{};
  platform::Calls& table = platform::calls();
  table.openExisting = countOpenExisting;
  table.fileSize = countFileSize;
  table.extendFile = countExtendFile;
  table.freeDiskSpace = countFreeDiskSpace;
  table.createMapping = countCreateMapping;
  table.closeMapping = countCloseMapping;
  table.mapView = countMapView;
  table.unmapView = countUnmapView;
  table.closeFile = countCloseFile;
  table.availableMemory = countAvailableMemory;
  table.processMemoryUse = countProcessMemoryUse;
  table.readAt = countReadAt;
}

PlatformCallCounter::~PlatformCallCounter() { platform::calls() = gInner; }

const PlatformCounts& PlatformCallCounter::counts() const { return gCounts; }

void PlatformCallCounter::reset() { gCounts = PlatformCounts{}; }

void PlatformTest::TearDown() {
  platform::resetCalls();
  Zarn::memoryBudget = 0;
  Zarn::allocationLimit = INT64_MAX;
  Zarn::positionedReadsEnabled = true;
}

}  // namespace testsupport
