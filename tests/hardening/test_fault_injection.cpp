// Fault injection: the platform calls fail one at a time, and every allocation of a call fails in turn.
//
// Platform faults replace one entry of the platform table (kernelfile/platform.h) with a forwarder that fails
// its N-th call, for every N the call reaches. Whatever fails, the call must give a clean result (0 or -1,
// nothing written outside the caller's arrays, no stale or undefined value handed out, the kernel closed
// again), leave a well-formed file as it was, release every descriptor and mapping, and the next call with the
// system's own table must answer with the right values.
//
// Allocation faults replace the global operator new and delete, in this file only (for the whole test binary,
// as replacement works): while armed, every allocation is counted and the N-th one fails (std::bad_alloc, or
// null from the nothrow forms). For every N from 1 until a call no longer reaches the N-th allocation, the
// armed call runs in a child process, so that an allocation failure that ends the process fails one case
// instead of the whole binary. In the child: the call must give -1 (or 0 with the right values, when the
// failure hit nothing essential), the next unarmed call must answer with the right values, and the bytes held
// through operator new afterwards must equal those held before (no leak).
//
// While armed, every new block is filled with 0xFF bytes, which read as a NaN: a value read from memory that
// was never written shows as a NaN in the result, and the good model holds none.
#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "hardening/HardeningFixture.h"
#include "kernelfile/FileMapping.h"
#include "kernelfile/platform.h"

// ---- counting operator new ----

namespace {

// Constant-initialised, so valid before any dynamic initialisation runs.
std::atomic<bool> gArmed{false};       // count, maybe fail, and poison new blocks
std::atomic<long> gSeen{0};            // allocations seen while armed
std::atomic<long> gFailAt{0};          // the allocation that fails; 0: none
std::atomic<bool> gHit{false};         // the failure happened
std::atomic<long long> gLiveBytes{0};  // bytes held through operator new, armed or not

// Every block carries its size in front, so that the live byte count stays exact; 16 bytes keep the
// alignment malloc gives.
constexpr std::size_t kHeader = 16;

void* countedAllocate(std::size_t size, bool mayThrow) {
  const bool armed = gArmed.load(std::memory_order_relaxed);
  if (armed) {
    const long n = gSeen.fetch_add(1) + 1;
    if (n == gFailAt.load()) {
      gHit = true;
      if (mayThrow) throw std::bad_alloc();
      return nullptr;
    }
  }
  void* block = std::malloc(size + kHeader);
  if (block == nullptr) {
    if (mayThrow) throw std::bad_alloc();
    return nullptr;
  }
  std::memcpy(block, &size, sizeof size);
  gLiveBytes.fetch_add(static_cast<long long>(size));
  char* user = static_cast<char*>(block) + kHeader;
  if (armed) std::memset(user, 0xff, size);
  return user;
}

void countedRelease(void* p) {
  if (p == nullptr) return;
  char* block = static_cast<char*>(p) - kHeader;
  std::size_t size = 0;
  std::memcpy(&size, block, sizeof size);
  gLiveBytes.fetch_sub(static_cast<long long>(size));
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return countedAllocate(size, true); }
void* operator new[](std::size_t size) { return countedAllocate(size, true); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return countedAllocate(size, false); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return countedAllocate(size, false); }
void operator delete(void* p) noexcept { countedRelease(p); }
void operator delete[](void* p) noexcept { countedRelease(p); }
void operator delete(void* p, std::size_t) noexcept { countedRelease(p); }
void operator delete[](void* p, std::size_t) noexcept { countedRelease(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { countedRelease(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { countedRelease(p); }

namespace hardening {

std::int64_t bytesHeldThroughNew() { return gLiveBytes.load(); }

namespace {

namespace platform = Zarn::platform;

// Arms the allocation counter for the length of one export call.
void armAllocations(bool on) { gArmed.store(on); }

// ---- platform faults ----

enum class Entry {
  kOpen, kSize, kExtend, kFreeSpace, kCreateMapping, kMap, kAvailableMemory, kProcessMemoryUse, kReadAt
};

const char* nameOf(Entry e) {
  switch (e) {
    case Entry::kOpen:
      return "openExisting";
    case Entry::kSize:
      return "fileSize";
    case Entry::kExtend:
      return "extendFile";
    case Entry::kFreeSpace:
      return "freeDiskSpace";
    case Entry::kCreateMapping:
      return "createMapping";
    case Entry::kMap:
      return "mapView";
    case Entry::kAvailableMemory:
      return "availableMemory";
    case Entry::kProcessMemoryUse:
      return "processMemoryUse";
    case Entry::kReadAt:
      return "readAt";
  }
  return "?";
}

struct PlatformFault {
  Entry entry = Entry::kOpen;
  int failAt = 0;  // 0: count only
  int seen = 0;
  bool hit = false;
  bool noRoom = false;  // freeDiskSpace answers "0 bytes free" instead of failing
};
PlatformFault gFault;

// True when this call of `e` is the one to fail.
bool failsNow(Entry e) {
  if (gFault.entry != e) return false;
  ++gFault.seen;
  if (gFault.seen != gFault.failAt) return false;
  gFault.hit = true;
  return true;
}

bool faultyOpen(const char* path, platform::FileHandle* file) {
  return !failsNow(Entry::kOpen) && platform::systemCalls().openExisting(path, file);
}
bool faultySize(platform::FileHandle file, std::int64_t* size) {
  return !failsNow(Entry::kSize) && platform::systemCalls().fileSize(file, size);
}
bool faultyExtend(platform::FileHandle file, std::int64_t size) {
  return !failsNow(Entry::kExtend) && platform::systemCalls().extendFile(file, size);
}
bool faultyFreeSpace(platform::FileHandle file, std::int64_t* bytes) {
  if (failsNow(Entry::kFreeSpace)) {
    if (!gFault.noRoom) return false;
    *bytes = 0;
    return true;
  }
  return platform::systemCalls().freeDiskSpace(file, bytes);
}
bool faultyCreateMapping(platform::FileHandle file, std::int64_t size) {
  return !failsNow(Entry::kCreateMapping) && platform::systemCalls().createMapping(file, size);
}
void* faultyMap(platform::FileHandle file, std::int64_t offset, std::int64_t size) {
  return failsNow(Entry::kMap) ? nullptr : platform::systemCalls().mapView(file, offset, size);
}
bool faultyAvailable(std::int64_t* bytes) {
  return !failsNow(Entry::kAvailableMemory) && platform::systemCalls().availableMemory(bytes);
}
bool faultyProcessUse(std::int64_t* bytes) {
  return !failsNow(Entry::kProcessMemoryUse) && platform::systemCalls().processMemoryUse(bytes);
}

bool faultyReadAt(platform::FileHandle file, std::int64_t offset, void* destination, std::int64_t size) {
  return !failsNow(Entry::kReadAt) && platform::systemCalls().readAt(file, offset, destination, size);
}

// The system's table with one entry failing its `failAt`-th call (or only counted, for 0).
void installFault(Entry e, int failAt, bool noRoom = false) {
  gFault = PlatformFault{e, failAt, 0, false, noRoom};
  platform::resetCalls();
  platform::Calls& c = platform::calls();
  switch (e) {
    case Entry::kOpen:
      c.openExisting = faultyOpen;
      break;
    case Entry::kSize:
      c.fileSize = faultySize;
      break;
    case Entry::kExtend:
      c.extendFile = faultyExtend;
      break;
    case Entry::kFreeSpace:
      c.freeDiskSpace = faultyFreeSpace;
      break;
    case Entry::kCreateMapping:
      c.createMapping = faultyCreateMapping;
      break;
    case Entry::kMap:
      c.mapView = faultyMap;
      break;
    case Entry::kAvailableMemory:
      c.availableMemory = faultyAvailable;
      break;
    case Entry::kProcessMemoryUse:
      c.processMemoryUse = faultyProcessUse;
      break;
    case Entry::kReadAt:
      c.readAt = faultyReadAt;
      break;
  }
}

// ---- jobs: one export call with what it must give ----

struct Job {
  std::string name;
  std::string path;
  bool listing = false;
  Request request;
  const GoodModel* model = nullptr;  // the values the call must give
  std::function<void()> prepare;     // (re)writes the file, for files that a call lengthens
};

struct JobOutcome {
  std::int32_t code = 0;
  std::string damage;
  std::vector<double> values;
  ListOutcome listing;
};

JobOutcome runJob(const Job& job) {
  JobOutcome o;
  if (job.listing) {
    o.listing = list(job.path, 16);
    o.code = o.listing.code;
    o.damage = o.listing.damage;
  } else {
    Outcome r = call(job.path, job.request);
    o.code = r.code;
    o.damage = std::move(r.damage);
    o.values = std::move(r.values);
  }
  return o;
}

bool hasNaN(const std::vector<double>& v) {
  for (double x : v)
    if (std::isnan(x)) return true;
  return false;
}

// Whether the outcome carries exactly what the job's model gives.
testing::AssertionResult rightAnswer(const Job& job, const JobOutcome& o) {
  if (o.code != 0) return testing::AssertionFailure() << "returned " << o.code;
  if (job.listing) {
    const std::vector<std::int32_t> ids = elementIds(*job.model);
    if (o.listing.count != static_cast<std::int32_t>(ids.size()))
      return testing::AssertionFailure() << "count " << o.listing.count;
    if (!std::equal(ids.begin(), ids.end(), o.listing.ids.begin())) return testing::AssertionFailure() << "IDs";
    return testing::AssertionSuccess();
  }
  return sameValues(o.values, expected(*job.model, job.request));
}

class FaultInjection : public HardeningTest {
 protected:
  void SetUp() override {
    HardeningTest::SetUp();
    // A file that calls lengthen: node 13's record and the RigidBar's lie past the end.
    lengthening = model;
    lengthening.nodes[2].codes.assign(3, kNoComponent);
    lengthening.elements.back().record.typeCode = 0;
    kernelwriter::Layout l;
    shortBytes = modelFile(model).bytes(&l);
    const std::int64_t nodesField = l.sectionPositions[2] + 12 + 4 * 3 + 8 * 2;
    const std::int64_t elementsField = l.sectionPositions[3] + 12 + 4 * 7 + 8 * 6;
    kernelwriter::putI64(shortBytes, nodesField, l.fileSize + 100);
    kernelwriter::putI64(shortBytes, elementsField, l.fileSize + 3000);
    shortSize = l.fileSize;
  }

  // Calls on the good file, of every kind.
  std::vector<Job> goodJobs() {
    std::vector<Job> jobs;
    Job listing;
    listing.name = "element listing";
    listing.path = good.path();
    listing.listing = true;
    listing.model = &model;
    jobs.push_back(listing);
    std::vector<Request> requests = standardRequests(model);
    requests.push_back(nodalHistory(model, kRotate | kBaseMotion));
    requests.push_back(nodalStep(model, kSingleMode, 2, 2));
    requests.push_back(envelope(model, kBaseMotion | kRotate));
    requests.push_back(elementHistory(model, kRotate));
    requests.push_back(elementStep(model, kSingleMode | kRotate, 3, 1));
    for (const Request& r : requests) {
      Job j;
      j.name = r.name + " (flags " + std::to_string(r.flags) + ")";
      j.path = good.path();
      j.request = r;
      j.model = &model;
      jobs.push_back(j);
    }
    return jobs;
  }

  // Calls on the short file that lengthen it (the file is rewritten before each).
  std::vector<Job> lengtheningJobs() {
    std::vector<Job> jobs;
    for (const Request& r : {nodalStep(lengthening), nodalHistory(lengthening), elementHistory(lengthening),
                             elementStep(lengthening)}) {
      Job j;
      j.name = r.name + " on a file it lengthens";
      j.path = shortFile.path();
      j.request = r;
      j.model = &lengthening;
      j.prepare = [this] { kernelwriter::writeBytes(shortFile.path(), shortBytes); };
      jobs.push_back(j);
    }
    return jobs;
  }

  // Every N-th call of `entry` fails in turn, for every job. Returns the number of failure sites.
  int sweep(Entry entry, const std::vector<Job>& jobs, bool noRoom = false) {
    const std::string goodBytesBefore = testsupport::readWholeFile(good.path());
    // One unharmed round first, so that whatever the process sets up once (allocator regions and the like) is
    // in place before the baseline.
    for (const Job& job : jobs) {
      if (job.prepare) job.prepare();
      runJob(job);
    }
    const int descriptors = openDescriptors(), mappings = mappingCount();
    int sites = 0;
    exportHook() = armPoison;
    for (const Job& job : jobs) {
      if (job.prepare) job.prepare();
      installFault(entry, 0);
      runJob(job);
      platform::resetCalls();
      const int count = gFault.seen;
      for (int n = 1; n <= count; ++n) {
        SCOPED_TRACE(job.name + ", " + nameOf(entry) + " call " + std::to_string(n) + " of " +
                     std::to_string(count));
        if (job.prepare) job.prepare();
        const std::int64_t sizeBefore = fileSize(job.path);
        installFault(entry, n, noRoom);
        const JobOutcome o = runJob(job);
        platform::resetCalls();
        EXPECT_TRUE(gFault.hit);
        EXPECT_EQ(o.damage, "");
        EXPECT_FALSE(hasNaN(o.values)) << "a value from memory that was never written";
        expectCodeFor(entry, job, o);
        if (entry == Entry::kExtend || entry == Entry::kFreeSpace) {
          EXPECT_EQ(fileSize(job.path), sizeBefore) << "lengthened although the lengthening was refused";
        }
        // The next call, with the system's own calls, answers.
        if (job.prepare) job.prepare();
        EXPECT_TRUE(rightAnswer(job, runJob(job))) << "the call after the fault";
      }
      sites += count;
    }
    exportHook() = nullptr;
    EXPECT_EQ(testsupport::readWholeFile(good.path()), goodBytesBefore) << "the good file was changed";
    EXPECT_EQ(openDescriptors(), descriptors) << "descriptors left open";
    EXPECT_EQ(mappingsOf(good.path()) + mappingsOf(shortFile.path()), 0) << "views of the kernel files left";
    EXPECT_EQ(handlesOf(good.path()) + handlesOf(shortFile.path()), 0) << "the kernel files are still held open";
    if (kCompareAllMappings) {
      EXPECT_LE(mappingCount(), mappings + kUnrelatedMappingSlack) << "mappings left behind";
    }
    std::printf("[ fault    ] %s: %d failure sites over %zu calls\n", nameOf(entry), sites, jobs.size());
    return sites;
  }

  static void armPoison(bool on) {
    gFailAt = 0;
    armAllocations(on);
  }

  void expectCodeFor(Entry entry, const Job& job, const JobOutcome& o) {
    switch (entry) {
      case Entry::kOpen:
        // A file that cannot be opened is the call's failure.
        EXPECT_EQ(o.code, -1);
        if (job.listing) {
          EXPECT_EQ(o.listing.count, 16) << "*count changed by a failed call";
        }
        break;
      case Entry::kAvailableMemory:
      case Entry::kProcessMemoryUse:
      case Entry::kReadAt:
        // Unknown memory figures only shrink the window to its floor, and a failed positioned read is served by
        // the view instead: the answer stands.
        EXPECT_TRUE(rightAnswer(job, o));
        break;
      default:
        // A read for which no view can be made is dropped: the call answers from what it could read, or fails.
        EXPECT_TRUE(o.code == 0 || o.code == -1);
        break;
    }
  }

  GoodModel lengthening;
  std::vector<std::uint8_t> shortBytes;
  std::int64_t shortSize = 0;
  testsupport::TempFile shortFile{"hardening_short"};
};

TEST_F(FaultInjection, OpenFails) { EXPECT_GT(sweep(Entry::kOpen, goodJobs()), 0); }

TEST_F(FaultInjection, SizeQueryFails) {
  EXPECT_GT(sweep(Entry::kSize, goodJobs()) + sweep(Entry::kSize, lengtheningJobs()), 0);
}

TEST_F(FaultInjection, ExtendFileFails) { EXPECT_GT(sweep(Entry::kExtend, lengtheningJobs()), 0); }

TEST_F(FaultInjection, FreeDiskSpaceFailsOrReportsNoRoom) {
  EXPECT_GT(sweep(Entry::kFreeSpace, lengtheningJobs()), 0);
  EXPECT_GT(sweep(Entry::kFreeSpace, lengtheningJobs(), true), 0);
}

TEST_F(FaultInjection, MappingObjectFails) {
  EXPECT_GT(sweep(Entry::kCreateMapping, goodJobs()) + sweep(Entry::kCreateMapping, lengtheningJobs()), 0);
}

TEST_F(FaultInjection, MappingFails) {
  EXPECT_GT(sweep(Entry::kMap, goodJobs()) + sweep(Entry::kMap, lengtheningJobs()), 0);
}

TEST_F(FaultInjection, PositionedReadFails) {
  EXPECT_GT(sweep(Entry::kReadAt, goodJobs()) + sweep(Entry::kReadAt, lengtheningJobs()), 0);
}

TEST_F(FaultInjection, AvailableMemoryUnknown) { EXPECT_GT(sweep(Entry::kAvailableMemory, goodJobs()), 0); }

TEST_F(FaultInjection, ProcessMemoryUseUnknown) {
  // The process's own use is asked only when a memory budget is set.
  Zarn::memoryBudget = std::int64_t(1) << 40;
  EXPECT_GT(sweep(Entry::kProcessMemoryUse, goodJobs()), 0);
}

TEST_F(FaultInjection, TheLengtheningFileIsAnsweredWhenNothingFails) {
  // The reference for the sweeps above: unharmed, each call lengthens the short file and answers.
  for (const Job& job : lengtheningJobs()) {
    job.prepare();
    EXPECT_TRUE(rightAnswer(job, runJob(job))) << job.name;
    EXPECT_GT(fileSize(job.path), shortSize) << job.name;
  }
}

// ---- allocation faults ----

// What one armed call gives (reported by the child process where it runs in one).
struct AllocationCase {
  bool ended = false;  // the call ended normally and reported
  int signal = 0;
  bool hit = false;
  int code = 0;
  std::string problems;
};

// Runs job with its n-th allocation failing, then the next call unarmed, and notes what went wrong. Allocates
// nothing of its own while armed or between the two byte counts.
AllocationCase armedCall(const Job& job, long n) {
  AllocationCase result;
  char report[2048];
  int used = 0;
  report[0] = '\0';
  auto note = [&](const char* text) {
    if (used < static_cast<int>(sizeof report) - 1)
      used += std::snprintf(report + used, sizeof report - static_cast<std::size_t>(used), "%s; ", text);
  };
  const long long liveBefore = gLiveBytes.load();
  {
    gSeen = 0;
    gHit = false;
    gFailAt = n;
    exportHook() = armAllocations;
    const JobOutcome o = runJob(job);
    exportHook() = nullptr;
    gFailAt = 0;
    result.hit = gHit.load();
    result.code = o.code;
    if (!o.damage.empty()) note(("damage:" + o.damage).c_str());
    if (hasNaN(o.values)) note("a NaN (memory never written) in the result");
    if (!result.hit && o.code != 0) note("returned -1 without an allocation failure");
    // An allocation failure is the call's failure; a 0 means the answer stands in full.
    if (o.code == 0 && !rightAnswer(job, o)) note("returned 0 with wrong values");
    if (o.code != 0 && o.code != -1) note("returned neither 0 nor -1");
    const JobOutcome next = runJob(job);
    if (!rightAnswer(job, next)) note("the next unarmed call does not answer right");
  }
  const long long leaked = gLiveBytes.load() - liveBefore;
  if (leaked != 0) {
    char text[96];
    std::snprintf(text, sizeof text, "%lld bytes held through operator new afterwards (a leak)", leaked);
    note(text);
  }
  result.ended = true;
  result.problems.assign(report, static_cast<std::size_t>(used));
  return result;
}

#if defined(_WIN32)

// Windows has no fork: the armed call runs in this process. An allocation failure that ends the process then
// ends the test binary, which fails the test as surely.
AllocationCase failAllocation(const Job& job, long n) { return armedCall(job, n); }

#else

// Runs armedCall in a child process, which reports through a pipe.
AllocationCase failAllocation(const Job& job, long n) {
  int pipeEnds[2];
  AllocationCase result;
  if (::pipe(pipeEnds) != 0) {
    result.problems = "no pipe";
    return result;
  }
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::close(pipeEnds[0]);
    // A child that ends the process would print why; the parent reports it instead.
    const int quiet = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (quiet >= 0) ::dup2(quiet, 2);
    const AllocationCase c = armedCall(job, n);
    char head[64];
    const int headLength = std::snprintf(head, sizeof head, "%d %d ", c.hit ? 1 : 0, c.code);
    if (::write(pipeEnds[1], head, static_cast<std::size_t>(headLength)) < 0 ||
        ::write(pipeEnds[1], c.problems.data(), c.problems.size()) < 0) {
      ::_exit(3);
    }
    ::_exit(0);
  }
  ::close(pipeEnds[1]);
  std::string text;
  char buffer[512];
  ssize_t got;
  while ((got = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0)
    text.append(buffer, static_cast<std::size_t>(got));
  ::close(pipeEnds[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
    return result;
  }
  int hit = 0, consumed = 0;
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
      std::sscanf(text.c_str(), "%d %d %n", &hit, &result.code, &consumed) >= 2) {
    result.ended = true;
    result.hit = hit != 0;
    result.problems = text.substr(static_cast<std::size_t>(consumed));
  }
  return result;
}

#endif

// "1-3, 7, 9-12" for a sorted list of numbers.
std::string ranges(const std::vector<long>& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t j = i;
    while (j + 1 < numbers.size() && numbers[j + 1] == numbers[j] + 1) ++j;
    if (!text.empty()) text += ", ";
    text += std::to_string(numbers[i]);
    if (j > i) text += "-" + std::to_string(numbers[j]);
    i = j + 1;
  }
  return text;
}

TEST_F(FaultInjection, AllocationFailsAtEverySite) {
  // Bring every prototype and key to its settled state first, so that a child's before and after compare.
  for (const Job& job : goodJobs()) ASSERT_TRUE(rightAnswer(job, runJob(job))) << job.name;
  long totalSites = 0;
  std::string summary;
  for (const Job& job : goodJobs()) {
    SCOPED_TRACE(job.name);
    ASSERT_TRUE(rightAnswer(job, runJob(job)));
    std::vector<long> ended;
    int signal = 0;
    std::vector<std::string> problems;
    long n = 1;
    for (; n < 100000; ++n) {
      const AllocationCase c = failAllocation(job, n);
      if (!c.ended) {
        ended.push_back(n);
        if (signal == 0) signal = c.signal;
        continue;
      }
      if (!c.problems.empty()) {
        problems.push_back("allocation " + std::to_string(n) + " (returned " + std::to_string(c.code) +
                           "): " + c.problems);
      }
      if (!c.hit) break;  // the call completed without reaching the n-th allocation
    }
    const long sites = n - 1;
    EXPECT_GT(sites, 0) << "the call allocated nothing: the counter is not in force";
    EXPECT_TRUE(ended.empty()) << ended.size() << " of " << sites
                               << " allocation failures end the process (signal " << signal
                               << ") instead of giving -1; failing allocations " << ranges(ended);
    std::string first;
    for (std::size_t i = 0; i < problems.size() && i < 5; ++i) first += "\n  " + problems[i];
    EXPECT_TRUE(problems.empty()) << problems.size() << " allocation failures misbehave:" << first;
    totalSites += sites;
    summary += "\n  " + job.name + ": " + std::to_string(sites) + " sites";
  }
  std::printf("[ fault    ] allocation failures per call:%s\n  total %ld\n", summary.c_str(), totalSites);
}

}  // namespace
}  // namespace hardening
