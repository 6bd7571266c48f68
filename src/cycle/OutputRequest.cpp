#include "cycle/OutputRequest.h"

#include <algorithm>
#include <string>

#include "base/Failure.h"
#include "cycle/TheKernel.h"
#include "evaluate/Request.h"

namespace Zarn {

void outputResult(const char* path, std::int32_t flagWord, const std::int32_t* ids, std::int32_t idCount,
                  const std::int32_t* keys, std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber,
                  double* result, std::int32_t resultLength) {
  checkResultArray(result, resultLength);
  // A caller that gets -1 sees zeros, never stale data: every failure zeroes the whole array on its way out. On
  // success every double that no value lands in is zero too (the flows zero their blocks).
  try {
    if (path == nullptr) failBecause("path is NULL");
    const std::string name(path);
    theKernel.fileName = name;
    selectMode(theKernel, flagWord, modeNumber);
    theKernel.openKernelFile();
    theRequest.ask(flagWord, ids, idCount, keys, keyCount, modeNumber, stepNumber);
    answerRequest(theRequest, result, resultLength);
  } catch (...) {
    std::fill(result, result + resultLength, 0.0);
    throw;
  }
}

}  // namespace Zarn
