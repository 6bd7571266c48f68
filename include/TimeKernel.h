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

/*
 * TIMEKERNEL_API marks each exported function. On Windows the library defines TIMEKERNEL_BUILDING while it is
 * built, so the functions are exported from TimeKernel.dll; a program that includes this header imports them from
 * it. x64 Windows has one C calling convention (__cdecl is accepted and ignored), so no convention is named. With
 * GCC and clang elsewhere, every other symbol of the shared library is hidden.
 */
#if defined(_WIN32)
#if defined(TIMEKERNEL_BUILDING)
#define TIMEKERNEL_API __declspec(dllexport)
#else
#define TIMEKERNEL_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define TIMEKERNEL_API __attribute__((visibility("default")))
#else
#define TIMEKERNEL_API
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

/* Bits of the `flags` argument of TimeKernelOutputResult. */
#define TIMEKERNEL_ELEMENT_RESULTS 1 /* element IDs and element keys; clear: node IDs and nodal keys */
#define TIMEKERNEL_ROTATE 2          /* turn values into the output system of their node or element */
#define TIMEKERNEL_SINGLE_MODE 4     /* the contribution of mode `modeNumber` only; no load terms, no base motion */
#define TIMEKERNEL_BASE_MOTION 8     /* nodal values include the stored base motion (ignored with SINGLE_MODE) */
#define TIMEKERNEL_ENVELOPE 16       /* nodal maximum and minimum over all steps; flag 1 and stepNumber unused */

/*
 * Fills `result` with the values of the response ids `keys` at the node or element IDs `ids`.
 *
 * path          zero-terminated path of the kernel file.
 * flags         a sum of the TIMEKERNEL_* bits above.
 * ids, idCount  the node (or, with flag 1, element) IDs; idCount must be at least 1.
 * keys, keyCount the response ids: location * 100000000 + component code (e.g. 102: x displacement of a node).
 * modeNumber    1-based mode; used only with flag 4, and must then be at least 1.
 * stepNumber    1-based step; 0 or negative asks for all steps.
 * result        the caller's array of resultLength doubles.
 *
 * Layouts (column-major; "block i" is the part of `result` for ids[i]):
 *   Block flows (no flag 16): rows = resultLength / idCount (integer division); block i starts at result[i*rows].
 *     All steps (stepNumber <= 0): rows must be >= keyCount * stepCount; the value of keys[r] at step t
 *       (0-based) stands at block[r + keyCount * t].
 *     One step: rows must be >= keyCount; the value of keys[r] stands at block[r].
 *     Doubles beyond what a block needs, and beyond rows * idCount, stay zero.
 *   Envelope (flag 16): with n = keyCount * idCount, resultLength must be exactly 2 * n * n. The array holds two
 *     n x n matrices: maxima from result[0], minima from result[n*n]. Item p = r + keyCount * i (keys[r] at
 *     ids[i]). Diagonal entry (p, p) is the maximum (minimum) of item p over all steps, step 0 included; an
 *     off-diagonal entry (p, q) holds the step-0 value of item p. A NaN at a later step never replaces a value.
 *
 * Returns 0, or -1 on any failure. On success every double of `result` is written (zeros included); after -1
 * the whole array is zero, never stale data or partial values. An ID the file lacks, a response id no quantity knows, or a
 * component an entity lacks leaves its doubles at zero. Failures include: idCount below 1, a negative keyCount or
 * resultLength, flag 4 with modeNumber below 1 (before the file is opened), a result too short, stepNumber past
 * the last step, an envelope length that is not exactly 2 * n * n, a request none of whose IDs is in the file,
 * and every file error.
 */
TIMEKERNEL_API int32_t TimeKernelOutputResult(const char* path, int32_t flags, const int32_t* ids, int32_t idCount,
                                              const int32_t* keys, int32_t keyCount, int32_t modeNumber,
                                              int32_t stepNumber, double* result, int32_t resultLength);

#ifdef __cplusplus
}
#endif

#endif /* TIMEKERNEL_H */
