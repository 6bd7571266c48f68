// Reading "the node or element record at the current position" of a request's file into the request's
// prototypes.
//
// An element record starts with its type code (4 bytes), which is looked up in the request's prototype map. For a
// code the map does not hold (0, 581, anything unknown) the result is an empty pointer and the reader stands right
// behind the code, with nothing else read: the caller skips that element. For a known code the result is a
// counted share of that type's prototype, into which the rest of the record has been read
// (kernelfile/ElementRecord.h). There is no second object: the prototype holds the record until the caller clears
// it, and the caller does so before the next record is read.
//
// When the type code cannot be read (no view), it counts as unknown.
#pragma once

#include "base/Counted.h"
#include "model/TimeKernelElement.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

class ReadTimeKernel;
class Request;

// First form: only the dof count and dofRows are read. The reader then stands behind dofRows, not behind the
// record.
counted_ptr<TimeKernelElement> readElementDofRows(Request& request);

// Second form: the whole record is read, and the reader stands behind it.
counted_ptr<TimeKernelElement> readElementRecord(Request& request);

// The node record at the reader's position into `node` (kernelfile/NodeRecord.h); the reader stands behind it.
void readNode(ReadTimeKernel& kernel, TimeKernelNode& node);

}  // namespace Zarn
