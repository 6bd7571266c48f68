// The good file cut at every byte offset (under Wine, every byte of its first KiB and every fourth after it).
// Every call on every cut must give 0 or -1, never crash, never write outside the caller's arrays and never
// leave stale values. A call that reads past the end lengthens the file, so the file is cut again before the
// next call whenever that happened. Two layouts: the writer's usual order
// (sections, then the records, so cuts land in records first) and records before sections (so cuts land in
// the step and history sections while every record is whole).

#include "hardening/HardeningFixture.h"

namespace hardening {
namespace {

class Truncation : public HardeningTest {
 protected:
  // Cuts `full` at every offset from 0 to its size - 1 (under Wine, see below) and runs the listing and every
  // standard request on each cut. Returns the number of cuts.
  std::int64_t sweep(const std::vector<std::uint8_t>& full) {
    const std::vector<Request> requests = {
        nodalHistory(model),           nodalStep(model),   envelope(model),
        elementHistory(model),         elementStep(model), nodalHistory(model, kRotate | kBaseMotion),
        elementHistory(model, kRotate)};
    const auto size = static_cast<std::int64_t>(full.size());
    std::int64_t answered = 0, refused = 0;
    int failures = 0;
    // Under Wine each call goes through the Wine server: there every cut of the first KiB (the header, the
    // section table, the directories' heads) and every fourth cut after it.
    const std::int64_t stride = testsupport::runsUnderWine() ? 4 : 1;
    std::int64_t cuts = 0;
    for (std::int64_t cut = 0; cut < size && failures < 20; cut += cut < 1024 ? 1 : stride) {
      ++cuts;
      const std::vector<std::uint8_t> bytes(full.begin(), full.begin() + cut);
      kernelwriter::writeBytes(cut_.path(), bytes);
      const ListOutcome l = list(cut_.path(), 16);
      if (!l.damage.empty()) {
        ADD_FAILURE() << "cut at " << cut << ", listing:" << l.damage;
        ++failures;
      }
      (l.code == 0 ? answered : refused) += 1;
      for (const Request& r : requests) {
        // A call that read past the end has lengthened the file: cut it again.
        if (fileSize(cut_.path()) != cut) kernelwriter::writeBytes(cut_.path(), bytes);
        const Outcome o = call(cut_.path(), r);
        if (!o.damage.empty()) {
          ADD_FAILURE() << "cut at " << cut << ", " << r.name << " (flags " << r.flags << "):" << o.damage;
          ++failures;
        }
        (o.code == 0 ? answered : refused) += 1;
      }
    }
    // The whole file, not cut, answers everything.
    kernelwriter::writeBytes(cut_.path(), full);
    for (const Request& r : requests) {
      const Outcome o = call(cut_.path(), r);
      EXPECT_EQ(o.code, 0) << r.name << " on the whole file";
      if (o.code == 0) {
        EXPECT_TRUE(sameValues(o.values, expected(model, r))) << r.name << " on the whole file";
      }
    }
    std::printf("[ cuts     ] %lld cuts of a %lld-byte file, %lld calls: %lld answered, %lld refused\n",
                static_cast<long long>(cuts), static_cast<long long>(size),
                static_cast<long long>(answered + refused), static_cast<long long>(answered),
                static_cast<long long>(refused));
    return cuts;
  }

  // The number of cuts sweep makes of a file of `size` bytes.
  static std::int64_t cutCount(std::int64_t size) {
    if (!testsupport::runsUnderWine() || size <= 1024) return size;
    return 1024 + (size - 1024 + 3) / 4;
  }

  testsupport::TempFile cut_{"hardening_cut"};
};

TEST_F(Truncation, EveryCutOfTheFileGivesACleanAnswer) {
  const std::vector<std::uint8_t> full = modelFile(model).bytes();
  ASSERT_GT(full.size(), 2000u);
  ASSERT_LT(full.size(), 32768u);
  EXPECT_EQ(sweep(full), cutCount(static_cast<std::int64_t>(full.size())));
  expectGoodFileAnswers();
}

TEST_F(Truncation, EveryCutWithTheRecordsBeforeTheSections) {
  kernelwriter::KernelFile f = modelFile(model);
  f.recordsBeforeSections = true;
  const std::vector<std::uint8_t> full = f.bytes();
  EXPECT_EQ(sweep(full), cutCount(static_cast<std::int64_t>(full.size())));
  expectGoodFileAnswers();
}

TEST_F(Truncation, CutsInsideTheHeaderAreRefused) {
  // Up to the end of section 21's header nothing can be answered: the format number, the section table or
  // the dimensions are missing, and what a lengthening fills in is zeros (every position 0, where no section
  // 21 stands).
  kernelwriter::Layout layout;
  const std::vector<std::uint8_t> full = modelFile(model).bytes(&layout);
  const std::int64_t end = std::min<std::int64_t>(220, layout.sectionPositions[21] + 12);
  for (std::int64_t cut = 0; cut < end; ++cut) {
    const std::vector<std::uint8_t> bytes(full.begin(), full.begin() + cut);
    kernelwriter::writeBytes(cut_.path(), bytes);
    const ListOutcome l = list(cut_.path(), 16);
    EXPECT_EQ(l.code, -1) << "cut at " << cut;
    EXPECT_EQ(l.damage, "") << "cut at " << cut;
    for (const Request& r : standardRequests(model)) {
      kernelwriter::writeBytes(cut_.path(), bytes);
      const Outcome o = call(cut_.path(), r);
      EXPECT_EQ(o.code, -1) << "cut at " << cut << ", " << r.name;
      EXPECT_EQ(o.damage, "") << "cut at " << cut << ", " << r.name;
    }
  }
}

}  // namespace
}  // namespace hardening
