#include "cycle/OutputRequest.h"

#include <algorithm>
#include <string>

#include "cycle/TheKernel.h"
#include "evaluate/ElementFlows.h"
#include "evaluate/Flags.h"
#include "evaluate/NodalFlows.h"
#include "kernelfile/Checked.h"
#include "keys/RequestList.h"
#include "model/Failure.h"
#include "model/Records.h"

namespace Zarn {

namespace {

// The envelope: two square matrices of order keyCount * idCount. The length must be exactly twice the square;
// the square is formed in 64 bits and must not overflow 32 (a wrapped product would address memory the caller
// does not have).
void runEnvelope(std::int32_t flagWord, const RequestList& idList, const RequestList& keyList, double* result,
                 std::int32_t resultLength) {
  theKernel.selectNodes(idList);
  theKernel.keySet.selectNodeResponses(keyList);
  std::int64_t n = 0, order = 0;
  TK_CHECK(checkedMul(keyList.count, idList.count, &n) && checkedMul(n, n, &order));
  TK_CHECK(order <= INT32_MAX && static_cast<std::int64_t>(resultLength) == 2 * order);
  Matrix view = Matrix::view(static_cast<std::int32_t>(order), 2, result, static_cast<std::int32_t>(order));
  view.setZero();
  evaluateEnvelope(theKernel, flagWord, keyList.count, idList.count, view);
}

// The four block flows: one column of `rows` doubles per requested ID.
void runBlocks(std::int32_t flagWord, const RequestList& idList, const RequestList& keyList, std::int64_t stepIndex,
               double* result, std::int32_t resultLength) {
  const std::int32_t rows = resultLength / idList.count;
  const std::int64_t need = static_cast<std::int64_t>(keyList.count) * (stepIndex < 0 ? theKernel.stepCount : 1);
  TK_CHECK(rows >= need && stepIndex < theKernel.stepCount);
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
    theKernel.selectElements(idList);
    theKernel.keySet.selectElementResponses(keyList);
    if (stepIndex < 0) {
      evaluateElementHistory(theKernel, flagWord, keyList.count, view);
    } else {
      evaluateElementStep(theKernel, flagWord, step, view);
    }
  } else {
    theKernel.selectNodes(idList);
    theKernel.keySet.selectNodeResponses(keyList);
    if (stepIndex < 0) {
      evaluateNodalHistory(theKernel, flagWord, keyList.count, view);
    } else {
      evaluateNodalStep(theKernel, flagWord, step, view);
    }
  }
}

}  // namespace

void outputResult(const char* path, std::int32_t flagWord, const std::int32_t* ids, std::int32_t idCount,
                  const std::int32_t* keys, std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber,
                  double* result, std::int32_t resultLength) {
  TK_CHECK(resultLength >= 0 && (resultLength == 0 || result != nullptr));
  // A caller that gets -1 sees zeros, never stale data: every failure zeroes the whole array on its way out. On
  // success every double that no value lands in is zero too (the flows zero their blocks).
  try {
    TK_CHECK(path != nullptr);
    const std::string name(path);
    const std::int64_t stepIndex = static_cast<std::int64_t>(stepNumber) - 1;  // below 0: all steps
    theKernel.fileName = name;
    if (flags::has(flagWord, flags::kSingleMode)) {
      const std::int64_t mode = static_cast<std::int64_t>(modeNumber) - 1;
      TK_CHECK(mode >= 0);
      theKernel.selectedMode = static_cast<std::int32_t>(mode);
    } else {
      theKernel.selectedMode = -1;
    }
    theKernel.openKernelFile();
    // Every block flow divides the array among the IDs; at least one ID is needed, and the lists must exist.
    TK_CHECK(idCount >= 1 && ids != nullptr);
    TK_CHECK(keyCount >= 0 && (keyCount == 0 || keys != nullptr));
    const RequestList idList{ids, idCount, 1, false};
    const RequestList keyList{keys, keyCount, 1, false};
    if (flags::has(flagWord, flags::kEnvelope)) {
      runEnvelope(flagWord, idList, keyList, result, resultLength);
    } else {
      runBlocks(flagWord, idList, keyList, stepIndex, result, resultLength);
    }
  } catch (...) {
    std::fill(result, result + resultLength, 0.0);
    throw;
  }
}

}  // namespace Zarn
