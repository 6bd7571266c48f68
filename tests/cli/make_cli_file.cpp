// Writes the small kernel file that the command-line tool's end-to-end test reads. Every value follows a
// formula that test_timekernel_cli.py computes again on its own, so the test compares the tool's output with
// numbers that never passed through the library.
//
//   2 nodes of 3 rows (node 1: rows 0-2; node 2: rows 3-5, with a quarter turn about z as its transform),
//   4 steps, 2 modes:  phi(i, m) = (i + 1) + 10 m,  q(t, m) = 0.5 (t + 1) (m + 1) (times 2 for the velocity,
//   3 for the acceleration), direct histories X = Phi q; zero initial states; base motion B(r, t) = 0.01 (r +
//   1) (t + 1); no loads. Bar 10 on rows 0-5: force rows 0-5 are 100 times rows 0-5 (end A), force rows 6-11
//   are 200 times them (end B). Rod 11 on rows 0 and 3: force rows (axial, torque) at end A = rows 0 and 3, at
//   end B = 2 times them.
#include <cstdio>
#include <vector>

#include "kernelwriter/KernelWriter.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_cli_file OUT.kernel\n");
    return 2;
  }
  constexpr int kRows = 6, kSteps = 4, kModes = 2;
  auto phi = [](int i, int m) { return (i + 1) + 10.0 * m; };
  auto q = [](int t, int m, int rate) { return 0.5 * (t + 1) * (m + 1) * (rate + 1); };
  kernelwriter::KernelFile f;
  std::vector<double> shapes;
  for (int m = 0; m < kModes; ++m)
    for (int i = 0; i < kRows; ++i) shapes.push_back(phi(i, m));
  f.setMatrix(0, kRows, kModes, shapes);
  auto x = [&](int t, int i, int rate) {
    double sum = 0.0;
    for (int m = 0; m < kModes; ++m) sum += phi(i, m) * q(t, m, rate);
    return sum;
  };
  for (int rate = 0; rate < 3; ++rate) {
    // The generators run when the file is written, so each keeps its own copy of `rate`.
    f.setMatrix(24 + rate, kSteps, kModes, [=](int64_t t, int64_t m) { return q(int(t), int(m), rate); });
    f.setMatrix(18 + rate, kModes, kSteps, [=](int64_t m, int64_t t) { return q(int(t), int(m), rate); });
    f.setMatrix(21 + rate, kSteps, kRows, [=](int64_t t, int64_t i) { return x(int(t), int(i), rate); });
    f.setMatrix(15 + rate, kRows, kSteps, [=](int64_t i, int64_t t) { return x(int(t), int(i), rate); });
    f.setMatrix(5 + rate, kRows, 1, std::vector<double>(kRows, 0.0));
    f.setMatrix(8 + rate, kRows, 1, std::vector<double>(kRows, 0.0));
    f.setMatrix(12 + rate, kModes, 1, std::vector<double>(kModes, 0.0));
  }
  f.setMatrix(1, 9, kSteps, [](int64_t r, int64_t t) { return 0.01 * double(r + 1) * double(t + 1); });
  f.setMatrix(4, 0, kSteps, std::vector<double>{});
  f.addNode(1, kernelwriter::NodeRecord::make({0, 1, 2}, {-999, -998, -997}));
  f.addNode(2, kernelwriter::NodeRecord::make({3, 4, 5}, {-999, -998, -997}, {0, 1, 0, -1, 0, 0, 0, 0, 1}));

  kernelwriter::ElementRecord bar = kernelwriter::ElementRecord::make(583, {0, 1, 2, 3, 4, 5});
  std::vector<double> force(12 * 6, 0.0);
  for (int c = 0; c < 6; ++c) {
    force[static_cast<size_t>(c * 12 + c)] = 100.0;
    force[static_cast<size_t>(c * 12 + 6 + c)] = 200.0;
  }
  bar.forceRecovery = kernelwriter::Table::matrix(12, 6, force);
  f.addElement(10, bar);
  kernelwriter::ElementRecord rod = kernelwriter::ElementRecord::make(582, {0, 3});
  rod.forceRecovery = kernelwriter::Table::matrix(4, 2, {1, 0, 2, 0, 0, 1, 0, 2});
  f.addElement(11, rod);
  f.write(argv[1]);
  std::printf("wrote %s\n", argv[1]);
  return 0;
}
