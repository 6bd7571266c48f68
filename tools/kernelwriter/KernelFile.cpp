// The kernel file as a whole: the file header, the section table, the sections, and where the records go.
//
// File header:
//   OFFSET  SIZE  FIELD
//   0       4     format number (i32)
//   4       216   27 section positions (i64 each), absolute offsets, -1 for an absent section
//
// Section, at its position:
//   OFFSET  SIZE  FIELD
//   0       4     section number (i32), the slot unless overridden
//   4       4     first count a (i32)
//   8       4     second count b (i32)
//   12      ...   payload
//
// Payload of a matrix section (every slot but 2 and 3): a * b doubles, column-major, entry (i, j) at
// 12 + (j * a + i) * 8 from the position.
//
// Payload of a directory (slots 2 and 3), n entries:
//   OFFSET  SIZE  FIELD
//   0       4n    ids (i32 each)
//   4n      8n    absolute offsets of the records (i64 each), in the same order
// Readers take n from the first count and do not use the second; the writer puts n in both, so that the
// header of a directory reads the same whichever count a tool looks at.
//
// Everything is placed before anything is written (plan), because the table at the front and the directories
// hold offsets of things that come later; the bytes then go out in one pass in file order (emit).
#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "kernelwriter/ByteSink.h"
#include "kernelwriter/KernelWriter.h"
#include "kernelwriter/RecordEncoding.h"

namespace kernelwriter {

namespace {

// Larger matrix payloads are refused: no disk holds 2^56 bytes, and the bound keeps the sum of 27 sections and
// the records far from overflowing a 64-bit offset.
constexpr int64_t kMaxPayloadBytes = int64_t(1) << 56;

void checkSlot(int section) {
  if (section < 0 || section >= kSectionCount)
    throw std::out_of_range("kernelwriter: section " + std::to_string(section) + " is outside 0..26");
}

bool isDirectory(int section) { return section == kNodeDirectory || section == kElementDirectory; }

void checkMatrixSlot(int section, int32_t a, int32_t b) {
  checkSlot(section);
  if (isDirectory(section))
    throw std::invalid_argument("kernelwriter: section " + std::to_string(section) + " is a directory");
  if (a < 0 || b < 0) throw std::invalid_argument("kernelwriter: negative matrix counts");
  if (int64_t(a) * int64_t(b) > kMaxPayloadBytes / 8)  // a * b < 2^62 cannot overflow
    throw std::length_error("kernelwriter: matrix section too large");
}

}  // namespace

struct KernelFile::Plan {
  Layout layout;                               // where everything lands
  std::array<int64_t, kSectionCount> table;    // the entries written into the file header
  std::vector<int> sectionOrder;               // the present sections, in file order
  int64_t sectionSize[kSectionCount] = {};     // header plus payload, for present sections
};

void KernelFile::setMatrix(int section, int32_t a, int32_t b, std::vector<double> columnMajor) {
  checkMatrixSlot(section, a, b);
  if (columnMajor.size() != uint64_t(int64_t(a) * int64_t(b)))
    throw std::invalid_argument("kernelwriter: section " + std::to_string(section) +
                                " values do not match a * b");
  Section& s = sections_[section];
  s.present = true;
  s.a = a;
  s.b = b;
  s.values = std::move(columnMajor);
  s.gen = nullptr;
}

void KernelFile::setMatrix(int section, int32_t a, int32_t b,
                           std::function<double(int64_t row, int64_t col)> gen) {
  checkMatrixSlot(section, a, b);
  if (!gen) throw std::invalid_argument("kernelwriter: empty generator");
  Section& s = sections_[section];
  s.present = true;
  s.a = a;
  s.b = b;
  s.values = std::vector<double>();  // release the memory of an earlier vector form
  s.gen = std::move(gen);
}

void KernelFile::removeSection(int section) {
  checkSlot(section);
  if (isDirectory(section)) {
    setDirectoryPresent(section, false);
    return;
  }
  Section& s = sections_[section];
  s.present = false;
  s.a = s.b = 0;
  s.values = std::vector<double>();
  s.gen = nullptr;
}

void KernelFile::addNode(int32_t id, NodeRecord r) {
  nodeDirectory_.entries.push_back({id, int64_t(nodes_.size()), 0});
  nodes_.push_back(std::move(r));
}

void KernelFile::addElement(int32_t id, ElementRecord r) {
  elementDirectory_.entries.push_back({id, int64_t(elements_.size()), 0});
  elements_.push_back(std::move(r));
}

void KernelFile::addNodeDirectoryEntry(int32_t id, int64_t offset) {
  nodeDirectory_.entries.push_back({id, -1, offset});
}

void KernelFile::addElementDirectoryEntry(int32_t id, int64_t offset) {
  elementDirectory_.entries.push_back({id, -1, offset});
}

void KernelFile::setDirectoryPresent(int section, bool present) {
  checkSlot(section);
  if (!isDirectory(section))
    throw std::invalid_argument("kernelwriter: section " + std::to_string(section) + " is not a directory");
  (section == kNodeDirectory ? nodeDirectory_ : elementDirectory_).present = present;
}

void KernelFile::setSectionHeaderOverride(int section, int32_t number, int32_t a, int32_t b) {
  checkSlot(section);
  sections_[section].header = std::array<int32_t, 3>{number, a, b};
}

void KernelFile::setPositionOverride(int section, int64_t position) {
  checkSlot(section);
  sections_[section].position = position;
}

void KernelFile::setPhysicalOrder(std::vector<int> sections) {
  bool seen[kSectionCount] = {};
  for (int s : sections) {
    checkSlot(s);
    if (seen[s]) throw std::invalid_argument("kernelwriter: section " + std::to_string(s) + " listed twice");
    seen[s] = true;
  }
  physicalOrder_ = std::move(sections);
}

const KernelFile::Directory& KernelFile::directory(int section) const {
  return section == kNodeDirectory ? nodeDirectory_ : elementDirectory_;
}

bool KernelFile::directoryPresent(int section) const {
  const Directory& d = directory(section);
  return d.present.value_or(!d.entries.empty());
}

KernelFile::Plan KernelFile::plan() const {
  Plan p;
  auto present = [this](int s) { return isDirectory(s) ? directoryPresent(s) : sections_[s].present; };

  bool placed[kSectionCount] = {};
  for (int s : physicalOrder_) {
    if (present(s)) p.sectionOrder.push_back(s);
    placed[s] = true;
  }
  for (int s = 0; s < kSectionCount; ++s)
    if (!placed[s] && present(s)) p.sectionOrder.push_back(s);

  for (int s : p.sectionOrder) {
    if (isDirectory(s)) {
      const size_t n = directory(s).entries.size();
      if (n > size_t(std::numeric_limits<int32_t>::max()))
        throw std::length_error("kernelwriter: directory count does not fit its 32-bit field");
      p.sectionSize[s] = kSectionHeaderSize + 12 * int64_t(n);
    } else {
      p.sectionSize[s] = kSectionHeaderSize + 8 * int64_t(sections_[s].a) * sections_[s].b;
    }
  }

  int64_t at = kFileHeaderSize;
  auto placeRecords = [&] {
    for (const NodeRecord& r : nodes_) {
      p.layout.nodeRecordOffsets.push_back(at);
      at += r.byteSize();
    }
    for (const ElementRecord& r : elements_) {
      p.layout.elementRecordOffsets.push_back(at);
      at += r.byteSize();
    }
  };
  if (recordsBeforeSections) placeRecords();
  for (int s : p.sectionOrder) {
    p.layout.sectionPositions[s] = at;
    at += p.sectionSize[s];
  }
  if (!recordsBeforeSections) placeRecords();
  p.layout.fileSize = at;

  for (int s = 0; s < kSectionCount; ++s)
    p.table[s] = sections_[s].position.value_or(p.layout.sectionPositions[s]);
  return p;
}

void KernelFile::emit(ByteSink& out, const Plan& p) const {
  out.putI32(formatNumber);
  for (int64_t position : p.table) out.putI64(position);

  auto emitRecords = [&] {
    for (const NodeRecord& r : nodes_) encode(out, r);
    for (const ElementRecord& r : elements_) encode(out, r);
  };
  if (recordsBeforeSections) emitRecords();

  for (int s : p.sectionOrder) {
    const Section& sec = sections_[s];
    if (isDirectory(s)) {
      const Directory& d = directory(s);
      const std::vector<int64_t>& recordOffsets =
          s == kNodeDirectory ? p.layout.nodeRecordOffsets : p.layout.elementRecordOffsets;
      const int32_t n = int32_t(d.entries.size());
      const std::array<int32_t, 3> header = sec.header.value_or(std::array<int32_t, 3>{s, n, n});
      for (int32_t v : header) out.putI32(v);
      for (const DirectoryEntry& e : d.entries) out.putI32(e.id);
      for (const DirectoryEntry& e : d.entries)
        out.putI64(e.recordIndex < 0 ? e.rawOffset : recordOffsets[size_t(e.recordIndex)]);
    } else {
      const std::array<int32_t, 3> header = sec.header.value_or(std::array<int32_t, 3>{s, sec.a, sec.b});
      for (int32_t v : header) out.putI32(v);
      if (sec.gen) {
        for (int64_t col = 0; col < sec.b; ++col)
          for (int64_t row = 0; row < sec.a; ++row) out.putF64(sec.gen(row, col));
      } else {
        for (double v : sec.values) out.putF64(v);
      }
    }
  }

  if (!recordsBeforeSections) emitRecords();

  // The plan and the encoders compute sizes separately; a disagreement would put every offset in the table
  // and the directories out of step with the bytes.
  if (out.written() != p.layout.fileSize)
    throw std::logic_error("kernelwriter: written size differs from the planned layout");
}

Layout KernelFile::write(const std::string& path) const {
  const Plan p = plan();
  FileSink out(path);
  emit(out, p);
  out.finishFile();
  return p.layout;
}

std::vector<uint8_t> KernelFile::bytes(Layout* layout) const {
  const Plan p = plan();
  std::vector<uint8_t> result;
  result.reserve(size_t(p.layout.fileSize));
  MemorySink out(result);
  emit(out, p);
  out.finish();
  if (layout != nullptr) *layout = p.layout;
  return result;
}

}  // namespace kernelwriter
