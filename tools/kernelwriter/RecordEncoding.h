// Encoders of the node and element records into a sink. Internal to the writer; Records.cpp holds the layouts.
#pragma once

#include "kernelwriter/ByteSink.h"
#include "kernelwriter/KernelWriter.h"

namespace kernelwriter {

// Each writes exactly byteSize() bytes of its argument.
void encode(ByteSink& out, const Table& t);
void encode(ByteSink& out, const NodeRecord& r);
void encode(ByteSink& out, const ElementRecord& r);

}  // namespace kernelwriter
