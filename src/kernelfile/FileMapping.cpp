#include "kernelfile/FileMapping.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/Allocation.h"
#include "base/Checked.h"

namespace Zarn {

std::int64_t memoryBudget = 0;
bool positionedReadsEnabled = true;

std::int64_t availableMemory() {
  const platform::Calls& sys = platform::calls();
  std::int64_t figure = 0;
  if (memoryBudget < 1) {
    return sys.availableMemory(&figure) ? figure : 0;
  }
  std::int64_t used = 0;
  if (!sys.processMemoryUse(&used)) used = 0;
  return used >= memoryBudget ? 0 : memoryBudget - used;
}

std::int64_t windowSizeFor(std::int64_t available) {
  constexpr std::int64_t kFloor = 0x100000;  // 1 MiB: even with no memory to spare, views stay a useful size
  const double share = static_cast<double>(available) * 0.3;
  // A double beyond the int64 range cannot be converted; no machine has that much memory, so clamp.
  const std::int64_t window = share >= 9.2e18 ? INT64_MAX : static_cast<std::int64_t>(share);
  return std::max(window, kFloor);
}

FileMapping::~FileMapping() { FileMapping::close(); }

void FileMapping::open(const std::string& name, std::int64_t requestedSize) {
  if (&name != &fileName_) fileName_ = name;
  platform::FileHandle handle;
  if (!platform::calls().openExisting(fileName_.c_str(), &handle)) {
    file_ = platform::FileHandle{};
    close();
    return;
  }
  file_ = handle;
  std::int64_t size = 0;
  if (!platform::calls().fileSize(file_, &size) || size < 0) size = 0;
  fileSize_ = size;
  openSize_ = size;
  mappingSize_ = requestedSize != 0 ? requestedSize : (fileSize_ != 0 ? fileSize_ : windowSize);
  // The size was measured just now: a mapping no longer than it needs no second look at the file.
  if (mappingSize_ != 0) createMapping(mappingSize_, size);
}

void FileMapping::attachReadOnly(platform::FileHandle file, std::int64_t size, const std::string& name) {
  close();
  fileName_ = name;
  file_ = file;
  borrowed_ = true;
  readOnly_ = true;
  fileSize_ = size < 0 ? 0 : size;
  openSize_ = fileSize_;
  mappingSize_ = fileSize_;
  mappingOpen_ = true;
}

void FileMapping::rearm() {
  if (!readOnly_) return;
  growthRefused_ = false;
  mappingSize_ = openSize_;
  if (paddedView_) unmapView();  // a padded copy is dropped with its memory
  padded_.clear();
  padded_.shrink_to_fit();
}

// Creates the mapping of `size` bytes. As with a system mapping object that is larger than its file, the file is
// lengthened to `size`. A lengthening beyond the free space of the file system, or by more than kMaximumGrowth
// since the open, is refused, and so is a negative size: the mapping then does not exist. growMapping then
// restores the mapping it had, so that only the read that asked for the growth is dropped. `knownLength` is the
// file's length when the caller has just measured it (-1 otherwise): a mapping no longer than that needs no new
// measurement.
void FileMapping::createMapping(std::int64_t size, std::int64_t knownLength) {
  mappingOpen_ = false;
  if (size <= 0 || !file_.isOpen) return;
  std::int64_t current = knownLength;
  if (size > knownLength && !platform::calls().fileSize(file_, &current)) return;
  if (size > current) {
    if (size - openSize_ > kMaximumGrowth) return;
    std::int64_t freeBytes = 0;
    if (!platform::calls().freeDiskSpace(file_, &freeBytes) || size - current > freeBytes) return;
    if (!platform::calls().extendFile(file_, size)) return;
  }
  mappingOpen_ = platform::calls().createMapping(file_, size);
}

void FileMapping::closeMapping() {
  if (mappingOpen_ && !borrowed_) platform::calls().closeMapping(file_);
  mappingOpen_ = false;
}

void FileMapping::unmapView() {
  // In read-only mode the views are this object's own, though the file is not; a padded copy is no mapping.
  if (view_ != nullptr && (!borrowed_ || readOnly_) && !paddedView_) platform::calls().unmapView(view_, viewSize_);
  paddedView_ = false;
  view_ = nullptr;
  viewOffset_ = 0;
  viewSize_ = 0;
}

void FileMapping::close() {
  unmapView();
  closeMapping();
  if (file_.isOpen && !borrowed_) platform::calls().closeFile(file_);
  file_ = platform::FileHandle{};
  borrowed_ = false;
  readOnly_ = false;
  padded_.clear();
  padded_.shrink_to_fit();
  dropBlocks();
  position_ = 0;
  fileSize_ = 0;
  viewOffset_ = 0;
  viewSize_ = 0;
  mappingSize_ = 0;
  openSize_ = 0;
  growthRefused_ = false;
  windowSize = kClosedWindowSize;
  fileName_.clear();
}

std::uint32_t FileMapping::seek(std::int64_t offset, int whence) {
  std::int64_t target = 0;
  bool ok;
  if (whence == 1) {
    ok = checkedAdd(position_, offset, &target);
  } else if (whence == 0) {
    target = offset;
    ok = true;
  } else {
    ok = offset != INT64_MIN && checkedAdd(fileSize_, -offset, &target);
  }
  // A position that cannot be represented is parked where no view can be made: every read there is dropped.
  position_ = ok ? target : -1;
  fileSize_ = std::max(fileSize_, position_);
  return fileSize_ > mappingSize_ ? 0xFFFFFFFFu : 0u;
}

bool FileMapping::viewCovers(std::int64_t offset, std::int64_t n) const {
  if (offset < viewOffset_) return false;
  return offset - viewOffset_ <= viewSize_ - n && view_ != nullptr;
}

bool FileMapping::growMapping(std::int64_t n) {
  std::int64_t end = 0;
  if (!checkedAdd(n, position_, &end)) return false;
  if (end <= mappingSize_) return true;
  // After one refusal the file is not lengthened any more in this open, so that a refused call leaves the file
  // as it found it.
  if (growthRefused_) return false;
  const std::int64_t previous = mappingSize_;
  unmapView();
  closeMapping();
  createMapping(end, -1);
  if (mappingOpen_) {
    mappingSize_ = end;
    return true;
  }
  growthRefused_ = true;
  // The growth was refused: only this read is dropped. The mapping of what the file already holds is made
  // again, so that later reads inside it still succeed.
  mappingSize_ = previous;
  if (mappingSize_ > 0) createMapping(mappingSize_, -1);
  return false;
}

void FileMapping::ensureView(std::int64_t n) {
  std::int64_t end = 0;
  if (n < 0 || position_ < 0 || !checkedAdd(position_, n, &end)) {
    // Nothing can be mapped at a negative position or past the largest offset; the read is dropped.
    unmapView();
    return;
  }
  if (readOnly_) {
    ensureReadOnlyView(n, end);
    return;
  }
  if (!growMapping(n) || !mappingOpen_) {
    unmapView();
    return;
  }
  std::int64_t size = std::min(std::max(n, windowSize), mappingSize_ - position_);
  if (viewCovers(position_, n)) return;
  unmapView();
  const std::int64_t r = position_ % kViewGranularity;
  viewOffset_ = position_ - r;
  size += r;
  viewSize_ = size;
  view_ = static_cast<unsigned char*>(platform::calls().mapView(file_, viewOffset_, viewSize_));
}

// Read-only mode. The file's own bytes come from read-only views that end at the end of the file; a read that
// passes the end is served from a padded copy. mappingSize_ plays the part of the lengthened file: a read up to it
// reads zeros past the end. As in read-write mode, a read that would lengthen it beyond the bound is dropped, and
// after one such refusal no read lengthens it any more until `rearm`; reads inside it still succeed.
void FileMapping::ensureReadOnlyView(std::int64_t n, std::int64_t end) {
  if (end > mappingSize_) {
    if (growthRefused_ || end - openSize_ > kMaximumGrowth) {
      growthRefused_ = true;
      unmapView();
      return;
    }
    mappingSize_ = end;
  }
  if (viewCovers(position_, n)) return;
  if (end > openSize_) {
    copyPastTheEnd(n);
    return;
  }
  unmapView();
  std::int64_t size = std::min(std::max(n, windowSize), openSize_ - position_);
  const std::int64_t r = position_ % kViewGranularity;
  viewOffset_ = position_ - r;
  size += r;
  viewSize_ = size;
  view_ = static_cast<unsigned char*>(platform::calls().mapViewReadOnly(file_, viewOffset_, viewSize_));
}

// The n bytes from the position, of which those past the end of the file are zeros, into padded_. The copy is an
// array sized by the file, so it is held to the allocation limit; with no view of the file's part, or beyond the
// limit, the read is dropped.
void FileMapping::copyPastTheEnd(std::int64_t n) {
  unmapView();
  if (n > allocationLimit || n < 0) return;
  padded_.assign(static_cast<std::size_t>(n), 0);
  const std::int64_t inFile = std::max<std::int64_t>(0, std::min(n, openSize_ - position_));
  if (inFile > 0) {
    const std::int64_t r = position_ % kViewGranularity;
    void* part = platform::calls().mapViewReadOnly(file_, position_ - r, inFile + r);
    if (part == nullptr) return;
    std::memcpy(padded_.data(), static_cast<unsigned char*>(part) + r, static_cast<std::size_t>(inFile));
    platform::calls().unmapView(part, inFile + r);
  }
  view_ = padded_.data();
  paddedView_ = true;
  viewOffset_ = position_;
  viewSize_ = n;
}

void FileMapping::dropBlocks() {
  for (Block& block : blocks_) {
    block.bytes.clear();
    block.bytes.shrink_to_fit();  // a call keeps nothing
    block.offset = 0;
    block.size = 0;
  }
  nextBlock_ = 0;
  lastBlock_ = 0;
  lastFetchOffset_ = 0;
  lastFetchSize_ = 0;
  lastFetchBlock_ = -1;
  servedFromLastFetch_ = 0;
  walkBlock_ = kReadBlock;
}

// Whether the n bytes from the position may come from a positioned read: a read-write file of this object's own
// whose mapping exists, and bytes that lie inside the file as it was at open (so nothing would grow).
bool FileMapping::positionedReadFits(std::int64_t n) const {
  if (!positionedReadsEnabled || readOnly_ || borrowed_ || !mappingOpen_ || !file_.isOpen) return false;
  if (n <= 0 || n >= kPositionedReadLimit || position_ < 0) return false;
  return position_ <= openSize_ - n && position_ <= mappingSize_ - n;
}

// The n bytes from the position out of a block, fetching a block first when none holds them. Null when the view
// in place covers them (the view serves as designed) or a positioned read cannot serve them.
const unsigned char* FileMapping::takeFromBlock(std::int64_t n) {
  if (view_ != nullptr && viewCovers(position_, n)) return nullptr;
  // Blocks serve only while positioned reads may (with no mapping every read is dropped, as through the view). A
  // long read handed out in place comes from the view: blocks stay small, and so does a call's memory.
  if (n > kLargestBlock || !positionedReadFits(n)) return nullptr;
  // The block that served last is tried first: reads mostly follow one another.
  for (int i = 0; i < kBlockCount; ++i) {
    const int index = (lastBlock_ + i) % kBlockCount;
    const Block& block = blocks_[index];
    if (block.size > 0 && position_ >= block.offset && position_ - block.offset <= block.size - n) {
      lastBlock_ = index;
      if (index == lastFetchBlock_) servedFromLastFetch_ += n;
      const unsigned char* p = block.bytes.data() + (position_ - block.offset);
      seek(n, 1);
      return p;
    }
  }
  // From the page that holds the position, whole pages, never past the end of the file. A fetch that starts
  // inside or right behind the previous one, after reads used at least half of that one, continues a walk
  // through the file (records one after another, a read that straddles a block's end): each such fetch doubles,
  // up to kLargestBlock, so that a walk over n bytes costs about log(n) reads instead of n / kReadBlock. Reads
  // that skip along (a few records far apart) keep fetching single pages.
  const std::int64_t start = position_ - position_ % kReadBlock;
  const bool continuesWalk = lastFetchSize_ > 0 && start >= lastFetchOffset_ &&
                             start <= lastFetchOffset_ + lastFetchSize_ && 2 * servedFromLastFetch_ >= lastFetchSize_;
  walkBlock_ = continuesWalk ? std::min(2 * walkBlock_, kLargestBlock) : kReadBlock;
  const std::int64_t needed = position_ + n - start;
  const std::int64_t wholePages = (needed + kReadBlock - 1) / kReadBlock * kReadBlock;
  const std::int64_t size = std::min(std::max(wholePages, walkBlock_), openSize_ - start);
  Block& block = blocks_[nextBlock_];
  block.size = 0;
  try {
    if (static_cast<std::int64_t>(block.bytes.size()) < size) block.bytes.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return nullptr;  // the view serves instead
  }
  if (!platform::calls().readAt(file_, start, block.bytes.data(), size)) return nullptr;
  block.offset = start;
  block.size = size;
  lastFetchOffset_ = start;
  lastFetchSize_ = size;
  lastFetchBlock_ = nextBlock_;
  servedFromLastFetch_ = n;
  lastBlock_ = nextBlock_;
  nextBlock_ = (nextBlock_ + 1) % kBlockCount;
  const unsigned char* p = block.bytes.data() + (position_ - start);
  seek(n, 1);
  return p;
}

const unsigned char* FileMapping::take(std::int64_t n) {
  if (const unsigned char* p = takeFromBlock(n)) return p;
  ensureView(n);
  if (view_ == nullptr) return nullptr;
  const unsigned char* p = view_ + (position_ - viewOffset_);
  seek(n, 1);
  return p;
}

bool FileMapping::read(void* destination, std::int64_t n) {
  // A read of a block's size or more that fits goes straight into its destination.
  if (n >= kReadBlock && !(view_ != nullptr && viewCovers(position_, n)) && positionedReadFits(n) &&
      platform::calls().readAt(file_, position_, destination, n)) {
    seek(n, 1);
    return true;
  }
  const unsigned char* p = take(n);
  if (p == nullptr) return false;
  if (n > 0) std::memcpy(destination, p, static_cast<size_t>(n));
  return true;
}

void FileMapping::borrowFrom(const FileMapping& source) {
  close();
  view_ = source.view_;
  file_ = source.file_;
  mappingOpen_ = source.mappingOpen_;
  borrowed_ = true;
  position_ = source.position_;
  fileSize_ = source.fileSize_;
  viewOffset_ = source.viewOffset_;
  viewSize_ = source.viewSize_;
  mappingSize_ = source.mappingSize_;
  openSize_ = source.openSize_;
  growthRefused_ = source.growthRefused_;
  windowSize = source.windowSize;
  fileName_ = source.fileName_;
}

}  // namespace Zarn
