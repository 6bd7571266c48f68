// The main job of the README: write a small sample kernel file with the test writer, then ask the shared
// library what it holds, as a host program would.
#include <cstdio>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"

namespace {

constexpr int kNodes = 3, kDofPerNode = 6, kSteps = 5, kDofs = kNodes * kDofPerNode;

// A tiny model: 3 nodes of 6 degrees of freedom, a few elements, over 5 steps.
std::string writeSampleFile(const std::string& path) {
  kernelwriter::KernelFile file;
  // Displacement, velocity and acceleration by degree of freedom (steps x dofs): a made-up motion.
  for (int q = 0; q < 3; ++q) {
    file.setMatrix(21 + q, kSteps, kDofs, [q](int64_t step, int64_t dof) {
      return (q + 1) * 0.001 * static_cast<double>(dof + 1) * static_cast<double>(step + 1);
    });
  }
  // The initial state of a run without base motion: zero.
  for (int s = 8; s <= 10; ++s) file.setMatrix(s, kDofs, 1, std::vector<double>(kDofs, 0.0));
  for (int n = 0; n < kNodes; ++n) {
    std::vector<uint32_t> rows;
    std::vector<int32_t> codes;
    for (int k = 0; k < kDofPerNode; ++k) {
      rows.push_back(static_cast<uint32_t>(n * kDofPerNode + k));
      codes.push_back(-999 + k);
    }
    file.addNode(100 + n, kernelwriter::NodeRecord::make(rows, codes));
  }
  file.addElement(5001, kernelwriter::ElementRecord::make(583, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  file.addElement(5002, kernelwriter::ElementRecord::make(583, {6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}));
  file.addElement(7001, kernelwriter::ElementRecord::make(645, {0, 1, 2, 6, 7, 8, 12, 13, 14}));
  file.write(path);
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string path = writeSampleFile(argc > 1 ? argv[1] : "sample.kernel");
  std::printf("wrote %s\n", path.c_str());

  // Ask for the total first, then fetch that many IDs.
  int32_t total = 0;
  if (TimeKernelElementID(path.c_str(), nullptr, &total) != 0) {
    std::fprintf(stderr, "TimeKernelElementID failed\n");
    return 1;
  }
  std::vector<int32_t> ids(static_cast<size_t>(total));
  int32_t count = total;
  if (TimeKernelElementID(path.c_str(), ids.data(), &count) != 0) {
    std::fprintf(stderr, "TimeKernelElementID failed\n");
    return 1;
  }
  std::printf("%d elements:", count);
  for (int32_t id : ids) std::printf(" %d", id);
  std::printf("\n");

  // The displacement history of two nodes: x, y, z translation (response ids 102, 103, 104) over all steps.
  const int32_t nodes[] = {100, 102};
  const int32_t keys[] = {102, 103, 104};
  const int32_t keyCount = 3, idCount = 2;
  std::vector<double> history(static_cast<size_t>(keyCount * kSteps * idCount));
  if (TimeKernelOutputResult(path.c_str(), 0, nodes, idCount, keys, keyCount, 0, 0, history.data(),
                             static_cast<int32_t>(history.size())) != 0) {
    std::fprintf(stderr, "TimeKernelOutputResult failed\n");
    return 1;
  }
  // Block i holds node i; in it, the value of keys[r] at step t stands at block[r + keyCount * t].
  for (int i = 0; i < idCount; ++i) {
    const double* block = history.data() + i * keyCount * kSteps;
    std::printf("node %d displacement (x y z) by step:\n", nodes[i]);
    for (int t = 0; t < kSteps; ++t) {
      std::printf("  step %d:", t + 1);
      for (int r = 0; r < keyCount; ++r) std::printf(" %9.5f", block[r + keyCount * t]);
      std::printf("\n");
    }
  }
  return 0;
}
