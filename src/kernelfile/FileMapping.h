// FileMapping: the kernel file seen through one sliding, memory-mapped window.
//
// There is no read call that copies through a stream. A reader asks for n bytes to be in view (`ensureView`),
// takes a pointer into the view, advances the position by n and copies the bytes out; `read` and `take` do
// exactly that. Only one view exists at a time; a large window keeps remaps rare, so a small file is in practice
// one view from its first read to its last.
//
// Reading past the end of the file is not an error: the mapping is made larger, which lengthens the file on disk
// with zero bytes, and what is read there is zeros. A read for which no view can be made (the mapping or the view
// call failed, the position is negative, the size would overflow, or the disk has no room for the lengthening) is
// silently dropped: nothing is copied, the position does not move, the destination keeps what it held. A file is
// never lengthened beyond the free space of its file system, nor by more than kMaximumGrowth in one open.
//
// Positioned reads. A read shorter than kPositionedReadLimit that lies wholly inside the file as it was at open,
// and that the view in place does not cover, is served by a positioned read instead of a view: a `read` of
// kReadBlock bytes or more straight into its destination, anything shorter (and a `take` of up to kLargestBlock
// bytes) through a block of at least kReadBlock bytes around it that later nearby reads reuse. A few blocks are
// kept, so that reads alternating between places (section headers, records, columns) stay cheap. The bytes are
// the same, since the view and the positioned read both see the file; but a call that reads a few places of a
// large file neither maps it nor faults its pages in one at a time. Every other read (a long one, one that
// reaches past the end, one after the mapping is gone, one whose positioned read fails) goes through the view
// exactly as designed.
//
// Read-only mode (attachReadOnly, for handles). The file is read through read-only views that never cover a byte
// past the end of the file as it was at open, so a short file can never fault. A read that passes the end reads
// zeros there, as the read-write mapping would after lengthening the file, but nothing touches the file: the
// read is served from a zero-padded copy. The same bound holds: a read ending more than kMaximumGrowth past the
// end is dropped, and so is every later read past the end until `rearm`, as after a refused lengthening.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kernelfile/platform.h"

namespace Zarn {

// Whether reads inside the file may be served without the view (positioned reads, and the single-step flow's
// entry-by-entry column reads). On unless a test turns it off, to compare the answers with those of the mapped
// reads alone bit for bit.
extern bool positionedReadsEnabled;

class FileMapping {
 public:
  // Views start on multiples of this many bytes. Windows requires its views to start on 64 KiB boundaries; the
  // POSIX layer uses the same value so both behave alike.
  static constexpr std::int64_t kViewGranularity = 65536;
  // `windowSize` when constructed or closed; the owner sets the real figure after every `open`.
  static constexpr std::int64_t kClosedWindowSize = 1024;
  // How far one open may lengthen its file. Reading a little past the end of a short file lengthens it, as the
  // mapping does on every system; a position far past the end (a corrupt offset) must not leave a file gigabytes
  // longer, nor make the next call take it for a large file. Beyond this the mapping is refused and the read
  // dropped, as when the disk is full.
  static constexpr std::int64_t kMaximumGrowth = 0x100000;
  // Reads below this size that lie inside the file are served by positioned reads (see above).
  static constexpr std::int64_t kPositionedReadLimit = 0x100000;
  // The smallest block a positioned read fetches for the short reads around it, and how many blocks are kept.
  static constexpr std::int64_t kReadBlock = 0x1000;
  static constexpr int kBlockCount = 8;
  // `take` serves at most this many bytes from a block; a longer one is handed out from the view.
  static constexpr std::int64_t kLargestBlock = 0x10000;

  FileMapping() = default;
  virtual ~FileMapping();
  FileMapping(const FileMapping&) = delete;
  FileMapping& operator=(const FileMapping&) = delete;

  // Opens an existing file for reading and writing and creates its mapping. The mapping's size is
  // `requestedSize` if non-zero, else the file's size, else `windowSize` (which lengthens an empty file).
  // There is no result: success shows as `isOpen()`. A failed open leaves the object closed.
  void open(const std::string& name, std::int64_t requestedSize);
  // Reads `file` (opened for reading by somebody else, `size` bytes long at open) in read-only mode, without
  // owning it: close() forgets the file instead of closing it.
  void attachReadOnly(platform::FileHandle file, std::int64_t size, const std::string& name);
  // In read-only mode: starts afresh for a new query: no read past the end made or refused yet, no padded copy.
  void rearm();
  virtual void close();
  bool isOpen() const { return file_.isOpen; }
  bool isReadOnly() const { return readOnly_; }

  // Moves the logical position. whence 0: to `offset`; 1: by `offset`; any other value: to fileSize - offset.
  // Raises `fileSize` to the new position when it passes it. Maps nothing and touches no file. Returns 0, or
  // 0xFFFFFFFF when fileSize now exceeds the mapping (only the next ensureView grows the mapping).
  std::uint32_t seek(std::int64_t offset, int whence);

  // Afterwards either `view()` is null and nothing may be read, or the view covers n bytes from `position()`.
  // Neither outcome is an error. A read that passes the end of the mapping first grows the mapping (and the
  // file) to exactly position + n.
  void ensureView(std::int64_t n);

  // The calling order of every field read: ensureView(n); with no view, stop (false, destination untouched);
  // else copy n bytes from the current position to `destination` and advance by n.
  bool read(void* destination, std::int64_t n);
  // Like `read`, but hands out the pointer instead of copying: non-owning, valid until the next ensureView,
  // read, take or close. Null when no view could be made (the position then does not move).
  const unsigned char* take(std::int64_t n);

  // Makes this object share `source`'s open file and view without owning them: its close() forgets them
  // instead of releasing them, so the source stays valid. Used by the kernel's deep clone.
  void borrowFrom(const FileMapping& source);

  // Whether the n bytes from `offset` lie inside the file as it was at open and can be read now: read anywhere
  // within them, a read gives the file's own bytes and neither lengthens the file nor is dropped.
  bool liesInsideFile(std::int64_t offset, std::int64_t n) const {
    return positionedReadsEnabled && file_.isOpen && mappingOpen_ && offset >= 0 && n >= 0 &&
           offset <= openSize_ - n;
  }

  const void* view() const { return view_; }
  std::int64_t position() const { return position_; }
  std::int64_t fileSize() const { return fileSize_; }
  std::int64_t openSize() const { return openSize_; }  // the file's size when it was opened
  std::int64_t viewOffset() const { return viewOffset_; }
  std::int64_t viewSize() const { return viewSize_; }
  std::int64_t mappingSize() const { return mappingSize_; }
  bool hasMapping() const { return mappingOpen_; }
  const std::string& fileName() const { return fileName_; }

  // Smallest view to map. The owner sets it after open from the available memory (see windowSizeFor).
  std::int64_t windowSize = kClosedWindowSize;

 private:
  // Makes the mapping reach `n` bytes past the position, lengthening the file if need be. False when it cannot
  // (the growth is refused, or the end is not representable); the mapping then stays as it was.
  bool growMapping(std::int64_t n);
  void createMapping(std::int64_t size, std::int64_t knownLength);
  void closeMapping();
  void unmapView();
  bool viewCovers(std::int64_t offset, std::int64_t n) const;
  void ensureReadOnlyView(std::int64_t n, std::int64_t end);
  void copyPastTheEnd(std::int64_t n);
  bool positionedReadFits(std::int64_t n) const;
  const unsigned char* takeFromBlock(std::int64_t n);
  void dropBlocks();

  unsigned char* view_ = nullptr;  // start of the mapped view; null when none is mapped
  platform::FileHandle file_;      // the open file
  bool mappingOpen_ = false;       // a mapping of mappingSize_ bytes exists (the file is at least that long)
  bool borrowed_ = false;          // the file (and in borrowFrom the view) belongs to somebody else
  bool readOnly_ = false;          // read-only mode: views never pass the end, the file never grows
  bool paddedView_ = false;        // view_ is padded_ (read-only mode, a read past the end), not a mapping
  std::int64_t position_ = 0;      // logical read position, a byte offset from the start of the file
  std::int64_t fileSize_ = 0;      // the file's size at open; afterwards a high-water mark raised by seek
  std::int64_t viewOffset_ = 0;    // file offset of the byte at view_ (a multiple of kViewGranularity)
  std::int64_t viewSize_ = 0;      // bytes mapped at view_
  std::int64_t mappingSize_ = 0;   // size of the mapping
  std::int64_t openSize_ = 0;      // the file's size when it was opened; growth is measured from it
  bool growthRefused_ = false;  // a lengthening was refused in this open: no further one is tried
  std::string fileName_;           // path of the file
  std::vector<unsigned char> padded_;  // read-only mode: the bytes of a read past the end, zeros beyond it
  // Blocks of the file fetched by positioned reads: bytes [offset, offset + size) of the file; size 0 when unused.
  struct Block {
    std::vector<unsigned char> bytes;
    std::int64_t offset = 0;
    std::int64_t size = 0;
  };
  Block blocks_[kBlockCount];
  int nextBlock_ = 0;  // the block the next fetch replaces
  int lastBlock_ = 0;  // the block that served the latest read
  std::int64_t lastFetchOffset_ = 0;  // the file bytes the latest fetch read: [offset, offset + size)
  std::int64_t lastFetchSize_ = 0;
  int lastFetchBlock_ = -1;                // the block the latest fetch filled
  std::int64_t servedFromLastFetch_ = 0;  // bytes that reads have taken from it so far
  std::int64_t walkBlock_ = kReadBlock;  // the size of the latest fetch of a walk (see takeFromBlock)
};

// The process-wide memory budget in bytes. Zero at load; nothing in the library sets it. When it is 1 or more,
// availableMemory() reports what of it this process has not used yet (tests use it to force a small window).
extern std::int64_t memoryBudget;

// Memory the library may plan with, in bytes: with no budget set, the smaller of the available physical and
// virtual memory; with a budget, the budget less this process's use (0 once it is used up). 0 when unknown.
std::int64_t availableMemory();

// The window for a freshly opened file: 30% of the available memory, and never below 1 MiB.
std::int64_t windowSizeFor(std::int64_t available);

}  // namespace Zarn
