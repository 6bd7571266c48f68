// Request: one output request on one open kernel file, with the working state that answering it needs.
//
// A request holds what the caller asked (ids, keys, flags, mode, step), the selections made from it (the keys'
// selections, the record position of each requested ID, the response-table rows the records need) and the
// prototypes into which records are read one at a time. It reads the file only through `kernel`, which it does
// not own. The designed exports run every call on one process-wide request over the process-wide kernel; each
// handle keeps requests of its own, one per query in progress, so that requests never share mutable state.
//
// Every failure is Zarn::fail(); the doors catch it.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "kernelfile/ReadTimeKernel.h"
#include "keys/KeySet.h"
#include "keys/RequestList.h"
#include "model/TimeKernelElement.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

class Request {
 public:
  // A request on `kernel`, with fresh prototypes and keys and nothing selected.
  explicit Request(ReadTimeKernel& kernel);
  ~Request();
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // Stores what the caller asked: the lists become views of the caller's arrays, valid for one call.
  void ask(std::int32_t flags, const std::int32_t* ids, std::int32_t idCount, const std::int32_t* keys,
           std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber);

  // What the caller asked.
  RequestList ids;               // node IDs, or element IDs with flag 1
  RequestList keys;              // response ids
  std::int32_t flags = 0;        // the flags word (evaluate/Flags.h)
  std::int32_t modeNumber = 0;   // 1-based mode, looked at only with flag 4
  std::int32_t stepNumber = 0;   // 1-based step; 0 or below: all steps

  ReadTimeKernel& kernel;        // the open file; not owned

  // ---- selections (Selection.cpp) ----
  //
  // Turn the requested node (section 2) or element (section 3) IDs into `requestedOffsets`: one file position per
  // requested ID, in request order, -1 for an ID the file lacks (a directory that repeats an ID resolves to its
  // last occurrence). Then walk those records and keep the sorted, de-duplicated response-table rows they need in
  // `requiredRows`. An empty set of rows fails the call: a request that reaches nothing is refused. An element of
  // an unknown type code contributes nothing.
  void selectNodes(const RequestList& ids);
  void selectElements(const RequestList& ids);

  std::vector<std::int64_t> requestedOffsets;  // per requested ID, in request order: its record's position or -1
  std::int32_t* requiredRows = nullptr;        // sorted response-table rows the call needs; owned
  std::int32_t requiredRowCount = 0;           // entries in requiredRows
  TimeKernelKeySet keySet;                     // the result keys; their selections live for one call

  // One prototype element per type code, and the one prototype node. A record is read into its prototype, used
  // and cleared again, so memory stays flat whatever the model's size. Built with the request.
  std::map<std::int32_t, counted_ptr<TimeKernelElement>> elementPrototypes;
  counted_ptr<TimeKernelNode> nodePrototype;

  // The end of every call, on every path: clear the key selections and the prototypes, drop the requested
  // offsets and the required rows. The file is left to its owner.
  void clear();

 private:
  void freeRequiredRows();
  void storeRequiredRows(std::vector<std::int32_t>& rows);
};

// Checks the caller's result array before anything else: a negative length, or a length without an array, fails.
void checkResultArray(const double* result, std::int32_t resultLength);

// Sets `kernel.selectedMode` from the flags: mode - 1 with flag 4 (a mode below 1 fails), else -1. Touches no
// file, so a door can call it before it opens one.
void selectMode(ReadTimeKernel& kernel, std::int32_t flags, std::int32_t modeNumber);

// Answers the request into `result` on its open file: checks the lists and the array's length against the file,
// selects, and runs one of the five flows (the layouts are in include/TimeKernel.h). Every double of `result`
// is written. Fails on a request that does not fit; the caller zeroes `result` then.
void answerRequest(Request& request, double* result, std::int32_t resultLength);

}  // namespace Zarn
