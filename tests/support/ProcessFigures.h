// What the hardening suites measure of this test process, on each system: memory, open handles, mapped views,
// and running a call apart so that a crash or a hang fails one case instead of the whole binary.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace testsupport {

// Resident memory of this process in bytes (POSIX: /proc/self/statm; Windows: the working set).
std::int64_t residentBytes();
// Peak resident memory of this process so far, in bytes (POSIX: getrusage; Windows: the peak working set).
std::int64_t peakResidentBytes();
// Open descriptors (POSIX: /proc/self/fd) or handles (Windows) of this process; -1 when unknown.
int openDescriptors();
// Open descriptors or handles of this process on the file at `path`. POSIX: the descriptors in /proc/self/fd
// that name it. Windows: 1 when some handle holds it (an exclusive open is refused for sharing), else 0; this
// also works under Wine, whose handle count of a process is always 0.
int handlesOf(const std::string& path);
// Mapped regions of this process (POSIX: lines of /proc/self/maps; Windows: mapped-file views).
int mappingCount();
// Mapped views of this process of the file at `path` (POSIX: matched by the path; Windows: by its file name).
int mappingsOf(const std::string& path);

// True when this Windows program runs under Wine rather than on Windows. There every file and mapping call goes
// through the Wine server and costs about a millisecond, some thirty times a native call, so the longest sweeps
// scale their counts down.
bool runsUnderWine();

enum class ChildEnd { kReturnedZero, kReturnedMinusOne, kReturnedOther, kCrashed, kTimedOut };

struct ChildResult {
  ChildEnd end = ChildEnd::kTimedOut;
  int signal = 0;
  double seconds = 0.0;
};

const char* describe(ChildEnd e);

// True where runApart runs its action in a child process (POSIX, with fork). Windows has no fork: there the
// action runs in this process, a crash ends the test binary (and fails the test), and a call that does not end
// is stopped by the test's own timeout in ctest.
bool runsApart();

// Runs `action` (a call of an export) and waits at most `timeoutSeconds` for it. Apart (see runsApart), a child
// that runs longer is killed by its own pid.
ChildResult runApart(const std::function<std::int32_t()>& action, double timeoutSeconds);

}  // namespace testsupport
