// Element requests are refused until element recovery is in place: the call gives -1.
#include "evaluate/ElementFlows.h"

#include "model/Failure.h"

namespace Zarn {

void evaluateElementHistory(ReadTimeKernel&, std::int32_t, std::int32_t, Matrix&) { fail(); }

void evaluateElementStep(ReadTimeKernel&, std::int32_t, std::int32_t, Matrix&) { fail(); }

}  // namespace Zarn
