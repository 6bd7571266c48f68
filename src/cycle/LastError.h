// The text behind TimeKernelLastError: one per thread, set by every export as it returns.
#pragma once

namespace Zarn {

// This thread's last call succeeded: the text becomes "".
void recordSuccess();
// This thread's last call failed for `reason` (copied).
void recordFailure(const char* reason);
// This thread's text; never null, valid until this thread's next call.
const char* lastErrorText();

}  // namespace Zarn
