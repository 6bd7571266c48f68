// The library's one failure: an exception whose value is the integer 1.
//
// Readers, selections and evaluators raise it; only the exports catch it (with a catch-all), end the call's cycle
// and return -1. Keeping every failure on this one path gives one place for a breakpoint (`fail`) and guarantees
// that nothing else escapes into the host program. The exception carries no text; the reason of the last failure
// raised on a thread is kept beside it, for TimeKernelLastError.
#pragma once

#include <string>

namespace Zarn {

// The reason `fail` gives: a value from the file or the request is out of the range the check allows.
constexpr const char* kGenericFailure =
    "the kernel file is malformed, or the request does not fit it (a value read or asked for is out of range)";

// Raises the failure with the generic reason. Never returns. Set a breakpoint here to see where a call gave up.
[[noreturn]] void fail();

// Bytes kept of a reason, terminator included; a longer reason is cut.
constexpr int kReasonCapacity = 512;

// Raises the failure with a reason in words a user can act on.
[[noreturn]] void failBecause(const std::string& reason);

// The reason of the last failure raised on this thread ("" before the first). Valid until the next failure
// raised on this thread.
const char* lastFailureReason();

}  // namespace Zarn

// Always-on check for values that come from a kernel file or from the caller, and for the library's own
// invariants: fails the call when `cond` is false.
#define TK_CHECK(cond)      \
  do {                      \
    if (!(cond)) {          \
      ::Zarn::fail();       \
    }                       \
  } while (0)
