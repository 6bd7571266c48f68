// Every array the library allocates for file data goes through here.
//
// A kernel file decides how large many arrays are (tables, directories, histories). A hostile file can ask for
// terabytes; such a request must fail the call at once rather than exhaust the host's memory. So one allocation
// may not exceed `allocationLimit` bytes, which the kernel sets from the available memory when it opens a file,
// and a refused or failed allocation is the call's failure (never a null pointer handed on).
#pragma once

#include <cstdint>
#include <new>

#include "base/Failure.h"

namespace Zarn {

// Largest single allocation in bytes. Starts unlimited; the kernel lowers it for the duration of each call. One
// per thread, so that queries on handles in several threads each keep the bound of their own file.
extern thread_local std::int64_t allocationLimit;

// Puts `limit` in force on this thread for the life of the object, then restores what was there.
class AllocationLimitScope {
 public:
  explicit AllocationLimitScope(std::int64_t limit) : saved_(allocationLimit) { allocationLimit = limit; }
  ~AllocationLimitScope() { allocationLimit = saved_; }
  AllocationLimitScope(const AllocationLimitScope&) = delete;
  AllocationLimitScope& operator=(const AllocationLimitScope&) = delete;

 private:
  std::int64_t saved_;
};

// Allocates `count` uninitialised elements of T. A count of 0 gives null. A negative count, one whose byte size
// exceeds `allocationLimit`, and a failed allocation all fail the call.
template <class T>
T* allocateArray(std::int64_t count) {
  if (count == 0) return nullptr;
  TK_CHECK(count > 0);
  TK_CHECK(count <= allocationLimit / static_cast<std::int64_t>(sizeof(T)));
  void* p = ::operator new(static_cast<std::size_t>(count) * sizeof(T), std::nothrow);
  TK_CHECK(p != nullptr);
  return static_cast<T*>(p);
}

// Frees what allocateArray gave; null is allowed.
template <class T>
void releaseArray(T* p) {
  ::operator delete(static_cast<void*>(p));
}

}  // namespace Zarn
