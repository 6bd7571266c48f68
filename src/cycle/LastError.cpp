#include "cycle/LastError.h"

#include <cstring>

#include "base/Failure.h"

namespace Zarn {

namespace {
// A fixed buffer per thread: keeping the text holds no memory after a call and cannot fail.
thread_local char lastError[kReasonCapacity] = "";
}  // namespace

void recordSuccess() { lastError[0] = '\0'; }

void recordFailure(const char* reason) {
  std::strncpy(lastError, reason, kReasonCapacity - 1);
  lastError[kReasonCapacity - 1] = '\0';
}

const char* lastErrorText() { return lastError; }

}  // namespace Zarn
