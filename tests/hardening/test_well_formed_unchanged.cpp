// A well-formed kernel file is never changed by any call on it: its size, every byte and its modification time
// stay as they were, whatever the call asks and whether it answers or fails.
//
// The file is mapped read-write, so a stray store through the view, a lengthening by a read past the end, or a
// needless resize would all show here. The modification time is first set far in the past, so that a change
// within the file system's timestamp granularity cannot hide.
#include <chrono>
#include <filesystem>

#include "hardening/HardeningFixture.h"

namespace hardening {
namespace {

struct FileState {
  std::int64_t size = -1;
  std::string bytes;
  std::filesystem::file_time_type modified{};  // to the file system's own resolution
};

FileState stateOf(const std::string& path) {
  FileState s;
  std::error_code error;
  s.size = testsupport::sizeOnDisk(path);
  const auto modified = std::filesystem::last_write_time(path, error);
  if (!error) s.modified = modified;
  s.bytes = testsupport::readWholeFile(path);
  return s;
}

testing::AssertionResult unchanged(const FileState& before, const FileState& after) {
  if (after.size != before.size)
    return testing::AssertionFailure() << "size " << after.size << " instead of " << before.size;
  if (after.bytes != before.bytes) {
    std::size_t i = 0;
    while (i < before.bytes.size() && i < after.bytes.size() && before.bytes[i] == after.bytes[i]) ++i;
    return testing::AssertionFailure() << "contents differ from byte " << i;
  }
  if (after.modified != before.modified)
    return testing::AssertionFailure() << "modification time changed";
  return testing::AssertionSuccess();
}

class WellFormed : public HardeningTest {
 protected:
  void SetUp() override {
    HardeningTest::SetUp();
    // About 25 years before now: far from it, so any touch of the file moves it.
    std::error_code error;
    const auto now = std::filesystem::last_write_time(good.path(), error);
    ASSERT_FALSE(error);
    std::filesystem::last_write_time(good.path(), now - std::chrono::hours(24 * 365 * 25), error);
    ASSERT_FALSE(error);
    before = stateOf(good.path());
    ASSERT_EQ(before.size, goodLayout.fileSize);
  }

  void expectUnchanged(const std::string& what) {
    EXPECT_TRUE(unchanged(before, stateOf(good.path()))) << "after " << what;
  }

  FileState before;
};

TEST_F(WellFormed, TheModelAnswersEveryStandardRequest) {
  // The comparisons below mean something only if every entity contributes values: every node and every
  // element of the model has a non-zero value for some requested response id, at every step.
  for (const Request& r : standardRequests(model)) {
    const std::vector<double> want = expected(model, r);
    const bool element = (r.flags & kElement) != 0;
    if ((r.flags & kEnvelope) != 0) {
      EXPECT_FALSE(allZero(want)) << r.name;
      continue;
    }
    const std::size_t rows = want.size() / r.ids.size();
    for (std::size_t i = 0; i < r.ids.size(); ++i) {
      const bool present =
          element ? findElement(model, r.ids[i]) != nullptr : findNode(model, r.ids[i]) != nullptr;
      const std::vector<double> block(want.begin() + static_cast<std::ptrdiff_t>(i * rows),
                                      want.begin() + static_cast<std::ptrdiff_t>((i + 1) * rows));
      EXPECT_EQ(allZero(block), !present) << r.name << ", ID " << r.ids[i];
    }
  }
  expectGoodFileAnswers();
  expectUnchanged("the standard requests");
}

TEST_F(WellFormed, ElementListingLeavesTheFileAlone) {
  for (const std::int32_t capacity : {0, 1, 3, 7, 8, 100, -4}) {
    const ListOutcome l = list(good.path(), capacity);
    EXPECT_EQ(l.code, 0) << "capacity " << capacity;
    EXPECT_EQ(l.count, 7) << "capacity " << capacity;
    EXPECT_EQ(l.damage, "") << "capacity " << capacity;
    expectUnchanged("listing with capacity " + std::to_string(capacity));
  }
}

TEST_F(WellFormed, EveryFlagCombinationLeavesTheFileAlone) {
  // All block flows under every combination of the flags 2, 4 and 8, and the envelope under each.
  for (std::int32_t extra = 0; extra < 16; extra += 2) {
    const std::int32_t mode = (extra & kSingleMode) != 0 ? 2 : 0;
    const std::vector<Request> requests = {
        nodalHistory(model, extra, mode),           nodalStep(model, extra, 1, mode),
        nodalStep(model, extra, model.steps, mode), envelope(model, extra, mode),
        elementHistory(model, extra, mode),         elementStep(model, extra, 4, mode)};
    for (const Request& r : requests) {
      const Outcome o = call(good.path(), r);
      const std::string what = r.name + " with flags " + std::to_string(r.flags);
      EXPECT_EQ(o.code, 0) << what;
      EXPECT_EQ(o.damage, "") << what;
      if (o.code == 0) {
        EXPECT_TRUE(sameValues(o.values, expected(model, r))) << what;
      }
      expectUnchanged(what);
    }
  }
}

TEST_F(WellFormed, RefusedRequestsLeaveTheFileAlone) {
  std::vector<Request> refused;
  Request r = nodalHistory(model);
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size()) * model.steps - 1;  // one short
  refused.push_back(r);
  r = nodalStep(model);
  r.stepNumber = model.steps + 1;  // past the last step
  refused.push_back(r);
  r = envelope(model);
  r.resultLength += 1;  // not exactly 2 n^2
  refused.push_back(r);
  r = nodalStep(model);
  r.ids = {kMissingId};  // none of the IDs is in the file
  r.resultLength = static_cast<std::int32_t>(r.keys.size());
  refused.push_back(r);
  r = elementStep(model);
  r.ids = {kMissingId, kMissingId + 1};
  r.resultLength = 2 * static_cast<std::int32_t>(r.keys.size());
  refused.push_back(r);
  r = nodalStep(model, kSingleMode, 1, model.modes + 1);  // a mode the file does not have
  refused.push_back(r);
  r = elementHistory(model, kSingleMode, model.modes + 5);
  refused.push_back(r);
  r = nodalHistory(model, kSingleMode, 0);  // no mode at all under flag 4
  refused.push_back(r);
  for (const Request& q : refused) {
    const Outcome o = call(good.path(), q);
    EXPECT_EQ(o.code, -1) << q.name;
    EXPECT_EQ(o.damage, "") << q.name;
    expectUnchanged("a refused " + q.name);
  }
}

TEST_F(WellFormed, RequestsThatAnswerZerosLeaveTheFileAlone) {
  // Response ids no key knows, and a node without the asked component: the call answers, with zeros.
  Request r = nodalStep(model);
  r.keys = {109, 405, 112};
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size());
  Outcome o = call(good.path(), r);
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.damage, "");
  EXPECT_TRUE(allZero(o.values));
  expectUnchanged("a request for unknown response ids");

  r = elementHistory(model);
  r.keys = {999999, 100130403};
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size()) * model.steps;
  o = call(good.path(), r);
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.damage, "");
  EXPECT_TRUE(allZero(o.values));
  expectUnchanged("an element request for unknown response ids");
}

TEST_F(WellFormed, ManyCallsInARowLeaveTheFileAlone) {
  for (int i = 0; i < 200; ++i) {
    const std::vector<Request> requests = standardRequests(model);
    const Outcome o = call(good.path(), requests[static_cast<std::size_t>(i) % requests.size()]);
    ASSERT_EQ(o.code, 0) << "call " << i;
  }
  expectUnchanged("200 calls");
}

}  // namespace
}  // namespace hardening
