#include "base/Failure.h"

#include <cstring>

namespace Zarn {

namespace {
// The reason of the last failure raised on this thread. Each thread has its own, so that concurrent calls on
// handles never mix their reasons. A fixed buffer: a failure holds no memory after its call, and keeping the
// reason cannot itself fail.
thread_local char lastReason[kReasonCapacity] = "";

void keep(const char* reason) {
  std::strncpy(lastReason, reason, kReasonCapacity - 1);
  lastReason[kReasonCapacity - 1] = '\0';
}
}  // namespace

void fail() {
  keep(kGenericFailure);
  throw 1;
}

void failBecause(const std::string& reason) {
  keep(reason.c_str());
  throw 1;
}

const char* lastFailureReason() { return lastReason; }

}  // namespace Zarn
