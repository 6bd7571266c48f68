// The platform calls on Windows: CreateFileA, GetFileSize, CreateFileMappingA, MapViewOfFile, UnmapViewOfFile,
// CloseHandle, GlobalMemoryStatusEx, GetCurrentProcess and K32GetProcessMemoryInfo, ReadFile for positioned
// reads, with GetFullPathNameA, GetDiskFreeSpaceExA and GetFileType for the free-space check and for refusing
// what is not a disk file.
#if defined(_WIN32)

#include <windows.h>
// psapi.h after windows.h: it needs its types.
#include <psapi.h>

#include <cstdint>
#include <new>
#include <string>

#include "kernelfile/platform.h"

namespace Zarn::platform {
namespace {

// The access of the kernel file and of its views. Write access is needed although the library only reads: the
// mapping is read-write, and a read past the end of a short file lengthens it.
constexpr DWORD kFileAccess = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kShareReadWrite = 3;           // FILE_SHARE_READ | FILE_SHARE_WRITE: other readers and writers
constexpr DWORD kOpenExisting = 3;             // OPEN_EXISTING: never create a file
constexpr DWORD kAttributesNormal = 128;       // FILE_ATTRIBUTE_NORMAL
constexpr DWORD kPageReadWrite = 4;            // PAGE_READWRITE
constexpr DWORD kViewAccess = 0xf001f;         // FILE_MAP_ALL_ACCESS
constexpr DWORD kPageReadOnly = 2;             // PAGE_READONLY: the mapping object of a read-only open
constexpr DWORD kViewReadAccess = 4;           // FILE_MAP_READ
constexpr DWORD kMemoryStatusLength = 64;      // MEMORYSTATUSEX::dwLength
constexpr DWORD kProcessCountersLength = 80;   // PROCESS_MEMORY_COUNTERS_EX
static_assert(sizeof(MEMORYSTATUSEX) == kMemoryStatusLength, "MEMORYSTATUSEX is 64 bytes on x64");
static_assert(sizeof(PROCESS_MEMORY_COUNTERS_EX) == kProcessCountersLength,
              "PROCESS_MEMORY_COUNTERS_EX is 80 bytes on x64");

// What the layer keeps of one open file: its handle, its current mapping object (null when none), and the folder
// that holds it, for the free-space query (GetDiskFreeSpaceExA takes a folder, not a handle). Owned by the
// FileHandle that points at it; released by closeFile.
struct OpenFile {
  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE mapping = nullptr;
  std::string folder;  // with its trailing backslash; empty when unknown
};

OpenFile* recordOf(FileHandle file) { return reinterpret_cast<OpenFile*>(file.value); }

DWORD highHalf(std::int64_t value) { return static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32); }
DWORD lowHalf(std::int64_t value) { return static_cast<DWORD>(static_cast<std::uint64_t>(value) & 0xffffffffu); }

std::int64_t saturated(DWORDLONG value) {
  return value > static_cast<DWORDLONG>(INT64_MAX) ? INT64_MAX : static_cast<std::int64_t>(value);
}

// The folder of `path` as an absolute path with its trailing separator, or empty when it cannot be found.
std::string folderOf(const char* path) {
  char buffer[MAX_PATH + 1];
  char* namePart = nullptr;
  const DWORD length = ::GetFullPathNameA(path, sizeof buffer, buffer, &namePart);
  if (length == 0 || length >= sizeof buffer || namePart == nullptr) return std::string();
  return std::string(buffer, static_cast<size_t>(namePart - buffer));
}

// Opens an existing disk file with `access` and keeps the layer's record of it in `*file`.
bool openDiskFile(const char* path, DWORD access, FileHandle* file) {
  HANDLE handle = ::CreateFileA(path, access, kShareReadWrite, nullptr, kOpenExisting, kAttributesNormal, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  // Only a file on disk can be mapped and lengthened; a device such as NUL or a pipe is refused here.
  if (::GetFileType(handle) != FILE_TYPE_DISK) {
    ::CloseHandle(handle);
    return false;
  }
  OpenFile* record = new (std::nothrow) OpenFile;
  if (record == nullptr) {
    ::CloseHandle(handle);
    return false;
  }
  record->file = handle;
  try {
    record->folder = folderOf(path);
  } catch (...) {
    record->folder.clear();  // out of memory: the free space stays unknown, so the file is never lengthened
  }
  file->value = reinterpret_cast<std::intptr_t>(record);
  file->isOpen = true;
  return true;
}

bool openExisting(const char* path, FileHandle* file) { return openDiskFile(path, kFileAccess, file); }

// A read-only open gets its read-only mapping object at once, over the file as it is now, so that queries on
// several threads only map views of it and never change the record. An empty file has no mapping object (the
// system refuses one of size 0); nothing is ever mapped from it, since views never reach past the end.
bool openReadOnly(const char* path, FileHandle* file) {
  FileHandle opened;
  if (!openDiskFile(path, GENERIC_READ, &opened)) return false;
  OpenFile* record = recordOf(opened);
  record->mapping = ::CreateFileMappingA(record->file, nullptr, kPageReadOnly, 0, 0, nullptr);
  *file = opened;
  return true;
}

bool fileSize(FileHandle file, std::int64_t* size) {
  DWORD high = 0;
  ::SetLastError(NO_ERROR);
  const DWORD low = ::GetFileSize(recordOf(file)->file, &high);
  // INVALID_FILE_SIZE is also a valid low half; only the error code tells them apart.
  if (low == INVALID_FILE_SIZE && ::GetLastError() != NO_ERROR) return false;
  *size = static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32) | low);
  return true;
}

bool extendFile(FileHandle file, std::int64_t size) {
  std::int64_t current = 0;
  if (!fileSize(file, &current)) return false;
  // Never shorten, and never touch a file that is long enough.
  if (size <= current) return true;
  // A mapping object larger than its file lengthens the file to the object's size, with zero bytes. That is
  // how this system lengthens a file for a mapping; the object itself is created again by createMapping.
  HANDLE mapping = ::CreateFileMappingA(recordOf(file)->file, nullptr, kPageReadWrite, highHalf(size),
                                        lowHalf(size), nullptr);
  if (mapping == nullptr) return false;
  ::CloseHandle(mapping);
  return true;
}

bool freeDiskSpace(FileHandle file, std::int64_t* bytes) {
  const OpenFile* record = recordOf(file);
  if (record->folder.empty()) return false;
  ULARGE_INTEGER available;  // what this caller may use, quotas included
  if (!::GetDiskFreeSpaceExA(record->folder.c_str(), &available, nullptr, nullptr)) return false;
  *bytes = saturated(available.QuadPart);
  return true;
}

void closeMapping(FileHandle file) {
  OpenFile* record = recordOf(file);
  if (record->mapping != nullptr) ::CloseHandle(record->mapping);
  record->mapping = nullptr;
}

bool createMapping(FileHandle file, std::int64_t size) {
  closeMapping(file);
  if (size <= 0) return false;
  OpenFile* record = recordOf(file);
  record->mapping = ::CreateFileMappingA(record->file, nullptr, kPageReadWrite, highHalf(size), lowHalf(size),
                                         nullptr);
  return record->mapping != nullptr;
}

void* mapView(FileHandle file, std::int64_t offset, std::int64_t size) {
  const OpenFile* record = recordOf(file);
  if (record->mapping == nullptr || size <= 0 || offset < 0) return nullptr;
  return ::MapViewOfFile(record->mapping, kViewAccess, highHalf(offset), lowHalf(offset),
                         static_cast<SIZE_T>(size));
}

// Views of a read-only open: the caller never asks for bytes past the end of the file.
void* mapViewReadOnly(FileHandle file, std::int64_t offset, std::int64_t size) {
  const OpenFile* record = recordOf(file);
  if (record->mapping == nullptr || size <= 0 || offset < 0) return nullptr;
  return ::MapViewOfFile(record->mapping, kViewReadAccess, highHalf(offset), lowHalf(offset),
                         static_cast<SIZE_T>(size));
}

void unmapView(void* view, std::int64_t) { ::UnmapViewOfFile(view); }

// A positioned read: ReadFile with the offset in an OVERLAPPED record, in pieces that a DWORD can count.
bool readAt(FileHandle file, std::int64_t offset, void* destination, std::int64_t size) {
  if (size < 0 || offset < 0) return false;
  const OpenFile* record = recordOf(file);
  auto* out = static_cast<unsigned char*>(destination);
  while (size > 0) {
    OVERLAPPED at = {};
    at.Offset = lowHalf(offset);
    at.OffsetHigh = highHalf(offset);
    const DWORD piece = size > 0x40000000 ? 0x40000000 : static_cast<DWORD>(size);
    DWORD got = 0;
    if (!::ReadFile(record->file, out, piece, &got, &at) || got == 0) return false;
    out += got;
    offset += got;
    size -= got;
  }
  return true;
}

void closeFile(FileHandle file) {
  OpenFile* record = recordOf(file);
  closeMapping(file);
  ::CloseHandle(record->file);
  delete record;
}

bool availableMemory(std::int64_t* bytes) {
  MEMORYSTATUSEX status;
  status.dwLength = kMemoryStatusLength;
  if (!::GlobalMemoryStatusEx(&status)) return false;
  const DWORDLONG figure = status.ullAvailPhys < status.ullAvailVirtual ? status.ullAvailPhys
                                                                         : status.ullAvailVirtual;
  *bytes = saturated(figure);
  return true;
}

bool processMemoryUse(std::int64_t* bytes) {
  PROCESS_MEMORY_COUNTERS_EX counters;
  if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                                 kProcessCountersLength)) {
    return false;
  }
  // The peak figures (PeakPagefileUsage, PeakWorkingSetSize) come with the same call and are not needed.
  const SIZE_T used =
      counters.PagefileUsage > counters.WorkingSetSize ? counters.PagefileUsage : counters.WorkingSetSize;
  *bytes = saturated(used);
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

#endif  // defined(_WIN32)
