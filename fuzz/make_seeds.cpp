// Writes the fuzz target's seed corpus with the kernel-file writer: well-formed files of every element type,
// with mode shapes and modal coordinates, base motion, twins absent and empty sections, files cut short, and an
// element table that claims 2^31 - 2 rows, each followed by a few request tails (see FuzzInput.h).
// Usage: make_seeds <directory>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "kernelwriter/KernelWriter.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::NodeRecord;
using kernelwriter::Table;

constexpr int kSteps = 3, kDofs = 18, kModes = 2, kLoads = 2;

std::vector<double> values(std::size_t n, double scale) {
  std::vector<double> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = scale * static_cast<double>((i * 7) % 11) - 0.25 * scale;
  return v;
}

Table table(uint32_t rows, uint32_t cols, double scale) { return Table::matrix(rows, cols, values(rows * cols, scale)); }

void addResponseSections(KernelFile& f, bool twinsOnly, bool emptyVelocity) {
  auto byDof = [](int64_t step, int64_t dof) { return 0.01 * static_cast<double>(dof + 1) * static_cast<double>(step + 2); };
  for (int q = 0; q < 3; ++q) {
    const bool empty = emptyVelocity && q == 1;
    f.setMatrix(21 + q, empty ? 0 : kSteps, kDofs, [&](int64_t r, int64_t c) { return byDof(r, c) * (q + 1); });
    if (!twinsOnly) {
      f.setMatrix(15 + q, empty ? 0 : kDofs, kSteps, [&](int64_t r, int64_t c) { return byDof(c, r) * (q + 1); });
    }
    f.setMatrix(18 + q, kModes, kSteps, values(kModes * kSteps, 0.5));
    f.setMatrix(24 + q, kSteps, kModes, values(kModes * kSteps, 0.5));
    f.setMatrix(5 + q, kDofs, 1, values(kDofs, 0.001));
    f.setMatrix(8 + q, kDofs, 1, values(kDofs, 0.002));
    f.setMatrix(12 + q, kModes, 1, values(kModes, 0.01));
  }
  f.setMatrix(0, kDofs, kModes, values(kDofs * kModes, 1.0));
  f.setMatrix(1, 9, kSteps, values(9 * kSteps, 0.1));
  f.setMatrix(11, 9, 1, values(9, 0.2));
  f.setMatrix(4, kLoads, kSteps, values(kLoads * kSteps, 1.0));
}

void addNodes(KernelFile& f) {
  const std::array<double, 9> rotation = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  f.addNode(1, NodeRecord::make({0, 1, 2, 3, 4, 5}, {-999, -998, -997, -996, -995, -994}));
  f.addNode(2, NodeRecord::make({6, 7, 8, 9, 10, 11}, {-999, -998, -997, -996, -995, -994}, rotation));
  f.addNode(3, NodeRecord::make({12, 13, 14, 15}, {-999, -998, -997, -1000}));
}

// One element of each type with every table filled: force and stress tables of `points` points of the type's
// component counts, rotations large enough for every class, reference state, offsets, loads, velocity table.
void addElements(KernelFile& f) {
  struct Type {
    int32_t code, forceComponents, stressComponents;
  };
  const Type types[] = {{580, 6, 6}, {582, 2, 2},   {583, 6, 11}, {584, 6, 0}, {586, 9, 39},
                        {594, 1, 1}, {642, 3, 3},   {643, 3, 4},  {645, 14, 6}, {768, 3, 6}};
  int32_t id = 100;
  for (const Type& t : types) {
    const uint32_t points = t.code == 580 ? 1 : 2;
    ElementRecord e = ElementRecord::make(t.code, {0, 1, 2, 6, 7, 8});
    const uint32_t forceRows = static_cast<uint32_t>(t.forceComponents) * points;
    const uint32_t stressRows = static_cast<uint32_t>(t.stressComponents) * points;
    e.forceRotation = table(6, 6, 0.3);
    e.stressRotation = table(6, 6, 0.2);
    e.forceOffset = table(static_cast<uint32_t>(t.forceComponents), points, 1.0);
    e.stressOffset = table(static_cast<uint32_t>(t.stressComponents), points, 1.0);
    e.setReference(values(6, 0.001));
    e.forceLoad = table(forceRows, kLoads, 0.5);
    e.stressLoad = table(stressRows, kLoads, 0.5);
    e.forceRecovery = table(forceRows, 6, 10.0);
    e.stressRecovery = table(stressRows, 6, 20.0);
    e.velocityForce = table(forceRows, 6, 0.1);
    e.tenth = table(2, 2, 9.0);
    f.addElement(id++, e);
  }
  f.addElement(id++, ElementRecord::make(581, {0}));  // an unknown type code
}

void save(const std::string& dir, const std::string& name, const std::vector<uint8_t>& file,
          const std::vector<std::array<uint8_t, fuzzinput::kRequestBytes>>& requests) {
  int n = 0;
  for (const auto& request : requests) {
    std::vector<uint8_t> input = file;
    input.insert(input.end(), request.begin(), request.end());
    kernelwriter::writeBytes(dir + "/" + name + "-" + std::to_string(n++), input);
  }
}

// flags, step, mode, ids-1, id picks x4, key count, key picks x4, location, length change, unused
using Request = std::array<uint8_t, fuzzinput::kRequestBytes>;

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds <directory>\n");
    return 2;
  }
  const std::string dir = argv[1];
  std::filesystem::create_directories(dir);

  KernelFile full;
  addResponseSections(full, false, false);
  addNodes(full);
  addElements(full);
  const std::vector<Request> nodal = {
      Request{0, 0, 0, 2, 0, 1, 2, 0, 4, 0, 1, 7, 8, 0, 0, 0},   // history, three nodes
      Request{10, 0, 0, 1, 1, 2, 0, 0, 3, 0, 3, 9, 0, 0, 0, 0},  // rotated, with base motion
      Request{4, 2, 1, 0, 0, 0, 0, 0, 2, 1, 2, 0, 0, 0, 0, 0},   // one mode, one step
      Request{16, 0, 0, 1, 0, 1, 0, 0, 2, 0, 7, 0, 0, 0, 0, 0},  // envelope
      Request{8, 3, 0, 2, 2, 1, 0, 0, 4, 0, 1, 2, 6, 1, 0, 0},   // one step with base motion, location 1
  };
  const std::vector<Request> element = {
      Request{1, 0, 0, 3, 0, 3, 8, 10, 4, 30, 40, 50, 60, 1, 0, 0},  // element history
      Request{3, 2, 0, 3, 1, 4, 9, 7, 4, 31, 45, 70, 90, 0, 0, 0},   // rotated, one step
      Request{5, 0, 2, 2, 2, 5, 6, 0, 3, 33, 55, 77, 0, 1, 0, 0},    // one mode
  };
  std::vector<uint8_t> bytes = full.bytes();
  save(dir, "nodal", bytes, nodal);
  save(dir, "element", bytes, element);

  KernelFile twins;
  addResponseSections(twins, true, false);
  addNodes(twins);
  save(dir, "twins", twins.bytes(), nodal);

  KernelFile empty;
  addResponseSections(empty, false, true);
  addNodes(empty);
  addElements(empty);
  save(dir, "empty-velocity", empty.bytes(), nodal);
  save(dir, "empty-velocity-element", empty.bytes(), element);

  // Short files: the full file cut inside the node records and inside the element records, so that reads pass
  // the end (the designed door lengthens the file there, a handle reads zeros without touching it).
  for (const double share : {0.45, 0.8}) {
    const std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(share * bytes.size()));
    const std::string name = "short-" + std::to_string(static_cast<int>(share * 100));
    save(dir, name, cut, nodal);
    save(dir, name + "-element", cut, element);
  }

  // A bar whose force table has no columns but claims 2^31 - 2 rows (a whole number of 6-component points).
  KernelFile hugeRows;
  addResponseSections(hugeRows, false, false);
  addNodes(hugeRows);
  ElementRecord bar = ElementRecord::make(583, {0, 1, 2, 6, 7, 8});
  bar.forceRecovery = Table::matrix(2147483646u, 0, {});
  hugeRows.addElement(100, bar);
  save(dir, "huge-rows", hugeRows.bytes(), element);
  std::printf("seed corpus written to %s\n", dir.c_str());
  return 0;
}
