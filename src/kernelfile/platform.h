// The operating-system calls of the library, behind one small table.
//
// Everything the library asks of the system (open a file for reading and writing or for reading only, its size,
// lengthen it, create its mapping object, map and unmap a view, read at an offset, close, memory figures, free
// disk space) goes through `platform::calls()`. One file per system fills the table (platform_posix.cpp,
// platform_win32.cpp); no other file includes a system header for these calls. Tests may replace entries of the
// table to make "the mapping call fails" happen on demand, and restore the defaults with `resetCalls()`.
#pragma once

#include <cstdint>

namespace Zarn::platform {

// An open file. `value` is the system layer's own token for it (a descriptor on POSIX, a pointer to the layer's
// record of the file and its mapping object on Windows); `isOpen` tells whether it stands for a file.
struct FileHandle {
  std::intptr_t value = -1;
  bool isOpen = false;
};

struct Calls {
  // Opens an existing file for reading and writing (shared with other readers and writers). False when it
  // cannot be opened; `*file` is then untouched.
  bool (*openExisting)(const char* path, FileHandle* file);
  // The file's size in bytes, or false.
  bool (*fileSize)(FileHandle file, std::int64_t* size);
  // Makes the file at least `size` bytes long, the new bytes zero; never shortens it. False when it cannot.
  bool (*extendFile)(FileHandle file, std::int64_t size);
  // Free bytes on the file system that holds the file, or false when unknown.
  bool (*freeDiskSpace)(FileHandle file, std::int64_t* bytes);
  // Creates the file's read-write mapping object of `size` bytes, replacing the one it had; views are made from
  // it. The file is already at least `size` bytes long (extendFile). False when it cannot. POSIX has no such
  // object and only says yes; Windows creates a file-mapping object.
  bool (*createMapping)(FileHandle file, std::int64_t size);
  // Releases the file's mapping object, if it has one. Views made from it stay valid until they are unmapped.
  void (*closeMapping)(FileHandle file);
  // Maps `size` bytes of the file from `offset` (a multiple of 65,536) for reading and writing, shared with the
  // file, from its mapping object. Null when it cannot.
  void* (*mapView)(FileHandle file, std::int64_t offset, std::int64_t size);
  // Releases a view made by mapView.
  void (*unmapView)(void* view, std::int64_t size);
  void (*closeFile)(FileHandle file);
  // The smaller of the physical and the virtual memory that is available now, in bytes; or false.
  bool (*availableMemory)(std::int64_t* bytes);
  // This process's memory use in bytes: the larger of its committed and its resident figures; or false.
  bool (*processMemoryUse)(std::int64_t* bytes);
  // Opens an existing regular file for reading only (shared with other readers and writers). False when it cannot
  // be opened; `*file` is then untouched.
  bool (*openReadOnly)(const char* path, FileHandle* file);
  // Maps `size` bytes of the file from `offset` (a multiple of 65,536) for reading only. The caller never asks
  // for bytes past the end of the file. Null when it cannot.
  void* (*mapViewReadOnly)(FileHandle file, std::int64_t offset, std::int64_t size);
  // Copies `size` bytes of the file from `offset` into `destination` without mapping anything (a positioned
  // read). True only when all of them were read; the caller asks only for bytes inside the file.
  bool (*readAt)(FileHandle file, std::int64_t offset, void* destination, std::int64_t size);
};

// The table in force. Writable so tests can inject failures.
Calls& calls();
// This system's own calls.
const Calls& systemCalls();
// Puts the system's own calls back into the table in force.
void resetCalls();

}  // namespace Zarn::platform
