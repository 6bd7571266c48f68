// Hostile kernel files, one named case each. Every file is built with the writer from the good model and then
// corrupted, either through the writer's literal fields and overrides or by patching bytes at the places the
// writer's Layout reports.
//
// Each case asserts the exact result code the library is designed to give: -1 for a file it must refuse, 0
// where it is designed to answer (an ID the file lacks, a twin section that stands in for a missing one, a
// table that the request does not use). Every call is made with guarded arrays: nothing may be written outside
// the declared lengths, the input lists stay as they were, no stale value survives in the result, and the
// process-wide kernel is closed again afterwards. After every case the good file must still answer every
// kind of request with the right values (TearDown).
#include <chrono>
#include <filesystem>

#include "hardening/HardeningFixture.h"

namespace hardening {
namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Layout;
using kernelwriter::Table;

constexpr std::int64_t k2to62 = std::int64_t(1) << 62;

// Byte offset, within an element record, of the header of its table k: 0 forceRotation, 1 stressRotation,
// 2 forceOffset, 3 stressOffset, 4 forceLoad, 5 stressLoad, 6 forceRecovery, 7 stressRecovery,
// 8 velocityForce, 9 the tenth table.
std::int64_t tableOffset(const ElementRecord& r, int k) {
  std::int64_t at = 8 + 4 * static_cast<std::int64_t>(r.dofRows.size());
  const Table* before[] = {&r.forceRotation, &r.stressRotation, &r.forceOffset, &r.stressOffset};
  for (int i = 0; i < std::min(k, 4); ++i) at += before[i]->byteSize();
  if (k < 4) return at;
  at += 4 + 8 * static_cast<std::int64_t>(r.referenceDisplacement.size());
  const Table* after[] = {&r.forceLoad, &r.stressLoad, &r.forceRecovery, &r.stressRecovery, &r.velocityForce};
  for (int i = 0; i < k - 4; ++i) at += after[i]->byteSize();
  return at;
}

enum TableIndex {
  kForceRotation,
  kStressRotation,
  kForceOffset,
  kStressOffset,
  kForceLoad,
  kStressLoad,
  kForceRecovery,
  kStressRecovery,
  kVelocityForce,
  kTenth
};

std::size_t indexOfElement(const GoodModel& m, std::int32_t id) {
  for (std::size_t i = 0; i < m.elements.size(); ++i)
    if (m.elements[i].id == id) return i;
  throw std::logic_error("no such element in the model");
}

std::size_t indexOfNode(const GoodModel& m, std::int32_t id) {
  for (std::size_t i = 0; i < m.nodes.size(); ++i)
    if (m.nodes[i].id == id) return i;
  throw std::logic_error("no such node in the model");
}

ElementRecord& recordOf(GoodModel& m, std::int32_t id) { return m.elements[indexOfElement(m, id)].record; }

// A request for the given IDs alone, one step, the standard keys of its kind.
Request alone(std::vector<std::int32_t> ids, bool element, std::int32_t flags = 0, std::int32_t step = 1) {
  Request r;
  r.name = element ? "element step (alone)" : "nodal step (alone)";
  r.flags = flags | (element ? kElement : 0);
  r.ids = std::move(ids);
  r.keys = element ? elementKeys() : nodalKeys();
  r.stepNumber = step;
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size());
  return r;
}

// The same with all steps.
Request aloneHistory(std::vector<std::int32_t> ids, bool element, std::int32_t steps, std::int32_t flags = 0) {
  Request r = alone(std::move(ids), element, flags, 0);
  r.name = element ? "element history (alone)" : "nodal history (alone)";
  r.resultLength *= steps;
  return r;
}

class Malformed : public HardeningTest {
 protected:
  void TearDown() override {
    // Nothing of a hostile call may linger: the next call on a good file answers, with the right values.
    expectGoodFileAnswers();
    HardeningTest::TearDown();
  }

  Layout writeBad(const KernelFile& f) {
    Layout l;
    writeFile(bad.path(), f, &l);
    return l;
  }
  void writeBad(const std::vector<std::uint8_t>& b) { kernelwriter::writeBytes(bad.path(), b); }
  // The bad file: the good one with the position of section `section` in the header replaced by `position`.
  void writeWithSectionAt(int section, std::int64_t position) {
    KernelFile f = modelFile(model);
    f.setPositionOverride(section, position);
    writeBad(f);
  }

  // What a file gives whose section 21, 2 or 3 is not where its header says: without 21 it answers nothing,
  // without 2 no nodal request, without 3 neither the listing nor an element request.
  void expectSectionMissing(int section) {
    if (section == 21) {
      expectEverythingRefused();
    } else if (section == 2) {
      expectNodalRequestsRefused();
      expectElementAnswers(model);
    } else {
      expectList(16, -1);
      expectElementRequestsRefused();
      expectNodalAnswers(model);
    }
  }

  // The good file's bytes and layout, to patch.
  std::vector<std::uint8_t> goodBytes(Layout* layout = nullptr) { return modelFile(model).bytes(layout); }

  // One call on the bad file with its exact expected code; the call must leave everything it does not own as
  // it was. Returns the outcome for further checks.
  Outcome expectCode(const Request& r, std::int32_t code, const std::string& path = "") {
    const Outcome o = call(path.empty() ? bad.path() : path, r);
    EXPECT_EQ(o.code, code) << r.name << " (flags " << r.flags << ")";
    EXPECT_EQ(o.damage, "") << r.name << " (flags " << r.flags << ")";
    return o;
  }
  // A call that must answer with the values `m` gives.
  void expectAnswer(const GoodModel& m, const Request& r, const std::string& path = "") {
    const Outcome o = expectCode(r, 0, path);
    if (o.code == 0) {
      EXPECT_TRUE(sameValues(o.values, expected(m, r))) << r.name << " (flags " << r.flags << ")";
    }
  }
  ListOutcome expectList(std::int32_t capacity, std::int32_t code, const std::string& path = "") {
    const ListOutcome l = list(path.empty() ? bad.path() : path, capacity);
    EXPECT_EQ(l.code, code) << "listing with capacity " << capacity;
    EXPECT_EQ(l.damage, "") << "listing with capacity " << capacity;
    return l;
  }
  // The element listing answers with the model's IDs.
  void expectListing(const GoodModel& m) {
    const ListOutcome l = expectList(16, 0);
    EXPECT_EQ(l.count, static_cast<std::int32_t>(m.elements.size()));
    const std::vector<std::int32_t> ids = elementIds(m);
    EXPECT_TRUE(std::equal(ids.begin(), ids.end(), l.ids.begin()));
  }
  // Every standard request, and the listing, fail.
  void expectEverythingRefused() {
    expectList(16, -1);
    expectList(0, -1);
    for (const Request& r : standardRequests(model)) expectCode(r, -1);
  }
  void expectNodalRequestsRefused(std::int32_t flags = 0) {
    const std::int32_t mode = (flags & kSingleMode) != 0 ? model.modes : 0;
    expectCode(nodalHistory(model, flags, mode), -1);
    expectCode(nodalStep(model, flags, 3, mode), -1);
    expectCode(envelope(model, flags, mode), -1);
  }
  void expectElementRequestsRefused(std::int32_t flags = 0) {
    const std::int32_t mode = (flags & kSingleMode) != 0 ? model.modes : 0;
    expectCode(elementHistory(model, flags, mode), -1);
    expectCode(elementStep(model, flags, 2, mode), -1);
  }
  // Under flag 4 these ask for the last mode.
  void expectNodalAnswers(const GoodModel& m, std::int32_t flags = 0) {
    const std::int32_t mode = (flags & kSingleMode) != 0 ? m.modes : 0;
    expectAnswer(m, nodalHistory(m, flags, mode));
    expectAnswer(m, nodalStep(m, flags, 3, mode));
    expectAnswer(m, envelope(m, flags, mode));
  }
  void expectElementAnswers(const GoodModel& m, std::int32_t flags = 0) {
    const std::int32_t mode = (flags & kSingleMode) != 0 ? m.modes : 0;
    expectAnswer(m, elementHistory(m, flags, mode));
    expectAnswer(m, elementStep(m, flags, 2, mode));
  }

  testsupport::TempFile bad{"hardening_bad"};
};

// ---------------------------------------------------------------------------------------------------------
// The file as a whole

TEST_F(Malformed, EmptyFile) {
  writeBad(std::vector<std::uint8_t>{});
  expectEverythingRefused();
  // Opening an empty file maps a small window and so lengthens it with zeros; never by more than that.
  EXPECT_LE(fileSize(bad.path()), 65536);
}

TEST_F(Malformed, ThreeBytes) {
  // The first three bytes of a real file: the format number reads as 100 once the file has been lengthened
  // with a zero byte, and then every section position reads as 0, where no section 21 stands.
  std::vector<std::uint8_t> b = goodBytes();
  b.resize(3);
  writeBad(b);
  expectEverythingRefused();
  EXPECT_LE(fileSize(bad.path()), 65536);

  writeBad(std::vector<std::uint8_t>{0xff, 0xfe, 0xfd});
  expectEverythingRefused();
  EXPECT_LE(fileSize(bad.path()), 65536);
}

TEST_F(Malformed, FormatNumberOtherThan100) {
  for (const std::int32_t format : {99, 101, 0, -100, 100 + (1 << 16)}) {
    KernelFile f = modelFile(model);
    f.formatNumber = format;
    writeBad(f);
    SCOPED_TRACE("format number " + std::to_string(format));
    expectEverythingRefused();
  }
}

TEST_F(Malformed, PathIsADirectory) {
  const std::string dir = bad.path() + ".d";
  std::filesystem::create_directory(dir);
  expectList(16, -1, dir);
  for (const Request& r : standardRequests(model)) expectCode(r, -1, dir);
  EXPECT_TRUE(std::filesystem::is_directory(dir));
  std::filesystem::remove(dir);
}

TEST_F(Malformed, MissingFileAndEmptyPath) {
  const std::string missing = bad.path() + ".absent";
  expectList(16, -1, missing);
  for (const Request& r : standardRequests(model)) expectCode(r, -1, missing);
  EXPECT_EQ(fileSize(missing), -1) << "a missing file must not be created";
  // An empty path names no file.
  const ListOutcome l = list("", 4);
  EXPECT_EQ(l.code, -1);
  EXPECT_EQ(l.damage, "");
}

// Whether this process may open `path` for reading and writing, asked of the system directly.
bool systemLetsUsOpenReadWrite(const std::string& path) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  return file.is_open();
}

// Sets the permission bits of `path` (on Windows, only the owner's write bit counts: it is the read-only
// attribute).
void setPermissions(const std::string& path, std::filesystem::perms perms) {
  std::filesystem::permissions(path, perms, std::filesystem::perm_options::replace);
}

TEST_F(Malformed, FileWithoutPermissions) {
  writeFile(bad.path(), modelFile(model));
  ASSERT_NO_THROW(setPermissions(bad.path(), std::filesystem::perms::none));
  const bool opens = systemLetsUsOpenReadWrite(bad.path());
  if (opens) {
    // Running as root (or with CAP_DAC_OVERRIDE): permissions do not stop open(2), so the file is an ordinary
    // good file to this process and must be answered as one.
    expectListing(model);
    for (const Request& r : standardRequests(model)) expectAnswer(model, r);
  } else {
    expectEverythingRefused();
  }
  using std::filesystem::perms;
  ASSERT_NO_THROW(setPermissions(bad.path(), perms::owner_read | perms::group_read | perms::others_read));
  // The kernel file is opened for reading and writing: a read-only file is refused.
  if (systemLetsUsOpenReadWrite(bad.path())) {
    expectListing(model);
    EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
  } else {
    expectEverythingRefused();
  }
  setPermissions(bad.path(), perms::owner_read | perms::owner_write | perms::group_read | perms::others_read);
  if (opens) {
    GTEST_SKIP() << "running with the power to ignore file permissions (root): the refusal of a file this "
                    "process may not open cannot be observed here; the file was checked to be answered instead";
  }
}

// ---------------------------------------------------------------------------------------------------------
// Section positions

TEST_F(Malformed, SectionPositionNegativeOtherThanMinusOne) {
  for (const std::int64_t position : {std::int64_t(-5), std::int64_t(-2), INT64_MIN}) {
    SCOPED_TRACE("position " + std::to_string(position));
    writeWithSectionAt(21, position);
    expectEverythingRefused();

    writeWithSectionAt(2, position);
    expectNodalRequestsRefused();
    expectListing(model);
    expectElementAnswers(model);

    writeWithSectionAt(3, position);
    expectList(16, -1);
    expectList(0, -1);
    expectElementRequestsRefused();
    expectNodalAnswers(model);
  }
}

TEST_F(Malformed, NegativePositionOfATwinnedSectionFallsBackToTheTwin) {
  // Sections 15 to 17 hold what 21 to 23 hold, transposed; a column-contiguous section that cannot be read is
  // served by its twin, with the same numbers.
  KernelFile f = modelFile(model);
  f.setPositionOverride(15, -5);
  f.setPositionOverride(16, -77);
  f.setPositionOverride(17, INT64_MIN);
  writeBad(f);
  expectNodalAnswers(model);
  expectElementAnswers(model);
  expectNodalAnswers(model, kBaseMotion | kRotate);
}

TEST_F(Malformed, SectionPositionIntoTheHeader) {
  // At offset 8 stands the upper half of section 0's position, 0: no section number but 0 matches.
  for (const int section : {21, 2, 3, 4}) {
    writeWithSectionAt(section, 8);
    SCOPED_TRACE("section " + std::to_string(section));
    if (section == 21 || section == 2 || section == 3) {
      expectSectionMissing(section);
    } else {
      // Load factors are read by the element flows unless a single mode is asked for.
      expectElementRequestsRefused();
      expectAnswer(model, elementHistory(model, kSingleMode, 1));
      expectNodalAnswers(model);
    }
    EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
  }
}

TEST_F(Malformed, SectionPositionPastTheEnd) {
  // Past the end the file reads as zeros (and is lengthened up to what was read): section number 0.
  for (const int section : {21, 2, 3, 16}) {
    const std::int64_t position = goodLayout.fileSize + 1000;
    writeWithSectionAt(section, position);
    SCOPED_TRACE("section " + std::to_string(section));
    if (section == 21 || section == 2 || section == 3) {
      expectSectionMissing(section);
    } else {
      // Section 16 is mislabelled there; its twin 22 serves.
      expectNodalAnswers(model);
      expectElementAnswers(model);
    }
    EXPECT_LE(fileSize(bad.path()), position + 12) << "lengthened beyond what was read";
  }
}

TEST_F(Malformed, ModeShapesPastTheEndReadAsAnEmptySection) {
  // Zeros read as the header of section 0 with no rows: a request that needs the mode shapes fails, the
  // direct requests do not read them and answer.
  const std::int64_t position = goodLayout.fileSize + 4096;
  writeWithSectionAt(0, position);
  expectNodalAnswers(model);
  expectElementAnswers(model);
  expectCode(nodalHistory(model, kSingleMode, 1), -1);
  expectCode(nodalStep(model, kSingleMode, 2, 2), -1);
  expectCode(envelope(model, kSingleMode, 1), -1);
  expectCode(elementHistory(model, kSingleMode, 2), -1);
  expectCode(elementStep(model, kSingleMode, 1, 1), -1);
  EXPECT_LE(fileSize(bad.path()), position + 12);
}

TEST_F(Malformed, SectionPositionNear2To62) {
  // Two kinds of far position. Where the end of the read can be represented (2^62 + 12), reading there asks to
  // lengthen the file by exabytes; that is refused, and only that read is dropped. Where it cannot be
  // represented (INT64_MAX), that one read is dropped too. Either way the mapping stays, so a twinned section is
  // still served by its twin.
  for (const std::int64_t position : {k2to62, k2to62 + 12345, INT64_MAX - 4, INT64_MAX}) {
    SCOPED_TRACE("position " + std::to_string(position));
    for (const int section : {21, 2, 3, 15}) {
      writeWithSectionAt(section, position);
      SCOPED_TRACE("section " + std::to_string(section));
      if (section == 21) {
        expectEverythingRefused();
      } else if (section == 2) {
        expectNodalRequestsRefused();
        expectElementAnswers(model);
      } else if (section == 3) {
        expectList(16, -1);
        expectElementRequestsRefused();
      } else {
        expectNodalAnswers(model);  // from the twin
        expectElementAnswers(model);
      }
      // No file system has room for exabytes: the file must not have been lengthened at all.
      EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
    }
  }
}

TEST_F(Malformed, SectionMislabelled) {
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(21, 20, model.steps, model.dofs);
  writeBad(f);
  expectEverythingRefused();

  // A mislabelled section 15 is not used; its twin serves.
  f = modelFile(model);
  f.setSectionHeaderOverride(15, 16, model.dofs, model.steps);
  writeBad(f);
  expectNodalAnswers(model);
  expectElementAnswers(model);

  // Section 2 pointing at a valid header of another section.
  f = modelFile(model);
  Layout l;
  f.bytes(&l);
  f.setPositionOverride(2, l.sectionPositions[3]);
  writeBad(f);
  expectNodalRequestsRefused();
}

// ---------------------------------------------------------------------------------------------------------
// The dimensions of section 21

TEST_F(Malformed, StepAndDofCountsWhose32BitProductWrapsToZero) {
  for (const auto& counts :
       {std::pair<std::int32_t, std::int32_t>{65536, 65536}, {1 << 20, 1 << 12}, {0, 12}, {4, 0}, {-4, 12}}) {
    KernelFile f = modelFile(model);
    f.setSectionHeaderOverride(21, 21, counts.first, counts.second);
    writeBad(f);
    SCOPED_TRACE(std::to_string(counts.first) + " x " + std::to_string(counts.second));
    expectEverythingRefused();
  }
}

TEST_F(Malformed, StepAndDofCountsBothNegative) {
  // -2 x -6 is 12 in any width, but no shape.
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(21, 21, -2, -6);
  writeBad(f);
  expectEverythingRefused();
}

TEST_F(Malformed, StepAndDofCountsWhose32BitProductWrapsPositive) {
  // 65537 x 65537 wraps to 131073 in 32 bits: the file opens with 65537 steps, far more than it holds. Nothing
  // may be sized by the true product (2^32 doubles), and reads past the end lengthen the file only as far as
  // they reach.
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(21, 21, 65537, 65537);
  writeBad(f);
  const std::int64_t peakBefore = testsupport::peakResidentBytes();
  const auto start = std::chrono::steady_clock::now();

  expectListing(model);  // the element directory is intact
  // A history needs 65537 rows per key: a short array is refused before anything is read.
  expectCode(nodalHistory(model), -1);
  expectCode(elementHistory(model), -1);
  // With arrays large enough the calls run; they answer or refuse, within bounds.
  Request r = aloneHistory({kNodeFull}, false, 65537);
  r.keys = {102, 106};
  r.resultLength = 2 * 65537;
  const Outcome history = call(bad.path(), r);
  EXPECT_TRUE(history.code == 0 || history.code == -1);
  EXPECT_EQ(history.damage, "");
  r = aloneHistory({kRodId}, true, 65537);
  r.keys = {100130402};
  r.resultLength = 65537;
  const Outcome elements = call(bad.path(), r);
  EXPECT_TRUE(elements.code == 0 || elements.code == -1);
  EXPECT_EQ(elements.damage, "");
  // One step still addresses the step sections, which are fine.
  expectAnswer(model, nodalStep(model));
  expectAnswer(model, elementStep(model));

  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(seconds, HARDENING_SANITIZED ? 60.0 : 10.0);
  EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20) << "memory sized by the wrapped product";
  EXPECT_LT(fileSize(bad.path()), std::int64_t(64) << 20) << "the file was left far longer than any read";
}

TEST_F(Malformed, EnvelopeOverAHugeStepCountEnds) {
  // The envelope visits every step the header claims. A file that claims 2^31 - 1 steps over one degree of
  // freedom (a positive product) holds 4: the call must still end in reasonable time, and must not lengthen
  // the file by gigabytes on the way. Run in a child process, so that a call that does not end fails this test
  // instead of hanging the suite.
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(21, 21, INT32_MAX, 1);
  writeBad(f);
  const Request r = envelope(model);
  const std::string path = bad.path();
  const ChildResult child = runInChild([&] { return call(path, r).code; }, HARDENING_SANITIZED ? 60.0 : 20.0);
  EXPECT_TRUE(child.end == ChildEnd::kReturnedZero || child.end == ChildEnd::kReturnedMinusOne)
      << "the envelope " << describe(child.end) << " after " << child.seconds << " s (signal " << child.signal
      << ")";
  EXPECT_LT(fileSize(bad.path()), std::int64_t(1) << 30) << "the file was lengthened by gigabytes";

  // 65537 steps claimed (65537 x 65537 wraps positive): the same.
  f = modelFile(model);
  f.setSectionHeaderOverride(21, 21, 65537, 65537);
  writeBad(f);
  const ChildResult moderate =
      runInChild([&] { return call(path, r).code; }, HARDENING_SANITIZED ? 60.0 : 20.0);
  EXPECT_TRUE(moderate.end == ChildEnd::kReturnedZero || moderate.end == ChildEnd::kReturnedMinusOne)
      << "the envelope " << describe(moderate.end) << " after " << moderate.seconds << " s";
  EXPECT_LT(fileSize(bad.path()), std::int64_t(1) << 30);
}

// ---------------------------------------------------------------------------------------------------------
// Directories

TEST_F(Malformed, NodeDirectoryCountInt32Max) {
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  kernelwriter::putI32(b, l.sectionPositions[2] + 4, INT32_MAX);
  writeBad(b);
  const std::int64_t peakBefore = testsupport::peakResidentBytes();
  expectNodalRequestsRefused();
  expectListing(model);
  expectElementAnswers(model);
  EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20)
      << "a directory of 2^31 entries was allocated";
  EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
}

TEST_F(Malformed, ElementDirectoryCountInt32Max) {
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  kernelwriter::putI32(b, l.sectionPositions[3] + 4, INT32_MAX);
  writeBad(b);
  const std::int64_t peakBefore = testsupport::peakResidentBytes();
  // The listing reports the count the directory claims and reads only as many IDs as the caller has room
  // for: the first ones are the real ones.
  ListOutcome listing = expectList(0, 0);
  EXPECT_EQ(listing.count, INT32_MAX);
  listing = expectList(static_cast<std::int32_t>(model.elements.size()), 0);
  EXPECT_EQ(listing.count, INT32_MAX);
  EXPECT_EQ(listing.ids, elementIds(model));
  // Selecting elements needs the whole directory: refused, without allocating it.
  expectElementRequestsRefused();
  expectNodalAnswers(model);
  EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20);
  EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
}

TEST_F(Malformed, DirectoryCountNegative) {
  for (const std::int32_t count : {-1, -7, INT32_MIN}) {
    SCOPED_TRACE("count " + std::to_string(count));
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    kernelwriter::putI32(b, l.sectionPositions[2] + 4, count);
    kernelwriter::putI32(b, l.sectionPositions[3] + 4, count);
    writeBad(b);
    expectList(16, -1);
    expectList(0, -1);
    expectNodalRequestsRefused();
    expectElementRequestsRefused();
  }
}

// ---------------------------------------------------------------------------------------------------------
// Record offsets in the directories

// Where the record offset of entry `index` of a directory of `n` entries stands in the file.
std::int64_t directoryOffsetField(const Layout& l, int section, std::size_t n, std::size_t index) {
  return l.sectionPositions[section] + 12 + 4 * static_cast<std::int64_t>(n) +
         8 * static_cast<std::int64_t>(index);
}

// In the bytes `b` of a file laid out as `l`, points the directory entry of node `id` of `m` at `at`.
void putNodeRecordOffset(std::vector<std::uint8_t>& b, const Layout& l, const GoodModel& m, std::int32_t id,
                         std::int64_t at) {
  kernelwriter::putI64(b, directoryOffsetField(l, 2, m.nodes.size(), indexOfNode(m, id)), at);
}

// In the bytes `b` of a file laid out as `l`, points the directory entry of element `id` of `m` at `at`.
void putElementRecordOffset(std::vector<std::uint8_t>& b, const Layout& l, const GoodModel& m, std::int32_t id,
                            std::int64_t at) {
  kernelwriter::putI64(b, directoryOffsetField(l, 3, m.elements.size(), indexOfElement(m, id)), at);
}

TEST_F(Malformed, NodeRecordOffsetIntoTheHeader) {
  // At offset 8: count 0 (the upper half of section 0's position) and a non-zero hasTransform (the lower half
  // of section 1's position): a node without degrees of freedom.
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  putNodeRecordOffset(b, l, model, kNodeTranslations, 8);
  writeBad(b);
  // Alone it reaches no row of the response tables: refused.
  expectCode(alone({kNodeTranslations}, false), -1);
  expectCode(aloneHistory({kNodeTranslations}, false, model.steps), -1);
  // With others it answers zeros for it, and the right values for them.
  GoodModel m = model;
  m.nodes[indexOfNode(m, kNodeTranslations)].codes = {kNoComponent, kNoComponent, kNoComponent};
  expectNodalAnswers(m);
  expectElementAnswers(model);
}

TEST_F(Malformed, NodeRecordOffsetIntoAnotherRecord) {
  // Four bytes into node 11's record (count 6, hasTransform 1, rows 0..5): count 1, hasTransform 0 (its first
  // row), one row (1) and one code (2, which names no component). A node with a row and nothing to show.
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  const std::int64_t into = l.nodeRecordOffsets[indexOfNode(model, kNodeFull)] + 4;
  putNodeRecordOffset(b, l, model, kNodeTranslations, into);
  writeBad(b);
  const Outcome step = expectCode(alone({kNodeTranslations}, false), 0);
  EXPECT_TRUE(allZero(step.values));
  const Outcome history = expectCode(aloneHistory({kNodeTranslations}, false, model.steps), 0);
  EXPECT_TRUE(allZero(history.values));
  GoodModel m = model;
  m.nodes[indexOfNode(m, kNodeTranslations)].codes = {kNoComponent, kNoComponent, kNoComponent};
  expectNodalAnswers(m);
  expectNodalAnswers(m, kRotate | kBaseMotion);
}

TEST_F(Malformed, ElementRecordOffsetIntoTheHeaderOrAnotherRecord) {
  // At offset 0 the type code reads as 100; four bytes into the Bar's record it reads as the Bar's dof count,
  // 4. Neither names an element class: the element is passed over.
  for (const bool header : {true, false}) {
    SCOPED_TRACE(header ? "into the header" : "into another record");
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    const std::int64_t into = header ? 0 : l.elementRecordOffsets[indexOfElement(model, kBarId)] + 4;
    putElementRecordOffset(b, l, model, kRodId, into);
    writeBad(b);
    expectCode(alone({kRodId}, true), -1);
    expectCode(aloneHistory({kRodId}, true, model.steps), -1);
    GoodModel m = model;
    recordOf(m, kRodId).typeCode = 581;  // what the reference takes for "passed over"
    expectElementAnswers(m);
    expectListing(model);
  }
}

TEST_F(Malformed, RecordOffsetPastTheEnd) {
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  const std::int64_t nodeAt = goodLayout.fileSize + 100, elementAt = goodLayout.fileSize + 5000;
  putNodeRecordOffset(b, l, model, kNodeShuffled, nodeAt);
  putElementRecordOffset(b, l, model, kSolidId, elementAt);
  writeBad(b);
  // Past the end the record reads as zeros: a node of no degree of freedom, an element of type code 0.
  expectCode(alone({kNodeShuffled}, false), -1);
  expectCode(alone({kSolidId}, true), -1);
  GoodModel m = model;
  m.nodes[indexOfNode(m, kNodeShuffled)].codes = {kNoComponent, kNoComponent, kNoComponent};
  recordOf(m, kSolidId).typeCode = 0;
  expectNodalAnswers(m);
  expectElementAnswers(m);
  EXPECT_LE(fileSize(bad.path()), elementAt + 8) << "lengthened beyond what was read";
}

TEST_F(Malformed, RecordOffsetNear2To62) {
  // As for section positions: a record at 2^62 asks to lengthen the file by exabytes, which is refused, and a
  // record whose end cannot be represented (INT64_MAX) cannot be read. Either way only that record is not read:
  // its entity is passed over and the rest of the call reads on.
  for (const std::int64_t at : {k2to62, k2to62 + 7, INT64_MAX - 3, INT64_MAX}) {
    SCOPED_TRACE("offset " + std::to_string(at));
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    putNodeRecordOffset(b, l, model, kNodeFull, at);
    putElementRecordOffset(b, l, model, kShellId, at);
    writeBad(b);
    expectCode(alone({kNodeFull}, false), -1);
    expectCode(aloneHistory({kNodeFull}, false, model.steps), -1);
    expectCode(alone({kShellId}, true), -1);
    expectCode(aloneHistory({kShellId}, true, model.steps), -1);
    GoodModel m = model;
    m.nodes[indexOfNode(m, kNodeFull)].codes.assign(6, kNoComponent);
    recordOf(m, kShellId).typeCode = 0;
    expectNodalAnswers(m);
    expectElementAnswers(m);
    EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize) << "the file must not be left terabytes long";
  }
}

TEST_F(Malformed, RecordOffsetNegative) {
  // A negative position is "not in the file": that ID's block stays zero.
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  putNodeRecordOffset(b, l, model, kNodeFull, -5);
  putElementRecordOffset(b, l, model, kBushId, INT64_MIN);
  writeBad(b);
  expectCode(alone({kNodeFull}, false), -1);
  expectCode(alone({kBushId}, true), -1);
  GoodModel m = model;
  m.nodes[indexOfNode(m, kNodeFull)].codes.assign(6, kNoComponent);
  recordOf(m, kBushId).typeCode = 0;
  expectNodalAnswers(m);
  expectElementAnswers(m);
}

// ---------------------------------------------------------------------------------------------------------
// Node records

TEST_F(Malformed, NodeCountAllOnesOrHuge) {
  for (const std::uint32_t count : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 0x10000000u}) {
    SCOPED_TRACE("count " + std::to_string(count));
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    kernelwriter::putU32(b, l.nodeRecordOffsets[indexOfNode(model, kNodeFull)], count);
    writeBad(b);
    const std::int64_t peakBefore = testsupport::peakResidentBytes();
    expectNodalRequestsRefused();
    expectNodalRequestsRefused(kRotate | kBaseMotion);
    expectElementAnswers(model);
    EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20);
    EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
  }
}

TEST_F(Malformed, NodeDofRowBeyondTheDofCount) {
  // Row 12 of a model of 12 degrees of freedom, and a row that reads as negative.
  for (const std::uint32_t row : {12u, 13u, 1000u, 0xFFFFFFFFu, 0x80000000u}) {
    SCOPED_TRACE("row " + std::to_string(row));
    GoodModel m = model;
    m.nodes[indexOfNode(m, kNodeTranslations)].rows = {6, row, 8};
    writeBad(modelFile(m));
    expectNodalRequestsRefused();  // history and single step, and the envelope of single steps
    expectCode(nodalHistory(model, kRotate | kBaseMotion), -1);
    expectCode(nodalStep(model, kBaseMotion), -1);
    expectCode(nodalHistory(model, kSingleMode, 1), -1);
    expectCode(nodalStep(model, kSingleMode, 2, 2), -1);
    expectElementAnswers(model);
  }
}

TEST_F(Malformed, TranslationTripleStartingAtTheLastEntry) {
  // A triple opened at the last (or last but one) entry would reach past the node's own values.
  for (const auto& codes : {std::vector<std::int32_t>{kNoComponent, kNoComponent, kTx},
                            std::vector<std::int32_t>{kNoComponent, kTx, kTy}}) {
    GoodModel m = model;
    ModelNode& n = m.nodes[indexOfNode(m, kNodeTranslations)];
    n.codes = codes;
    n.hasTransform = true;
    n.transform = {0.0, 1.0, 0.0, -1.0, 0.0, 0.0, 0.0, 0.0, 1.0};
    writeBad(modelFile(m));
    // Under flag 2 (the triple is turned) and flag 8 (base motion lands on it): refused.
    for (const std::int32_t flags : {kRotate, kBaseMotion, kRotate | kBaseMotion}) {
      SCOPED_TRACE("flags " + std::to_string(flags));
      expectCode(nodalHistory(model, flags), -1);
      expectCode(nodalStep(model, flags), -1);
      expectCode(envelope(model, flags), -1);
      expectCode(aloneHistory({kNodeTranslations}, false, model.steps, flags), -1);
    }
    // Without them the values are plain, and right.
    expectNodalAnswers(m);
    // Under flag 4 base motion is ignored, so only flag 2 matters.
    expectAnswer(m, nodalHistory(m, kSingleMode | kBaseMotion, 2));
    expectCode(nodalHistory(model, kSingleMode | kRotate, 2), -1);
  }
}

TEST_F(Malformed, InitialStateShorterThanTheModel) {
  GoodModel m = model;
  KernelFile f = modelFile(m);
  f.setMatrix(8, 5, 1, wave(5, 3.0));  // five of twelve degrees of freedom
  writeBad(f);
  expectNodalRequestsRefused();
  // Element flows do not take the initial state off.
  expectElementAnswers(model);
}

// ---------------------------------------------------------------------------------------------------------
// Base motion

TEST_F(Malformed, BaseMotionWithFewerThanNineRows) {
  KernelFile f = modelFile(model);
  f.setMatrix(1, 6, model.steps, wave(6 * static_cast<std::size_t>(model.steps), 5.0));
  writeBad(f);
  expectNodalRequestsRefused(kBaseMotion);
  expectNodalRequestsRefused(kBaseMotion | kRotate);
  expectNodalAnswers(model);  // without flag 8 section 1 is not read
  expectAnswer(model, nodalStep(model, kBaseMotion | kSingleMode, 1, 1));  // nor under flag 4

  // A section 1 of no rows hands over to section 11, which is short as well.
  f = modelFile(model);
  f.setMatrix(1, 0, model.steps, std::vector<double>{});
  f.setMatrix(11, 2, 1, std::vector<double>{1.0, 2.0});
  writeBad(f);
  expectNodalRequestsRefused(kBaseMotion);
  expectNodalAnswers(model);
}

TEST_F(Malformed, SectionMatrixWhoseRowsTimesColsOverflow32Bits) {
  // Section 1 (base motion) and section 4 (load factors) claim 65536 x 65536 doubles (a 32-bit product of 0)
  // or 65537 x 65537 (a positive one). Nothing of that size may be allocated.
  for (const auto& shape :
       {std::pair<std::int32_t, std::int32_t>{65536, 65536}, {65537, 65537}, {INT32_MAX, 3}}) {
    SCOPED_TRACE(std::to_string(shape.first) + " x " + std::to_string(shape.second));
    KernelFile f = modelFile(model);
    f.setSectionHeaderOverride(1, 1, shape.first, shape.second);
    f.setSectionHeaderOverride(4, 4, shape.first, shape.second);
    writeBad(f);
    const std::int64_t peakBefore = testsupport::peakResidentBytes();
    expectCode(nodalHistory(model, kBaseMotion), -1);
    expectCode(elementHistory(model), -1);
    expectNodalAnswers(model);
    expectAnswer(model, elementHistory(model, kSingleMode, 1));  // under flag 4 section 4 is not read
    EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20);
    EXPECT_LT(fileSize(bad.path()), std::int64_t(64) << 20);
  }
}

// ---------------------------------------------------------------------------------------------------------
// Modes

TEST_F(Malformed, ModeNumberBeyondTheModes) {
  writeBad(modelFile(model));
  for (const std::int32_t mode : {model.modes + 1, model.modes + 2, 1000, INT32_MAX}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    expectCode(nodalHistory(model, kSingleMode, mode), -1);
    expectCode(nodalStep(model, kSingleMode, 2, mode), -1);
    expectCode(envelope(model, kSingleMode, mode), -1);
    expectCode(elementHistory(model, kSingleMode, mode), -1);
    expectCode(elementStep(model, kSingleMode, 2, mode), -1);
  }
  // The last mode is fine.
  expectAnswer(model, nodalHistory(model, kSingleMode, model.modes));
  expectAnswer(model, elementStep(model, kSingleMode, 3, model.modes));
}

TEST_F(Malformed, ModeShapesWithNegativeCounts) {
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(0, 0, -12, 2);
  writeBad(f);
  expectCode(nodalHistory(model, kSingleMode, 1), -1);
  expectCode(nodalStep(model, kSingleMode, 1, 1), -1);
  expectCode(elementHistory(model, kSingleMode, 1), -1);
  expectNodalAnswers(model);
}

// ---------------------------------------------------------------------------------------------------------
// Element records

TEST_F(Malformed, ElementDofCountAllOnesOrHuge) {
  for (const std::uint32_t count : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 0x20000000u}) {
    SCOPED_TRACE("count " + std::to_string(count));
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    kernelwriter::putU32(b, l.elementRecordOffsets[indexOfElement(model, kBarId)] + 4, count);
    writeBad(b);
    const std::int64_t peakBefore = testsupport::peakResidentBytes();
    expectElementRequestsRefused();
    expectNodalAnswers(model);
    expectListing(model);
    EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20);
    EXPECT_EQ(fileSize(bad.path()), goodLayout.fileSize);
  }
}

TEST_F(Malformed, ElementTableWhoseRowsTimesColsOverflow32Bits) {
  // The Bar's forceRecovery claims a shape whose 32-bit product is 0, or positive, or whose rows read as
  // negative; the fields are patched in place, so everything behind them is read from the wrong place too.
  const std::pair<std::uint32_t, std::uint32_t> shapes[] = {
      {65536, 65536}, {65537, 65537}, {0xFFFFFFFFu, 1}, {1, 0xFFFFFFFFu}, {0x40000000u, 4}};
  for (const auto& shape : shapes) {
    SCOPED_TRACE(std::to_string(shape.first) + " x " + std::to_string(shape.second));
    Layout l;
    std::vector<std::uint8_t> b = goodBytes(&l);
    const std::int64_t at = l.elementRecordOffsets[indexOfElement(model, kBarId)] +
                            tableOffset(recordOf(model, kBarId), kForceRecovery);
    kernelwriter::putU32(b, at, shape.first);
    kernelwriter::putU32(b, at + 4, shape.second);
    writeBad(b);
    const std::int64_t peakBefore = testsupport::peakResidentBytes();
    expectElementRequestsRefused();
    expectElementRequestsRefused(kRotate | kSingleMode);
    expectNodalAnswers(model);
    EXPECT_LT(testsupport::peakResidentBytes() - peakBefore, std::int64_t(256) << 20);
    EXPECT_LT(fileSize(bad.path()), std::int64_t(64) << 20);
  }
  // The tenth table is only skipped, but its size is checked like any other.
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  const std::int64_t at =
      l.elementRecordOffsets[indexOfElement(model, kShellId)] + tableOffset(recordOf(model, kShellId), kTenth);
  kernelwriter::putU32(b, at, 0xFFFFFFFFu);
  writeBad(b);
  expectElementRequestsRefused();
}

TEST_F(Malformed, ElementDofRowBeyondTheDofCount) {
  for (const std::uint32_t row : {12u, 4096u, 0xFFFFFFFFu}) {
    SCOPED_TRACE("row " + std::to_string(row));
    GoodModel m = model;
    recordOf(m, kSolidId).dofRows[3] = row;
    writeBad(modelFile(m));
    expectElementRequestsRefused();
    expectElementRequestsRefused(kSingleMode);
    expectNodalAnswers(model);
  }
}

TEST_F(Malformed, UnknownElementTypeCode) {
  for (const std::int32_t code : {0, 581, -583, 100000}) {
    SCOPED_TRACE("type code " + std::to_string(code));
    GoodModel m = model;
    recordOf(m, kRodId).typeCode = code;
    writeBad(modelFile(m));
    // Passed over: alone it reaches nothing; with others its block stays zero.
    expectCode(alone({kRodId}, true), -1);
    expectElementAnswers(m);
    expectListing(m);
  }
}

TEST_F(Malformed, ReferenceDisplacementOfTheWrongLength) {
  for (const std::size_t length : {std::size_t(2), std::size_t(4), std::size_t(1)}) {
    SCOPED_TRACE("length " + std::to_string(length));
    GoodModel m = model;
    recordOf(m, kRodId).setReference(wave(length, 6.0));  // three degrees of freedom
    writeBad(modelFile(m));
    expectElementRequestsRefused();
    expectElementRequestsRefused(kSingleMode);
  }
}

TEST_F(Malformed, OffsetOfTheWrongShape) {
  GoodModel m = model;
  recordOf(m, kRodId).forceOffset = table(3, 1, 7.0);  // a result of 2 values
  writeBad(modelFile(m));
  expectElementRequestsRefused();

  m = model;
  recordOf(m, kBarId).stressOffset = table(11, 2, 7.0);  // 22 values for a result of 11
  writeBad(modelFile(m));
  expectElementRequestsRefused();

  // The Bush's deformation takes its offset as a flat run; a run shorter than the result is refused.
  m = model;
  recordOf(m, kBushId).stressOffset = table(5, 1, 7.0);
  writeBad(modelFile(m));
  expectElementRequestsRefused();
}

TEST_F(Malformed, VelocityTableOfTheWrongShape) {
  for (const auto& shape : {std::pair<std::uint32_t, std::uint32_t>{6, 3}, {5, 2}, {12, 2}, {6, 1}}) {
    SCOPED_TRACE(std::to_string(shape.first) + " x " + std::to_string(shape.second));
    GoodModel m = model;
    recordOf(m, kBushId).velocityForce = table(shape.first, shape.second, 8.0);  // 6 x 2 is right
    writeBad(modelFile(m));
    expectElementRequestsRefused();
  }
}

TEST_F(Malformed, LoadTableWithTooFewColumnsForTheLoadFactors) {
  GoodModel m = model;
  recordOf(m, kBarId).forceLoad = table(12, 1, 9.0);  // two loads in section 4
  writeBad(modelFile(m));
  expectElementRequestsRefused();
  // Under flag 4 no load term acts, so the table is not used: the answer stands.
  expectElementAnswers(m, kSingleMode);

  m = model;
  recordOf(m, kPlaneStressId).forceLoad = table(2, 2, 9.0);  // too few rows for a result of 3
  writeBad(modelFile(m));
  expectElementRequestsRefused();
}

// Rows past the last whole point are formed but reachable by no key: the requests answer.
TEST_F(Malformed, RecoveryRowsNotAMultipleOfTheComponentCountAnswer) {
  GoodModel m = model;
  recordOf(m, kBarId).stressRecovery = table(12, 4, 10.0);  // 11 components per point: one point and a row
  recordOf(m, kBarId).stressLoad = table(12, 2, 10.5);
  recordOf(m, kBarId).stressOffset = table(11, 1, 10.7);
  writeBad(modelFile(m));
  expectElementAnswers(m);
  expectElementAnswers(m, 2);
}

TEST_F(Malformed, RecoveryColumnsNotTheDofCount) {
  for (const std::uint32_t cols : {5u, 7u, 1u}) {
    SCOPED_TRACE("columns " + std::to_string(cols));
    GoodModel m = model;
    recordOf(m, kSolidId).stressRecovery = table(12, cols, 12.0);  // six degrees of freedom
    writeBad(modelFile(m));
    expectElementRequestsRefused();
    expectElementRequestsRefused(kSingleMode);
  }
}

TEST_F(Malformed, RotationTablesTooSmallUnderFlag2) {
  struct Case {
    std::int32_t id;
    TableIndex which;
    std::uint32_t size;
  };
  // The blocks the rotations read: 3 x 3 for a first triple, 6 x 6 for the Solid's stress, 5 x 5 for the
  // stress table of the Shell's force (its pair block sits at row 3, column 3).
  const Case cases[] = {{kPlaneStressId, kForceRotation, 2}, {kPlaneStressId, kStressRotation, 1},
                        {kSolidId, kForceRotation, 2},       {kSolidId, kStressRotation, 5},
                        {kSolidId, kStressRotation, 3},      {kShellId, kStressRotation, 4},
                        {kShellId, kStressRotation, 2},      {kShellId, kForceRotation, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE("element " + std::to_string(c.id) + ", table " + std::to_string(c.which) + ", " +
                 std::to_string(c.size) + " x " + std::to_string(c.size));
    GoodModel m = model;
    ElementRecord& r = recordOf(m, c.id);
    (c.which == kForceRotation ? r.forceRotation : r.stressRotation) = table(c.size, c.size, 13.0);
    writeBad(modelFile(m));
    expectElementRequestsRefused(kRotate);
    expectElementRequestsRefused(kRotate | kSingleMode);
    // Without flag 2 no rotation is read: the answer stands.
    expectElementAnswers(m);
  }
}

TEST_F(Malformed, ElementRecordCutShortAtTheEndOfTheFile) {
  // The last record claims a recovery table far longer than the file: what lies past the end reads as zeros,
  // and the file is lengthened only as far as the claimed table reaches.
  Layout l;
  std::vector<std::uint8_t> b = goodBytes(&l);
  const std::int64_t at = l.elementRecordOffsets[indexOfElement(model, kRigidBarId)] +
                          tableOffset(recordOf(model, kRigidBarId), kForceRecovery);
  kernelwriter::putU32(b, at, 6);
  kernelwriter::putU32(b, at + 4, 4000);  // 6 x 4000 doubles: 192000 bytes, two columns were real
  writeBad(b);
  // The table no longer has the element's two degrees of freedom as columns: refused.
  expectElementRequestsRefused();
  expectNodalAnswers(model);
  EXPECT_LE(fileSize(bad.path()), at + 8 + 6 * 4000 * 8 + 16 * 4) << "lengthened beyond the claimed record";
}

TEST_F(Malformed, LoadFactorsWithNegativeCounts) {
  KernelFile f = modelFile(model);
  f.setSectionHeaderOverride(4, 4, -2, model.steps);
  writeBad(f);
  expectElementRequestsRefused();
  expectElementAnswers(model, kSingleMode);
  expectNodalAnswers(model);
}

}  // namespace
}  // namespace hardening
