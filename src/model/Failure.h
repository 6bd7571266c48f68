// The library's one failure: an exception whose value is the integer 1, with no text.
//
// Readers, selections and evaluators raise it; only the two exports catch it (with a catch-all), end the
// call's cycle and return -1. Keeping every failure on this one path gives one place for a breakpoint
// (`fail`) and guarantees that nothing else escapes into the host program.
#pragma once

namespace Zarn {

// Raises the failure. Never returns. Set a breakpoint here to see where a call gave up.
[[noreturn]] void fail();

}  // namespace Zarn

// Always-on check for values that come from a kernel file or from the caller, and for the library's own
// invariants: fails the call when `cond` is false.
#define TK_CHECK(cond)      \
  do {                      \
    if (!(cond)) {          \
      ::Zarn::fail();       \
    }                       \
  } while (0)
