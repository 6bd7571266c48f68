#include "model/ModelFiles.h"

#include <utility>

namespace modeltest {

OpenKernel::OpenKernel(kernelwriter::KernelFile file, std::int64_t dropLast) : path("model") {
  file.setMatrix(21, 2, 4, counting(8, 0.5));
  if (dropLast <= 0) {
    layout = file.write(path.path());
  } else {
    std::vector<std::uint8_t> bytes = file.bytes(&layout);
    bytes.resize(bytes.size() - static_cast<std::size_t>(dropLast));
    kernelwriter::writeBytes(path.path(), bytes);
  }
  kernel.fileName = path.path();
  kernel.openKernelFile();
}

OpenKernel::~OpenKernel() {
  kernel.endCycle();
  request.clear();
}

kernelwriter::KernelFile oneElement(const kernelwriter::ElementRecord& r) {
  kernelwriter::KernelFile f;
  f.addElement(1, r);
  return f;
}

kernelwriter::KernelFile oneNode(const kernelwriter::NodeRecord& r) {
  kernelwriter::KernelFile f;
  f.addNode(1, r);
  return f;
}

std::vector<double> counting(std::int64_t n, double first) {
  std::vector<double> values;
  for (std::int64_t k = 0; k < n; ++k) values.push_back(first + static_cast<double>(k));
  return values;
}

}  // namespace modeltest
