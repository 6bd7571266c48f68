// The platform calls on POSIX systems (Linux and the like): open(2) (read-write or read-only), fstat(2), ftruncate(2), fstatvfs(2),
// mmap(2), munmap(2), pread(2), close(2), /proc/meminfo, /proc/self/statm and getrlimit(2).
#if !defined(_WIN32)

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "kernelfile/platform.h"

namespace Zarn::platform {
namespace {

int descriptorOf(FileHandle file) { return static_cast<int>(file.value); }

// Opens an existing regular file with `flags` (no O_CREAT: an existing file only).
bool openRegularFile(const char* path, int flags, FileHandle* file) {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return false;
  struct stat st;
  // Only a regular file can be mapped and lengthened; a directory or a device is refused here.
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return false;
  }
  file->value = fd;
  file->isOpen = true;
  return true;
}

bool openExisting(const char* path, FileHandle* file) { return openRegularFile(path, O_RDWR, file); }

bool openReadOnly(const char* path, FileHandle* file) { return openRegularFile(path, O_RDONLY, file); }

bool fileSize(FileHandle file, std::int64_t* size) {
  struct stat st;
  if (::fstat(descriptorOf(file), &st) != 0) return false;
  *size = static_cast<std::int64_t>(st.st_size);
  return true;
}

bool extendFile(FileHandle file, std::int64_t size) {
  std::int64_t current = 0;
  if (!fileSize(file, &current)) return false;
  // Never shorten, and never touch a file that is long enough: ftruncate would update its modification time.
  if (size <= current) return true;
  int rc;
  do {
    rc = ::ftruncate(descriptorOf(file), static_cast<off_t>(size));
  } while (rc != 0 && errno == EINTR);
  return rc == 0;
}

bool freeDiskSpace(FileHandle file, std::int64_t* bytes) {
  struct statvfs fs;
  if (::fstatvfs(descriptorOf(file), &fs) != 0) return false;
  const unsigned long long blocks = fs.f_bavail;
  const unsigned long long blockSize = fs.f_frsize ? fs.f_frsize : fs.f_bsize;
  // Saturate rather than wrap on an absurdly large file system.
  if (blockSize != 0 && blocks > static_cast<unsigned long long>(INT64_MAX) / blockSize) {
    *bytes = INT64_MAX;
  } else {
    *bytes = static_cast<std::int64_t>(blocks * blockSize);
  }
  return true;
}

// mmap(2) maps the file itself: there is no mapping object to create or release.
bool createMapping(FileHandle, std::int64_t size) { return size > 0; }

void closeMapping(FileHandle) {}

void* mapView(FileHandle file, std::int64_t offset, std::int64_t size) {
  if (size <= 0 || offset < 0) return nullptr;
  void* p = ::mmap(nullptr, static_cast<size_t>(size), PROT_READ | PROT_WRITE, MAP_SHARED, descriptorOf(file),
                   static_cast<off_t>(offset));
  return p == MAP_FAILED ? nullptr : p;
}

void* mapViewReadOnly(FileHandle file, std::int64_t offset, std::int64_t size) {
  if (size <= 0 || offset < 0) return nullptr;
  void* p = ::mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_SHARED, descriptorOf(file),
                   static_cast<off_t>(offset));
  return p == MAP_FAILED ? nullptr : p;
}

void unmapView(void* view, std::int64_t size) { ::munmap(view, static_cast<size_t>(size)); }

bool readAt(FileHandle file, std::int64_t offset, void* destination, std::int64_t size) {
  if (size < 0 || offset < 0) return false;
  auto* out = static_cast<unsigned char*>(destination);
  while (size > 0) {
    const ssize_t got = ::pread(descriptorOf(file), out, static_cast<size_t>(size), static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;  // an error, or the end of the file came first
    out += got;
    offset += got;
    size -= got;
  }
  return true;
}

void closeFile(FileHandle file) { ::close(descriptorOf(file)); }

// Reads one "Name: <kB> kB" line of /proc/meminfo.
bool meminfoBytes(const char* name, std::int64_t* bytes) {
  std::FILE* f = std::fopen("/proc/meminfo", "re");
  if (!f) return false;
  char line[256];
  bool found = false;
  const size_t nameLength = std::strlen(name);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, name, nameLength) == 0 && line[nameLength] == ':') {
      long long kb = 0;
      if (std::sscanf(line + nameLength + 1, "%lld", &kb) == 1 && kb >= 0 && kb < INT64_MAX / 1024) {
        *bytes = kb * 1024;
        found = true;
      }
      break;
    }
  }
  std::fclose(f);
  return found;
}

bool availableMemory(std::int64_t* bytes) {
  std::int64_t physical = 0;
  if (!meminfoBytes("MemAvailable", &physical)) return false;
  // The virtual limit of this process, when one is set, plays the part of the available virtual memory.
  struct rlimit limit;
  if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
      limit.rlim_cur < static_cast<rlim_t>(physical)) {
    physical = static_cast<std::int64_t>(limit.rlim_cur);
  }
  *bytes = physical;
  return true;
}

bool processMemoryUse(std::int64_t* bytes) {
  std::FILE* f = std::fopen("/proc/self/statm", "re");
  if (!f) return false;
  long long sizePages = 0, residentPages = 0;
  const bool ok = std::fscanf(f, "%lld %lld", &sizePages, &residentPages) == 2;
  std::fclose(f);
  if (!ok) return false;
  const long long page = ::sysconf(_SC_PAGESIZE);
  // The committed figure of other systems is approximated by the resident one: the virtual size of a process
  // that maps a large file says nothing about the memory it uses.
  *bytes = residentPages * page;
  return true;
}

const Calls kSystemCalls = {openExisting,  fileSize,      extendFile, freeDiskSpace,   createMapping,
                            closeMapping,  mapView,       unmapView,  closeFile,       availableMemory,
                            processMemoryUse, openReadOnly, mapViewReadOnly, readAt};

Calls gCalls = kSystemCalls;

}  // namespace

Calls& calls() { return gCalls; }
const Calls& systemCalls() { return kSystemCalls; }
void resetCalls() { gCalls = kSystemCalls; }

}  // namespace Zarn::platform

#endif  // !defined(_WIN32)
