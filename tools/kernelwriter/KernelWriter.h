// Builds kernel files byte by byte, for tests, examples, fuzz seeds and benchmarks.
//
// This is a second, independent implementation of the file format: it shares no code with the reader in src/,
// so that a test which writes a file here and reads it there compares two readings of the format. It is a
// faithful writer, not a model builder: every count and field is written as the caller gives it, and the
// few `make` helpers only fill counts consistently. Hostile files come from the literal record fields, the
// header and position overrides, raw directory entries, and the patch helpers at the bottom.
//
// All multi-byte values are written little-endian, packed, with no alignment, whatever the host.
//
// Errors of use (a section number out of range, a value list whose length disagrees with its shape, a file
// that cannot be written) throw standard exceptions with a message; none of them is the reader's failure.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kernelwriter {

class ByteSink;

constexpr int kSectionCount = 27;          // slots of the section table
constexpr int64_t kFileHeaderSize = 220;   // format number (4) + 27 positions (8 each)
constexpr int64_t kSectionHeaderSize = 12; // number, a, b; the payload starts right after
constexpr int kNodeDirectory = 2;          // the two sections whose payload is a directory, not a matrix
constexpr int kElementDirectory = 3;

// An element table: rows (u32), cols (u32), then `values` as given. rows and cols are written literally, even
// when they disagree with values.size(), so that tests can build short or lying tables.
struct Table {
  uint32_t rows = 0;
  uint32_t cols = 0;
  std::vector<double> values;  // column-major: entry (i, j) is values[j * rows + i]

  // A consistent table. Throws std::invalid_argument when columnMajor.size() != rows * cols.
  static Table matrix(uint32_t rows, uint32_t cols, std::vector<double> columnMajor);

  int64_t byteSize() const;  // 8 + 8 * values.size(): what this table takes in a record
};

// A node record. Every field is written literally and in full: `count` is not checked against the arrays,
// and `transform` is written whole whenever it is non-empty, whatever `hasTransform` says.
struct NodeRecord {
  uint32_t count = 0;               // n, the number of degrees of freedom
  uint32_t hasTransform = 0;        // 0: no rotation; any other value: the nine reals follow
  std::vector<uint32_t> dofRows;    // rows in the response tables
  std::vector<int32_t> dofCodes;    // component codes: -1000 for none, else component index - 999
  std::vector<double> transform;    // 9 reals, row by row, when present; empty otherwise

  // A consistent record without rotation: count = rows.size(), hasTransform 0. Throws std::invalid_argument
  // when the two lists differ in length.
  static NodeRecord make(std::vector<uint32_t> rows, std::vector<int32_t> codes);
  // The same with hasTransform 1 and the nine reals `t` in file order.
  static NodeRecord make(std::vector<uint32_t> rows, std::vector<int32_t> codes, std::array<double, 9> t);

  // Bytes this record takes: 8 + 4 * (dofRows + dofCodes) + 8 * transform. For a consistent record that is
  // 8 + 8n, plus 72 with a rotation.
  int64_t byteSize() const;
};

// An element record, with its fields in file order. Every field is written literally and in full.
struct ElementRecord {
  int32_t typeCode = 0;
  uint32_t dofCount = 0;            // n, written as given
  std::vector<uint32_t> dofRows;    // written whole, whatever dofCount says
  Table forceRotation, stressRotation, forceOffset, stressOffset;
  uint32_t referenceCount = 0;      // m, written as given
  std::vector<double> referenceDisplacement;  // written whole, whatever referenceCount says
  Table forceLoad, stressLoad, forceRecovery, stressRecovery, velocityForce;
  Table tenth;                      // the last table of a record; readers skip its values

  // dofCount = dofRows.size(), referenceCount 0, all eleven tables empty (0 x 0).
  static ElementRecord make(int32_t typeCode, std::vector<uint32_t> dofRows);
  // Sets referenceDisplacement and a matching referenceCount.
  void setReference(std::vector<double> values);

  int64_t byteSize() const;  // bytes this record takes in the file
};

// Where things landed in the file that write() or bytes() produced.
struct Layout {
  // Where each section's bytes actually start, -1 for a section that was not written. This is the real place,
  // not the table entry: a position override changes only the table (see setPositionOverride).
  std::array<int64_t, kSectionCount> sectionPositions;
  std::vector<int64_t> nodeRecordOffsets;     // one per addNode, in the order added
  std::vector<int64_t> elementRecordOffsets;  // one per addElement, in the order added
  int64_t fileSize = 0;

  Layout() { sectionPositions.fill(-1); }
};

// A kernel file under construction. Nothing touches the disk before write(); every setter may be called in any
// order, and a KernelFile can be written any number of times.
//
// The file is laid out as: the 220-byte file header; then the present sections, each a 12-byte header and its
// payload, in the physical order; then the node records and then the element records, each in the order
// added. With `recordsBeforeSections` the records come right after the file header and the sections follow
// them; record offsets then depend on the records alone, so a first write's Layout can be used to point raw
// directory entries at records without the directory's own growth moving them.
//
// A new KernelFile has format number 100, no matrix section, and no directory.
class KernelFile {
 public:
  int32_t formatNumber = 100;          // written at offset 0 as given
  bool recordsBeforeSections = false;  // see the class comment

  // Matrix sections (every slot but 2 and 3): a x b doubles, column-major, made present. Throws
  // std::out_of_range for a slot outside 0..26, std::invalid_argument for slot 2 or 3, a negative count, or
  // (vector form) columnMajor.size() != a * b. Replaces whatever the section held before.
  void setMatrix(int section, int32_t a, int32_t b, std::vector<double> columnMajor);
  // Generator form for large sections: gen(row, col) is called at write time, once per entry, column by column
  // with the row running fastest, so the matrix never has to be in memory. It is called again at each write.
  // An exception from gen ends the write and passes through (a file on disk is then left cut short).
  void setMatrix(int section, int32_t a, int32_t b, std::function<double(int64_t row, int64_t col)> gen);

  // Makes a section absent: it is not written and its table entry is -1 (unless a position override says
  // otherwise). On a directory slot it is setDirectoryPresent(section, false); the records stay in the file.
  void removeSection(int section);

  // Appends a node record to the file and an entry (id, offset of that record) to the node directory.
  void addNode(int32_t id, NodeRecord r);
  // Appends an element record to the file and an entry (id, offset of that record) to the element directory.
  void addElement(int32_t id, ElementRecord r);
  // Appends a raw directory entry whose offset is written as given. Entries keep the order of all add calls.
  void addNodeDirectoryEntry(int32_t id, int64_t offset);
  void addElementDirectoryEntry(int32_t id, int64_t offset);

  // Sections 2 and 3 are by default present exactly when some entry was added to them. This forces the choice:
  // present with no entries writes the header with n = 0 and no payload; absent writes no directory while the
  // records are still written. Throws std::invalid_argument for other slots.
  void setDirectoryPresent(int section, bool present);

  // The section's 12-byte header is written as (number, a, b) instead of (slot, a, b). The payload is unchanged
  // and keeps the size of the real shape. Has no effect while the section is absent.
  void setSectionHeaderOverride(int section, int32_t number, int32_t a, int32_t b);
  // The section's table entry is written as `position`, whether or not the section is present and whatever lies
  // there. Where the section's own bytes go is unchanged.
  void setPositionOverride(int section, int64_t position);

  // The order of the sections in the file. Listed sections come first, in the order given; present sections not
  // listed follow in ascending order; listed sections that are absent are skipped. Throws
  // std::invalid_argument for a duplicate and std::out_of_range for a slot outside 0..26. The default is
  // ascending.
  void setPhysicalOrder(std::vector<int> sections);

  // Writes the file to `path`, replacing it, in 1 MiB chunks: memory use does not grow with the file, so files
  // of several GB can be written from generator sections. Throws std::runtime_error when the file cannot be
  // opened or written.
  Layout write(const std::string& path) const;
  // The same bytes in memory, for small files. When `layout` is given it receives the layout.
  std::vector<uint8_t> bytes(Layout* layout = nullptr) const;

 private:
  struct Section {
    bool present = false;
    int32_t a = 0, b = 0;
    std::vector<double> values;                         // used when gen is empty
    std::function<double(int64_t, int64_t)> gen;
    std::optional<std::array<int32_t, 3>> header;       // lying header, from setSectionHeaderOverride
    std::optional<int64_t> position;                    // lying table entry, from setPositionOverride
  };
  struct DirectoryEntry {
    int32_t id;
    int64_t recordIndex;  // index into nodes_ / elements_, or -1 for a raw entry
    int64_t rawOffset;    // written as the offset when recordIndex is -1
  };
  struct Directory {
    std::optional<bool> present;  // unset: present iff entries is not empty
    std::vector<DirectoryEntry> entries;
  };
  struct Plan;

  Plan plan() const;                                   // every position and size, before a byte is written
  void emit(ByteSink& out, const Plan& plan) const;    // the file's bytes in file order
  bool directoryPresent(int section) const;
  const Directory& directory(int section) const;

  std::array<Section, kSectionCount> sections_;
  Directory nodeDirectory_, elementDirectory_;
  std::vector<NodeRecord> nodes_;
  std::vector<ElementRecord> elements_;
  std::vector<int> physicalOrder_;  // as given to setPhysicalOrder; empty means ascending
};

// Patch helpers for hand-made corruption in tests: each stores one little-endian value at byte `at` of `b`.
// Throws std::out_of_range unless the whole value fits inside b.
void putI32(std::vector<uint8_t>& b, int64_t at, int32_t v);
void putU32(std::vector<uint8_t>& b, int64_t at, uint32_t v);
void putI64(std::vector<uint8_t>& b, int64_t at, int64_t v);
void putF64(std::vector<uint8_t>& b, int64_t at, double v);

// Writes `b` to `path`, replacing it. Throws std::runtime_error when that fails.
void writeBytes(const std::string& path, const std::vector<uint8_t>& b);

}  // namespace kernelwriter
