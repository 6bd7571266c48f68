// The main job of the README: write a small sample kernel file with the test writer, then ask the shared
// library what it holds, as a host program would.
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"

namespace {

constexpr int kNodes = 3, kDofPerNode = 6, kSteps = 5, kDofs = kNodes * kDofPerNode;

// A bar of 12 degrees of freedom with force (6 components x 2 ends) and stress (11 x 2) recovery tables.
kernelwriter::ElementRecord barRecord(std::vector<uint32_t> dofRows) {
  kernelwriter::ElementRecord bar = kernelwriter::ElementRecord::make(583, std::move(dofRows));
  constexpr uint32_t kDofs = 12, kForceRows = 6 * 2, kStressRows = 11 * 2;
  std::vector<double> force(kForceRows * kDofs, 0.0), stress(kStressRows * kDofs, 0.0);
  for (uint32_t r = 0; r < kForceRows; ++r) force[r + kForceRows * r] = 1000.0;  // column-major, column r
  for (uint32_t r = 0; r < kStressRows; ++r) stress[r + kStressRows * (r % kDofs)] = 2e5;
  bar.forceRecovery = kernelwriter::Table::matrix(kForceRows, kDofs, force);
  bar.stressRecovery = kernelwriter::Table::matrix(kStressRows, kDofs, stress);
  return bar;
}

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
  // No load cases: an empty load-factor section (0 loads by the steps).
  file.setMatrix(4, 0, kSteps, std::vector<double>{});
  // Two bars between nodes 100-101 and 101-102, with made-up recovery tables: at each of the 2 ends, the 6 force
  // components are 1000 times the end's 6 displacements, the 11 stress components 2e5 times them (cyclically).
  file.addElement(5001, barRecord({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  file.addElement(5002, barRecord({6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}));
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

  // Element results: the first force and stress components of bar 5001 at its two ends over all steps. Bar keys
  // number their ends from 1: location 1 is end A, location 2 end B (140402: axial force; 142101: first stress).
  const int32_t bar[] = {5001};
  const int32_t barKeys[] = {100140402, 200140402, 100142101};
  const int32_t barKeyCount = 3;
  std::vector<double> barHistory(static_cast<size_t>(barKeyCount * kSteps));
  if (TimeKernelOutputResult(path.c_str(), TIMEKERNEL_ELEMENT_RESULTS, bar, 1, barKeys, barKeyCount, 0, 0,
                             barHistory.data(), static_cast<int32_t>(barHistory.size())) != 0) {
    std::fprintf(stderr, "TimeKernelOutputResult failed for elements\n");
    return 1;
  }
  std::printf("bar 5001 (force end A, force end B, stress end A) by step:\n");
  for (int t = 0; t < kSteps; ++t) {
    std::printf("  step %d:", t + 1);
    for (int r = 0; r < barKeyCount; ++r) std::printf(" %9.3f", barHistory[static_cast<size_t>(r + barKeyCount * t)]);
    std::printf("\n");
  }
  return 0;
}
