// Kernel files for the node and element tests: written with the independent writer, opened by a local kernel.
#pragma once

#include <cstdint>
#include <vector>

#include "evaluate/Request.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace modeltest {

// Writes `file` to a temporary path and opens it with a kernel of its own, with a request (and its prototypes) on
// it. The file
// gets section 21 (a 2 x 4 matrix), without which no kernel file opens. The last `dropLast` bytes are left out,
// for a last record that ends early (the records follow the sections); `layout` still describes the whole file.
// The kernel ends its cycle and the file is removed when the object goes.
struct OpenKernel {
  explicit OpenKernel(kernelwriter::KernelFile file, std::int64_t dropLast = 0);
  ~OpenKernel();
  OpenKernel(const OpenKernel&) = delete;
  OpenKernel& operator=(const OpenKernel&) = delete;

  testsupport::TempFile path;  // declared first: removed only after the kernel has closed the file
  kernelwriter::Layout layout;
  Zarn::ReadTimeKernel kernel;
  Zarn::Request request{kernel};
};

// A file of the one element record `r`, under ID 1.
kernelwriter::KernelFile oneElement(const kernelwriter::ElementRecord& r);
// A file of the one node record `r`, under ID 1.
kernelwriter::KernelFile oneNode(const kernelwriter::NodeRecord& r);

// n values first, first + 1, ..., first + n - 1: distinct test data for a table or a run.
std::vector<double> counting(std::int64_t n, double first);

}  // namespace modeltest
