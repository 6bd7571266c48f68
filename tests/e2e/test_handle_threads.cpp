// Handles under threads: several threads query one handle at once, and threads use handles of their own beside
// the designed door. Every answer must be the one a single thread gets from the designed door. Run in the
// ThreadSanitizer build of scripts/run-tests.sh, these tests also show that no two queries share mutable state.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "TimeKernel.h"
#include "e2e/HandleFiles.h"
#include "support/TestSupport.h"

namespace {

using testsupport::TempFile;

struct Answer {
  handletest::Request request;
  std::int32_t rc = 0;
  std::vector<double> values;
  std::string reason;
};

// The designed door's answers to `count` random requests on the file at `path`, one at a time.
std::vector<Answer> designedAnswers(const handletest::RandomFile& r, const std::string& path, std::uint32_t seed,
                                    int count) {
  std::mt19937 rng(seed);
  std::vector<Answer> answers;
  for (int k = 0; k < count; ++k) {
    Answer a;
    a.request = handletest::randomRequest(rng, r);
    const handletest::Request& q = a.request;
    a.values.assign(static_cast<std::size_t>(q.resultLength), 0.0);
    a.rc = TimeKernelOutputResult(path.c_str(), q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()),
                                  q.keys.data(), static_cast<std::int32_t>(q.keys.size()), q.modeNumber,
                                  q.stepNumber, a.values.data(), q.resultLength);
    a.reason = TimeKernelLastError();
    answers.push_back(a);
  }
  return answers;
}

// Asks `file` every request of `answers`, `rounds` times, and counts the answers that differ from the expected
// ones in return value, reason or any bit.
int mismatches(TimeKernelFile* file, const std::vector<Answer>& answers, int rounds) {
  int wrong = 0;
  for (int round = 0; round < rounds; ++round) {
    for (const Answer& a : answers) {
      const handletest::Request& q = a.request;
      std::vector<double> values(static_cast<std::size_t>(q.resultLength), 1.0);
      const std::int32_t rc = TimeKernelQuery(file, q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()),
                                              q.keys.data(), static_cast<std::int32_t>(q.keys.size()), q.modeNumber,
                                              q.stepNumber, values.data(), q.resultLength);
      const bool same = rc == a.rc && a.reason == TimeKernelLastError() &&
                        (values.empty() || std::memcmp(values.data(), a.values.data(), values.size() * 8) == 0);
      if (!same) ++wrong;
    }
  }
  return wrong;
}

TEST(HandleThreads, FourThreadsQueryOneHandleAtOnce) {
  const handletest::RandomFile r = handletest::randomFile(31);
  TempFile path("threads");
  r.file.write(path.path());
  std::vector<std::vector<Answer>> expected;
  for (std::uint32_t t = 0; t < 4; ++t) expected.push_back(designedAnswers(r, path.path(), 100 + t, 40));
  TimeKernelFile* file = nullptr;
  ASSERT_EQ(TimeKernelOpen(path.c_str(), &file), 0) << TimeKernelLastError();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] { wrong += mismatches(file, expected[t], 5); });
  }
  for (std::thread& t : threads) t.join();
  TimeKernelClose(file);
  EXPECT_EQ(wrong.load(), 0);
}

TEST(HandleThreads, HandlesOfTheirOwnInEveryThread) {
  std::vector<handletest::RandomFile> files;
  std::vector<std::unique_ptr<TempFile>> paths;
  std::vector<std::vector<Answer>> expected;
  for (std::uint32_t t = 0; t < 3; ++t) {
    files.push_back(handletest::randomFile(40 + t));
    paths.push_back(std::make_unique<TempFile>("own"));
    files.back().file.write(paths.back()->path());
    expected.push_back(designedAnswers(files.back(), paths.back()->path(), 200 + t, 30));
  }
  std::atomic<int> wrong{0}, failedOpens{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      for (int again = 0; again < 3; ++again) {
        TimeKernelFile* file = nullptr;
        if (TimeKernelOpen(paths[t]->c_str(), &file) != 0) {
          ++failedOpens;
          return;
        }
        wrong += mismatches(file, expected[t], 2);
        TimeKernelClose(file);
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failedOpens.load(), 0);
  EXPECT_EQ(wrong.load(), 0);
}

// Each thread's last error is its own.
TEST(HandleThreads, LastErrorBelongsToItsThread) {
  std::string inThread;
  std::thread t([&] {
    TimeKernelFile* file = nullptr;
    TimeKernelOpen("no-such-file-in-this-thread.kernel", &file);
    inThread = TimeKernelLastError();
  });
  t.join();
  EXPECT_NE(inThread.find("no-such-file-in-this-thread.kernel"), std::string::npos);
  TimeKernelClose(nullptr);
  EXPECT_STREQ(TimeKernelLastError(), "");
}

}  // namespace
