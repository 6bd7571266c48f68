/*
 * TimeKernel: read the results of a finite-element dynamic analysis from a kernel file.
 *
 * The library has two doors. The first is two C functions, TimeKernelElementID and TimeKernelOutputResult. Each
 * call is a whole cycle: it opens the file at `path`, answers, closes the file and keeps nothing. No initialisation or closing call exists; the functions may be called in any order
 * and any number of times, but ONE AT A TIME: the library has one process-wide working state and no locks, so it
 * is neither reentrant nor safe for concurrent calls. Values are returned as they stand in the file, with no unit
 * conversion.
 *
 * Every failure, whatever its cause (file missing or unreadable, not a kernel file, corrupt contents, a request
 * that does not fit the file or the caller's array, memory exhausted), gives the result -1. Nothing is logged.
 * Things that are merely missing are not failures: an ID that the file does not hold, a response id that no
 * quantity knows, a component that an entity lacks leave their output at zero.
 *
 * Note on the file: these two open the kernel file for reading AND writing (it is mapped read-write). A read that
 * passes the end of a short file lengthens the file on disk with zero bytes; a well-formed file is never changed.
 *
 * The second door (the handle functions at the end of this header) opens a file once, read-only, and answers
 * many questions from it, from several threads at once, with the same doubles, and says why a call failed.
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


/* ------------------------------------------------------------------------------------------------------------
 * The handle functions: open a kernel file once, ask it many questions, close it.
 *
 * Unlike the two functions above, a handle opens its file READ-ONLY (no write access is needed) and never
 * lengthens or changes it: bytes past the end of a short file read as zeros without touching the file, and no
 * read can fault on a short file. Handles are independent of each other and of the two functions above, and
 * each is reentrant: several threads may query one handle at once. Close a handle once, after every query on it
 * has returned. Every function below returns 0 or -1 (unless it says otherwise); after -1,
 * TimeKernelLastError() says why.
 * ------------------------------------------------------------------------------------------------------------ */

typedef struct TimeKernelFile TimeKernelFile; /* opaque */

/* Opens the kernel file at `path` read-only and checks it (format number, section table, section 21).
 * Returns 0 with *file set, or -1 with *file = NULL. */
TIMEKERNEL_API int32_t TimeKernelOpen(const char* path, TimeKernelFile** file);

/* Closes a handle and frees everything it holds. NULL is allowed and does nothing. */
TIMEKERNEL_API void TimeKernelClose(TimeKernelFile* file);

/* TimeKernelOutputResult on an open handle: the same arguments (without the path), the same flags, contract and
 * result layouts, and the same doubles bit for bit on every well-formed file. Reentrant: several threads may
 * query one handle at once. */
TIMEKERNEL_API int32_t TimeKernelQuery(TimeKernelFile* file, int32_t flags, const int32_t* ids, int32_t idCount,
                                       const int32_t* keys, int32_t keyCount, int32_t modeNumber,
                                       int32_t stepNumber, double* result, int32_t resultLength);

/* The reason for this thread's last -1 from any TimeKernel function (the two designed functions included), in
 * words, or "" after a success. Valid until this thread's next TimeKernel call. Never NULL. */
TIMEKERNEL_API const char* TimeKernelLastError(void);

#define TIMEKERNEL_DESCRIPTION_VERSION 1
typedef struct TimeKernelDescription {
  int32_t version;          /* in: the caller sets TIMEKERNEL_DESCRIPTION_VERSION; later versions only append */
  int32_t formatNumber;     /* out: the file's format number (100) */
  int32_t stepCount;        /* out: steps of the response history (section 21's first count) */
  int32_t dofCount;         /* out: degrees of freedom (section 21's second count) */
  int32_t modeCount;        /* out: modes (columns of the mode shapes, section 0); 0 when none are stored */
  int32_t loadCount;        /* out: loads of the load-factor section (section 4); 0 when it is absent */
  int32_t nodeCount;        /* out: entries of the node directory (section 2); 0 when it is absent */
  int32_t elementCount;     /* out: entries of the element directory (section 3); 0 when it is absent */
  uint32_t sectionsPresent; /* out: bit s is set when section s (0..26) is present in the section table */
  int32_t reserved;         /* out: 0 */
  int64_t fileSize;         /* out: the file's size in bytes */
} TimeKernelDescription;

/* Fills `description` (whose `version` the caller has set; a version below 1 gives -1) with the file's figures. */
TIMEKERNEL_API int32_t TimeKernelDescribe(TimeKernelFile* file, TimeKernelDescription* description);

/* The node IDs (section 2), in file order, with the size-query protocol of TimeKernelElementID: on entry *count
 * is the capacity of `ids`; on success *count is the total whatever the capacity, and only min(total, capacity)
 * IDs are written. Capacity 0 and NULL ask for the total. On -1, *count keeps its input value. */
TIMEKERNEL_API int32_t TimeKernelNodeIDs(TimeKernelFile* file, int32_t* ids, int32_t* count);

/* The element IDs (section 3) and, when `typeCodes` is not NULL, the type code of each element's record, with
 * the same protocol. Type codes: Bush 580, Rod 582, Bar 583, RigidBar 584, WarpingBar 586, Catenary 594,
 * PlaneStress 642, PlaneStrain 643, Shell 645, Solid 768 (a record whose code is none of these gives its code as
 * stored). */
TIMEKERNEL_API int32_t TimeKernelElements(TimeKernelFile* file, int32_t* ids, int32_t* typeCodes, int32_t* count);

/* The response ids that have a value at node `id` (flags 0) or element `id` (flags 1), in ascending order, with
 * the same protocol on `keys`. Built from the components the node's record carries, or from the element class's
 * key tables and the shape of its recovery tables, so that every id listed gives a value in TimeKernelQuery. An
 * id the file does not hold gives -1. */
TIMEKERNEL_API int32_t TimeKernelResponseIDs(TimeKernelFile* file, int32_t flags, int32_t id, int32_t* keys,
                                             int32_t* count);

/* Response names: one short, lower-case name for each response id, shared by every tool.
 *
 * Nodes (typeCode 0): "ux" "uy" "uz" "rx" "ry" "rz" "u9" (displacement, codes 102-104, 106-108, 112),
 * "vx" "vy" "vz" "vrx" "vry" "vrz" "v9" (velocity, 2xx), "ax" "ay" "az" "arx" "ary" "arz" "a9" (acceleration, 3xx).
 * Elements: a component name per element class, with the location as a suffix "@N" where N is the location
 * number of the response id (e.g. "axial@1" is 100140402, a bar's axial force at end A). The full table is in
 * the README ("Response names").
 *
 * TimeKernelResponseName writes the name of response id `key` at a node (typeCode 0) or at an element of type
 * `typeCode` into `name`, with the size-query protocol of a char buffer: it returns the name's length without
 * the terminator whatever the capacity, and writes at most `capacity` bytes, terminator included (nothing when
 * capacity is 0). -1 when the id means nothing there. */
TIMEKERNEL_API int32_t TimeKernelResponseName(int32_t typeCode, int32_t key, char* name, int32_t capacity);

/* The response id that `name` stands for at a node (typeCode 0) or an element of type `typeCode`: 0 with *key
 * set, or -1 when the name means nothing there. Numbers written as text ("100140402") are accepted too. */
TIMEKERNEL_API int32_t TimeKernelResponseByName(int32_t typeCode, const char* name, int32_t* key);

#ifdef __cplusplus
}
#endif

#endif /* TIMEKERNEL_H */
