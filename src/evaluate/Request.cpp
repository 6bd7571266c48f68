#include "evaluate/Request.h"

#include <algorithm>
#include <string>

#include "base/Allocation.h"
#include "base/Checked.h"
#include "base/DenseRecords.h"
#include "base/Failure.h"
#include "evaluate/ElementFlows.h"
#include "evaluate/Flags.h"
#include "evaluate/NodalFlows.h"
#include "model/Prototypes.h"

namespace Zarn {

Request::Request(ReadTimeKernel& file) : kernel(file) { makePrototypes(elementPrototypes, nodePrototype); }

Request::~Request() { freeRequiredRows(); }

void Request::freeRequiredRows() {
  releaseArray(requiredRows);
  requiredRows = nullptr;
  requiredRowCount = 0;
}

void Request::clear() {
  keySet.clearSelections();
  // The flows clear each prototype after its record; a failure part-way through a record read must not leave
  // one filled until the next call either.
  if (nodePrototype) nodePrototype->clear();
  for (auto& entry : elementPrototypes) {
    entry.second->clear();
    // clear() keeps the velocity table for the walks within a call; nothing may survive the call itself.
    entry.second->velocityForce.clear();
  }
  requestedOffsets.clear();
  requestedOffsets.shrink_to_fit();  // a call keeps nothing afterwards
  freeRequiredRows();
  ids = RequestList{};
  keys = RequestList{};
}

void Request::ask(std::int32_t flagWord, const std::int32_t* idValues, std::int32_t idCount,
                  const std::int32_t* keyValues, std::int32_t keyCount, std::int32_t mode, std::int32_t step) {
  flags = flagWord;
  ids = RequestList{idValues, idCount, 1, false};
  keys = RequestList{keyValues, keyCount, 1, false};
  modeNumber = mode;
  stepNumber = step;
}

void checkResultArray(const double* result, std::int32_t resultLength) {
  if (resultLength < 0) failBecause("resultLength " + std::to_string(resultLength) + " is negative");
  if (resultLength > 0 && result == nullptr) failBecause("result is NULL");
}

void selectMode(ReadTimeKernel& kernel, std::int32_t flagWord, std::int32_t modeNumber) {
  if (flags::has(flagWord, flags::kSingleMode)) {
    const std::int64_t mode = static_cast<std::int64_t>(modeNumber) - 1;
    if (mode < 0) failBecause("flag 4 asks for one mode, but modeNumber " + std::to_string(modeNumber) + " is below 1");
    kernel.selectedMode = static_cast<std::int32_t>(mode);
  } else {
    kernel.selectedMode = -1;
  }
}

namespace {

// The envelope: two square matrices of order keyCount * idCount. The length must be exactly twice the square;
// the square is formed in 64 bits and must not overflow 32 (a wrapped product would address memory the caller
// does not have).
void runEnvelope(Request& request, double* result, std::int32_t resultLength) {
  const RequestList& idList = request.ids;
  const RequestList& keyList = request.keys;
  request.selectNodes(idList);
  request.keySet.selectNodeResponses(keyList);
  std::int64_t n = 0, order = 0;
  if (!checkedMul(keyList.count, idList.count, &n) || !checkedMul(n, n, &order) || order > INT32_MAX) {
    failBecause("an envelope of " + std::to_string(keyList.count) + " keys at " + std::to_string(idList.count) +
                " IDs is too large");
  }
  if (static_cast<std::int64_t>(resultLength) != 2 * order) {
    failBecause("resultLength " + std::to_string(resultLength) + " is not the " + std::to_string(2 * order) +
                " values this envelope needs (2 * n * n with n = keyCount * idCount)");
  }
  Matrix view = Matrix::view(static_cast<std::int32_t>(order), 2, result, static_cast<std::int32_t>(order));
  view.setZero();
  evaluateEnvelope(request, request.flags, keyList.count, idList.count, view);
}

// The four block flows: one column of `rows` doubles per requested ID.
void runBlocks(Request& request, double* result, std::int32_t resultLength) {
  const RequestList& idList = request.ids;
  const RequestList& keyList = request.keys;
  const std::int32_t flagWord = request.flags;
  const std::int32_t stepCount = request.kernel.stepCount;
  const std::int64_t stepIndex = static_cast<std::int64_t>(request.stepNumber) - 1;  // below 0: all steps
  const std::int32_t rows = resultLength / idList.count;
  const std::int64_t need = static_cast<std::int64_t>(keyList.count) * (stepIndex < 0 ? stepCount : 1);
  if (stepIndex >= stepCount) {
    failBecause("stepNumber " + std::to_string(request.stepNumber) + " is past the last step (" +
                std::to_string(stepCount) + ")");
  }
  if (rows < need) {
    failBecause("resultLength " + std::to_string(resultLength) + " is shorter than the " +
                std::to_string(need * idList.count) + " values this request needs");
  }
  Matrix view = Matrix::view(rows, idList.count, result, rows);
  // Doubles past the blocks stay zero. The blocks themselves are zeroed here, except in the nodal history flow,
  // which writes every double of its blocks itself (values, and zeros where no value lands), so that a large
  // result is written in one pass.
  const std::int64_t used = static_cast<std::int64_t>(rows) * idList.count;
  std::fill(result + used, result + resultLength, 0.0);
  const bool nodalHistory = !flags::has(flagWord, flags::kElementResults) && stepIndex < 0;
  if (!nodalHistory) view.setZero();
  const auto step = static_cast<std::int32_t>(stepIndex);
  if (flags::has(flagWord, flags::kElementResults)) {
    request.selectElements(idList);
    request.keySet.selectElementResponses(keyList);
    if (stepIndex < 0) {
      evaluateElementHistory(request, flagWord, keyList.count, view);
    } else {
      evaluateElementStep(request, flagWord, step, view);
    }
  } else {
    request.selectNodes(idList);
    request.keySet.selectNodeResponses(keyList);
    if (stepIndex < 0) {
      evaluateNodalHistory(request, flagWord, keyList.count, view);
    } else {
      evaluateNodalStep(request, flagWord, step, view);
    }
  }
}

}  // namespace

void answerRequest(Request& request, double* result, std::int32_t resultLength) {
  // Every block flow divides the array among the IDs; at least one ID is needed, and the lists must exist.
  if (request.ids.count < 1) {
    failBecause("idCount " + std::to_string(request.ids.count) + " is below 1");
  }
  if (request.ids.values == nullptr) failBecause("ids is NULL");
  if (request.keys.count < 0) failBecause("keyCount " + std::to_string(request.keys.count) + " is negative");
  if (request.keys.count > 0 && request.keys.values == nullptr) failBecause("keys is NULL");
  if (flags::has(request.flags, flags::kEnvelope)) {
    runEnvelope(request, result, resultLength);
  } else {
    runBlocks(request, result, resultLength);
  }
}

}  // namespace Zarn
