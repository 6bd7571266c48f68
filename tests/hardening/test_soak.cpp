// Soak: a long run of calls, good and hostile files alternating, both exports and every flow. The process's own
// accounting must not grow: resident memory (from /proc/self/statm), open descriptors (/proc/self/fd), mappings
// (/proc/self/maps), and the bytes held through operator new, compared after a warm-up and at the end.
//
// Counts: 100,000 calls in a plain build (a few seconds). Under AddressSanitizer every call costs many times as
// much, and its allocator keeps freed memory in quarantine, so the run is scaled down to 50,000 calls and the
// resident-memory bound (meaningless with a quarantine) is not applied, nor the whole-process mapping count
// (its allocator maps regions of its own); descriptors, the mappings of the kernel files and the bytes held
// through operator new are still compared exactly. Under Wine, where every file and mapping call goes through
// the Wine server, the run is 20,000 calls.
#include <chrono>

#include "hardening/HardeningFixture.h"

namespace hardening {
namespace {

const long kCalls = HARDENING_SANITIZED ? 50000 : testsupport::runsUnderWine() ? 20000 : 100000;
constexpr long kWarmUp = 1000;

struct HostileFile {
  std::string name;
  std::string path;
};

class Soak : public HardeningTest {
 protected:
  void SetUp() override {
    HardeningTest::SetUp();
    using kernelwriter::KernelFile;
    auto add = [this](const std::string& name, const std::vector<std::uint8_t>& bytes) {
      files_.push_back(std::make_unique<testsupport::TempFile>("hardening_soak"));
      kernelwriter::writeBytes(files_.back()->path(), bytes);
      hostile_.push_back({name, files_.back()->path()});
    };
    kernelwriter::Layout l;
    const std::vector<std::uint8_t> full = modelFile(model).bytes(&l);

    KernelFile f = modelFile(model);
    f.formatNumber = 99;
    add("format 99", f.bytes());
    f = modelFile(model);
    f.setPositionOverride(21, -5);
    add("section 21 at -5", f.bytes());
    f = modelFile(model);
    f.setSectionHeaderOverride(21, 21, 65536, 65536);
    add("dimensions wrapping to 0", f.bytes());
    std::vector<std::uint8_t> b = full;
    kernelwriter::putU32(b, l.nodeRecordOffsets[0], 0xFFFFFFFFu);
    add("node count all ones", b);
    b = full;
    kernelwriter::putI32(b, l.sectionPositions[2] + 4, INT32_MAX);
    kernelwriter::putI32(b, l.sectionPositions[3] + 4, INT32_MAX);
    add("directories of 2^31 - 1 entries", b);
    b = full;
    kernelwriter::putI64(b, l.sectionPositions[2] + 12 + 4 * 3, std::int64_t(1) << 62);
    add("record at 2^62", b);
    b = full;
    b.resize(b.size() / 2);
    add("cut in half", b);
    add("empty", {});
    GoodModel m = model;
    m.elements[3].record.stressRotation = table(5, 5, 1.0);  // the Solid's
    m.elements[4].record.velocityForce = table(6, 3, 2.0);   // the Bush's
    m.nodes[1].rows = {6, 99, 8};
    add("tables of the wrong shape, a row past the model", modelFile(m).bytes());
    f = modelFile(model);
    f.setMatrix(1, 6, model.steps, wave(6 * static_cast<std::size_t>(model.steps), 3.0));
    add("base motion of 6 rows", f.bytes());
    hostile_.push_back({"missing", good.path() + ".absent"});
  }

  // The requests the run cycles through (with the listing as one more kind).
  std::vector<Request> requests() const {
    return {nodalHistory(model),
            nodalStep(model),
            envelope(model),
            elementHistory(model),
            elementStep(model),
            nodalHistory(model, kRotate | kBaseMotion),
            nodalStep(model, kSingleMode | kBaseMotion, 2, 1),
            envelope(model, kRotate, 0),
            elementHistory(model, kRotate),
            elementStep(model, kSingleMode, 4, 2)};
  }

  // One call: on the good file it must answer (its values checked every `checkEvery` calls), on a hostile one
  // it must give 0 or -1; on both it must leave everything it does not own alone. Returns false on a problem.
  bool oneCall(long i, const std::vector<Request>& rs, const std::vector<std::vector<double>>& want,
               long checkEvery) {
    const bool onGood = i % 2 == 0;
    const long turn = i / 2;
    const std::size_t kind = static_cast<std::size_t>(turn % static_cast<long>(rs.size() + 1));
    const std::string& path =
        onGood ? good.path() : hostile_[static_cast<std::size_t>(turn) % hostile_.size()].path;
    if (kind == rs.size()) {
      const ListOutcome l = list(path, 8);
      if (!l.damage.empty() || (onGood && (l.code != 0 || l.count != 7))) {
        ADD_FAILURE() << "call " << i << ", listing " << (onGood ? "the good file" : path) << ":" << l.damage;
        return false;
      }
      return true;
    }
    const Outcome o = call(path, rs[kind]);
    if (!o.damage.empty() || (onGood && o.code != 0)) {
      ADD_FAILURE() << "call " << i << ", " << rs[kind].name << " on " << (onGood ? "the good file" : path)
                    << ": returned " << o.code << o.damage;
      return false;
    }
    if (onGood && turn % checkEvery == 0) {
      const testing::AssertionResult same = sameValues(o.values, want[kind]);
      if (!same) {
        ADD_FAILURE() << "call " << i << ", " << rs[kind].name << ": " << same.message();
        return false;
      }
    }
    return true;
  }

  std::vector<std::unique_ptr<testsupport::TempFile>> files_;
  std::vector<HostileFile> hostile_;
};

TEST_F(Soak, HundredThousandCallsLeaveNothingBehind) {
  const std::vector<Request> rs = requests();
  std::vector<std::vector<double>> want;
  for (const Request& r : rs) want.push_back(expected(model, r));
  // The last call of a phase is the same good element request, so that the prototypes end in the same state.
  const Request settle = elementHistory(model);

  long problems = 0;
  for (long i = 0; i < kWarmUp; ++i) problems += oneCall(i, rs, want, 1) ? 0 : 1;
  ASSERT_EQ(call(good.path(), settle).code, 0);
  ASSERT_EQ(problems, 0);
  const std::int64_t residentBefore = residentBytes();
  const int descriptorsBefore = openDescriptors(), mappingsBefore = mappingCount();
  const std::int64_t heldBefore = bytesHeldThroughNew();

  const auto start = std::chrono::steady_clock::now();
  for (long i = kWarmUp; i < kWarmUp + kCalls && problems < 10; ++i)
    problems += oneCall(i, rs, want, 97) ? 0 : 1;
  ASSERT_EQ(call(good.path(), settle).code, 0);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

  const std::int64_t residentAfter = residentBytes();
  const int descriptorsAfter = openDescriptors(), mappingsAfter = mappingCount();
  const std::int64_t heldAfter = bytesHeldThroughNew();
  std::printf(
      "[ soak     ] %ld calls in %.1f s; resident %lld -> %lld KiB; descriptors %d -> %d; mappings %d -> "
      "%d; held through new %lld -> %lld bytes\n",
      kCalls, seconds, static_cast<long long>(residentBefore / 1024),
      static_cast<long long>(residentAfter / 1024), descriptorsBefore, descriptorsAfter, mappingsBefore,
      mappingsAfter, static_cast<long long>(heldBefore), static_cast<long long>(heldAfter));
  EXPECT_EQ(problems, 0);
  EXPECT_EQ(descriptorsAfter, descriptorsBefore) << "descriptors leaked";
  int kernelViews = mappingsOf(good.path());
  for (const HostileFile& f : hostile_) kernelViews += mappingsOf(f.path);
  EXPECT_EQ(kernelViews, 0) << "views of the kernel files left";
  int kernelHandles = handlesOf(good.path());
  for (const HostileFile& f : hostile_) kernelHandles += handlesOf(f.path);
  EXPECT_EQ(kernelHandles, 0) << "the kernel files are still held open";
  if (kCompareAllMappings) {
    EXPECT_LE(mappingsAfter, mappingsBefore + kUnrelatedMappingSlack) << "mappings leaked";
  }
  EXPECT_EQ(heldAfter, heldBefore) << "memory held through operator new grew";
  if (!HARDENING_SANITIZED) {
    EXPECT_LT(residentAfter - residentBefore, std::int64_t(8) << 20) << "resident memory grew";
    EXPECT_LT(seconds, 60.0);
  }
  expectGoodFileAnswers();
}

}  // namespace
}  // namespace hardening
