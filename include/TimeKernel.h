/*
 * TimeKernel: read the results of a finite-element dynamic analysis from a kernel file.
 *
 * The library exports two C functions. Each call is a whole cycle: it opens the file at `path`, answers, closes
 * the file and keeps nothing. No initialisation or closing call exists; the functions may be called in any order
 * and any number of times, but ONE AT A TIME: the library has one process-wide working state and no locks, so it
 * is neither reentrant nor safe for concurrent calls. Values are returned as they stand in the file, with no unit
 * conversion.
 *
 * Every failure, whatever its cause (file missing or unreadable, not a kernel file, corrupt contents, a request
 * that does not fit the file or the caller's array, memory exhausted), gives the result -1. Nothing is logged.
 * Things that are merely missing are not failures: an ID that the file does not hold, a response id that no
 * quantity knows, a component that an entity lacks leave their output at zero.
 *
 * Note on the file: the kernel file is opened for reading AND writing (it is mapped read-write). A read that
 * passes the end of a short file lengthens the file on disk with zero bytes; a well-formed file is never changed.
 */
#ifndef TIMEKERNEL_H
#define TIMEKERNEL_H

#include <stdint.h>

#if defined(_WIN32)
#define TIMEKERNEL_API __declspec(dllexport)
#else
#define TIMEKERNEL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Lists the element IDs of a kernel file, in file order.
 *
 * path   zero-terminated path of the kernel file (narrow characters).
 * ids    buffer for at least *count IDs; may be null when *count is 0.
 * count  in: the capacity of `ids`; out: the number of elements the file holds.
 *
 * Returns 0 and stores the total in *count, whatever the capacity; only min(total, capacity) IDs are written.
 * So a caller may ask with capacity 0 for the total, then call again with a buffer of that size.
 * Returns -1 on any failure; *count then keeps its input value (the first IDs may have been written).
 * A capacity below 0 is taken as 0.
 */
TIMEKERNEL_API int32_t TimeKernelElementID(const char* path, int32_t* ids, int32_t* count);

#ifdef __cplusplus
}
#endif

#endif /* TIMEKERNEL_H */
