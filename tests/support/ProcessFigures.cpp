#include "support/ProcessFigures.h"

#include <chrono>
#include <cstdio>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
// psapi.h after windows.h: it needs its types.
#include <psapi.h>
#else
#include <dirent.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#endif

namespace testsupport {

const char* describe(ChildEnd e) {
  switch (e) {
    case ChildEnd::kReturnedZero:
      return "returned 0";
    case ChildEnd::kReturnedMinusOne:
      return "returned -1";
    case ChildEnd::kReturnedOther:
      return "returned something else";
    case ChildEnd::kCrashed:
      return "crashed";
    case ChildEnd::kTimedOut:
      return "did not end in time";
  }
  return "?";
}

#if defined(_WIN32)

std::int64_t residentBytes() {
  PROCESS_MEMORY_COUNTERS counters;
  if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) return -1;
  return static_cast<std::int64_t>(counters.WorkingSetSize);
}

std::int64_t peakResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters;
  if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) return -1;
  return static_cast<std::int64_t>(counters.PeakWorkingSetSize);
}

int openDescriptors() {
  DWORD count = 0;
  return ::GetProcessHandleCount(::GetCurrentProcess(), &count) ? static_cast<int>(count) : -1;
}

int handlesOf(const std::string& path) {
  HANDLE h = ::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h != INVALID_HANDLE_VALUE) {
    ::CloseHandle(h);
    return 0;
  }
  return ::GetLastError() == ERROR_SHARING_VIOLATION ? 1 : 0;
}

namespace {

// Calls `visit` with the start of every mapped-file view of this process.
template <class Visit>
void forEachMappedView(Visit visit) {
  MEMORY_BASIC_INFORMATION info;
  const char* address = nullptr;
  while (::VirtualQuery(address, &info, sizeof info) == sizeof info) {
    if (info.State == MEM_COMMIT && info.Type == MEM_MAPPED && info.BaseAddress == info.AllocationBase) {
      visit(info.BaseAddress);
    }
    const char* next = static_cast<const char*>(info.BaseAddress) + info.RegionSize;
    if (next <= address) break;
    address = next;
  }
}

std::string fileNameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

int mappingCount() {
  int n = 0;
  forEachMappedView([&](void*) { ++n; });
  return n;
}

int mappingsOf(const std::string& path) {
  const std::string name = fileNameOf(path);
  int n = 0;
  forEachMappedView([&](void* base) {
    char mapped[MAX_PATH * 2];
    const DWORD length = ::K32GetMappedFileNameA(::GetCurrentProcess(), base, mapped, sizeof mapped);
    if (length > 0 && fileNameOf(std::string(mapped, length)) == name) ++n;
  });
  return n;
}

bool runsApart() { return false; }

bool runsUnderWine() {
  // Wine's own ntdll.dll exports its version; Windows' does not.
  const HMODULE ntdll = ::GetModuleHandleA("ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

namespace {

ChildEnd endOf(std::int32_t code) {
  return code == 0 ? ChildEnd::kReturnedZero : code == -1 ? ChildEnd::kReturnedMinusOne : ChildEnd::kReturnedOther;
}

}  // namespace

ChildResult runApart(const std::function<std::int32_t()>& action, double) {
  ChildResult result;
  const auto start = std::chrono::steady_clock::now();
  result.end = endOf(action());
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return result;
}

#else

std::int64_t residentBytes() {
  std::ifstream in("/proc/self/statm");
  long long size = 0, resident = 0;
  in >> size >> resident;
  return static_cast<std::int64_t>(resident) * ::sysconf(_SC_PAGESIZE);
}

std::int64_t peakResidentBytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::int64_t>(usage.ru_maxrss) * 1024;
}

int openDescriptors() {
  int n = 0;
  DIR* d = ::opendir("/proc/self/fd");
  if (d == nullptr) return -1;
  while (const dirent* e = ::readdir(d)) {
    if (e->d_name[0] != '.') ++n;
  }
  ::closedir(d);
  return n - 1;  // the directory's own descriptor
}

int handlesOf(const std::string& path) {
  int n = 0;
  DIR* d = ::opendir("/proc/self/fd");
  if (d == nullptr) return -1;
  while (const dirent* e = ::readdir(d)) {
    if (e->d_name[0] == '.') continue;
    char target[4096];
    const std::string link = std::string("/proc/self/fd/") + e->d_name;
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    if (length > 0 && std::string(target, static_cast<std::size_t>(length)) == path) ++n;
  }
  ::closedir(d);
  return n;
}

int mappingCount() {
  std::ifstream in("/proc/self/maps");
  std::string line;
  int n = 0;
  while (std::getline(in, line)) ++n;
  return n;
}

int mappingsOf(const std::string& path) {
  std::ifstream in("/proc/self/maps");
  std::string line;
  int n = 0;
  while (std::getline(in, line)) {
    if (line.find(path) != std::string::npos) ++n;
  }
  return n;
}

bool runsApart() { return true; }

bool runsUnderWine() { return false; }

ChildResult runApart(const std::function<std::int32_t()>& action, double timeoutSeconds) {
  ChildResult result;
  std::fflush(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t pid = ::fork();
  if (pid == 0) {
    const std::int32_t code = action();
    ::_exit(code == 0 ? 10 : code == -1 ? 11 : 12);
  }
  if (pid < 0) {
    result.end = ChildEnd::kCrashed;
    return result;
  }
  int status = 0;
  for (;;) {
    const pid_t done = ::waitpid(pid, &status, WNOHANG);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (done == pid) break;
    if (result.seconds > timeoutSeconds) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      result.end = ChildEnd::kTimedOut;
      return result;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (WIFSIGNALED(status)) {
    result.end = ChildEnd::kCrashed;
    result.signal = WTERMSIG(status);
  } else if (WIFEXITED(status) && WEXITSTATUS(status) >= 10 && WEXITSTATUS(status) <= 12) {
    result.end = WEXITSTATUS(status) == 10 ? ChildEnd::kReturnedZero
                 : WEXITSTATUS(status) == 11 ? ChildEnd::kReturnedMinusOne
                                             : ChildEnd::kReturnedOther;
  } else {
    result.end = ChildEnd::kReturnedOther;
  }
  return result;
}

#endif

}  // namespace testsupport
