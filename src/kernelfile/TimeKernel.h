// TimeKernel: the kernel file as an object: a named file with a table of 27 section positions.
//
// File header, from offset 0, little-endian, packed (220 bytes):
//
//   OFFSET  SIZE  FIELD
//        0     4  format number, signed 32-bit; must be 100
//        4   216  27 x signed 64-bit: absolute file offset of each section, -1 when the section is absent
//
// Section header, at each section's position (the payload follows at offset 12):
//
//   OFFSET  SIZE  FIELD
//        0     4  section number, equal to the section's slot in the table
//        4     4  first count a
//        8     4  second count b
//
// The table leaves the sections' physical order free: readers always go through it. ReadTimeKernel is the read
// side; this class only holds the name and the table.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "base/Base.h"

namespace Zarn {

class TimeKernel : public Base {
 public:
  static constexpr int kSectionCount = 27;
  static constexpr std::int32_t kFormatNumber = 100;
  static constexpr std::int64_t kHeaderSize = 4 + 8 * kSectionCount;
  static constexpr std::int64_t kSectionHeaderSize = 12;

  TimeKernel();
  ~TimeKernel() override;

  // Kept as part of the object model; no export reaches it (the doors never clone).
  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernel"; }

  // Closes the stream if one is open and marks every section absent.
  virtual void close();
  // The read position, or 0 with nothing open.
  virtual std::int64_t tell() const;
  // Moves the read position to an offset from the start, if something is open.
  virtual void seek(std::int64_t offset);

  // Kept as part of the object model; no export reaches it.
  std::FILE* stream = nullptr;                      // no read cycle opens it; stays null
  std::string fileName;                             // path of the kernel file
  std::int64_t sectionPositions[kSectionCount];     // absolute offset of each section, -1 when absent

 protected:
  // Copies this object's own fields into `target` (for a deep clone).
  void copyTimeKernelFields(TimeKernel& target) const;
};

}  // namespace Zarn
