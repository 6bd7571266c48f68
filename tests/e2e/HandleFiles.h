// Random kernel files and random requests for the handle tests, built with the independent writer.
//
// A file has random dimensions, every response section in both orders (the twins hold the same numbers), base
// motion, load factors, nodes with random rows and component codes (some with a rotation), and elements of every
// class with tables whose rows are whole points of the class's components. The requests mix IDs the file holds
// with IDs it lacks, response ids of every kind (and some that mean nothing), every flag combination, modes and
// steps in and out of range, and lengths that fit or fall short. The expected values are those of the designed
// door, TimeKernelOutputResult, on the same file: the handle must give the same doubles bit for bit.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "kernelwriter/KernelWriter.h"
#include "support/ResponseSections.h"

namespace handletest {

struct ElementClass {
  std::int32_t code;
  std::int32_t forceComponents;
  std::int32_t stressComponents;  // of the stress table (Bush: its deformation)
  std::vector<std::int32_t> forceCodes;
  std::vector<std::int32_t> stressCodes;
  bool fromOne;                   // force and stress requests number locations from 1
};

// The ten classes with their component counts and a few of their component codes (from the file format's key
// tables, written out here by hand).
inline const std::vector<ElementClass>& elementClasses() {
  static const std::vector<ElementClass> classes = {
      {580, 6, 6, {120401, 120402, 120406}, {121101, 121107}, true},
      {582, 2, 2, {130402, 130406}, {132101, 132111}, true},
      {583, 6, 11, {140402, 140403, 140408}, {142101, 142156}, true},
      {584, 6, 0, {120401, 120404}, {}, true},
      {586, 9, 39, {140402, 530403}, {142101, 532109}, true},
      {594, 1, 1, {190402}, {192101}, true},
      {642, 3, 3, {429101, 429103}, {422131, 422134}, false},
      {643, 3, 4, {439101, 439102}, {432131, 432133}, false},
      {645, 14, 6, {419101, 410402, 410410}, {412101, 412154}, false},
      {768, 3, 6, {319101, 319103}, {312101, 312106}, false},
  };
  return classes;
}

struct RandomFile {
  std::int32_t dofs = 0, steps = 0, modes = 0, loads = 0;
  std::vector<std::int32_t> nodeIds, elementIds, elementCodes;
  kernelwriter::KernelFile file;
};

inline double draw(std::mt19937& rng) { return std::uniform_real_distribution<double>(-10.0, 10.0)(rng); }

inline std::vector<double> draws(std::mt19937& rng, std::int64_t n) {
  std::vector<double> v(static_cast<std::size_t>(n));
  for (double& x : v) x = draw(rng);
  return v;
}

inline kernelwriter::Table randomTable(std::mt19937& rng, std::uint32_t rows, std::uint32_t cols) {
  return kernelwriter::Table::matrix(rows, cols, draws(rng, static_cast<std::int64_t>(rows) * cols));
}

inline RandomFile randomFile(std::uint32_t seed) {
  std::mt19937 rng(seed);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  RandomFile r;
  r.dofs = pick(6, 24);
  r.steps = pick(1, 9);
  r.modes = pick(1, 3);
  r.loads = pick(0, 2);
  kernelwriter::KernelFile& f = r.file;
  f.setMatrix(0, r.dofs, r.modes, draws(rng, static_cast<std::int64_t>(r.dofs) * r.modes));
  if (pick(0, 1) == 0) {
    f.setMatrix(1, 9, r.steps, draws(rng, 9LL * r.steps));
  } else {
    f.setMatrix(1, 9, 0, std::vector<double>{});
  }
  f.setMatrix(11, 9, 1, draws(rng, 9));
  f.setMatrix(4, r.loads, r.steps, draws(rng, static_cast<std::int64_t>(r.loads) * r.steps));
  testsupport::PerQuantity withBase, without, modalInitial, direct, modal;
  for (int q = 0; q < 3; ++q) {
    withBase[q] = draws(rng, r.dofs);
    without[q] = draws(rng, r.dofs);
    modalInitial[q] = draws(rng, r.modes);
    direct[q] = draws(rng, static_cast<std::int64_t>(r.dofs) * r.steps);
    modal[q] = draws(rng, static_cast<std::int64_t>(r.modes) * r.steps);
  }
  testsupport::setResponseSections(f, r.dofs, r.modes, r.steps, withBase, without, modalInitial, direct, modal, 99.0);

  static const std::int32_t kCodes[] = {-999, -998, -997, -996, -995, -994, -1000, -991};
  const int nodes = pick(1, 6);
  for (int n = 0; n < nodes; ++n) {
    const std::int32_t id = 10 + 3 * n;
    const int count = pick(1, 7);
    std::vector<std::uint32_t> rows;
    std::vector<std::int32_t> codes;
    for (int k = 0; k < count; ++k) {
      rows.push_back(static_cast<std::uint32_t>(pick(0, r.dofs - 1)));
      codes.push_back(kCodes[pick(0, 7)]);
    }
    // Mostly whole triples in order, so that rotations apply: a node of six is x y z rx ry rz.
    if (count >= 6 && pick(0, 2) != 0) {
      for (int k = 0; k < 6; ++k) codes[static_cast<std::size_t>(k)] = -999 + k;
    }
    if (pick(0, 1) == 0) {
      std::array<double, 9> t{};
      for (double& x : t) x = draw(rng);
      f.addNode(id, kernelwriter::NodeRecord::make(rows, codes, t));
    } else {
      f.addNode(id, kernelwriter::NodeRecord::make(rows, codes));
    }
    r.nodeIds.push_back(id);
  }

  const int elements = pick(1, 6);
  for (int e = 0; e < elements; ++e) {
    const ElementClass& c = elementClasses()[static_cast<std::size_t>(pick(0, 9))];
    const std::int32_t id = 500 + 7 * e;
    const int count = pick(1, 8);
    std::vector<std::uint32_t> rows;
    for (int k = 0; k < count; ++k) rows.push_back(static_cast<std::uint32_t>(pick(0, r.dofs - 1)));
    kernelwriter::ElementRecord rec = kernelwriter::ElementRecord::make(c.code, rows);
    const auto n = static_cast<std::uint32_t>(count);
    const std::uint32_t forceRows = static_cast<std::uint32_t>(c.forceComponents * pick(1, 2));
    rec.forceRecovery = randomTable(rng, forceRows, n);
    if (pick(0, 1) == 0) rec.forceOffset = randomTable(rng, forceRows, 1);
    if (pick(0, 1) == 0) rec.velocityForce = randomTable(rng, forceRows, n);
    if (r.loads > 0 && pick(0, 1) == 0) rec.forceLoad = randomTable(rng, forceRows, static_cast<std::uint32_t>(r.loads));
    if (c.stressComponents > 0) {
      const std::uint32_t stressRows = static_cast<std::uint32_t>(c.stressComponents * pick(1, 2));
      rec.stressRecovery = randomTable(rng, stressRows, n);
      if (pick(0, 1) == 0) rec.stressOffset = randomTable(rng, stressRows, 1);
      if (r.loads > 0 && pick(0, 1) == 0)
        rec.stressLoad = randomTable(rng, stressRows, static_cast<std::uint32_t>(r.loads));
    }
    if (pick(0, 1) == 0) rec.setReference(draws(rng, count));
    // Rotation tables large enough for every class's turn (the solid's stress turns by six by six).
    rec.forceRotation = randomTable(rng, 3, 3);
    rec.stressRotation = randomTable(rng, c.code == 768 ? 6 : 3, c.code == 768 ? 6 : 3);
    f.addElement(id, rec);
    r.elementIds.push_back(id);
    r.elementCodes.push_back(c.code);
  }
  return r;
}

// One request of TimeKernelOutputResult's arguments (the path aside).
struct Request {
  std::int32_t flags = 0;
  std::vector<std::int32_t> ids, keys;
  std::int32_t modeNumber = 0, stepNumber = 0, resultLength = 0;
};

inline Request randomRequest(std::mt19937& rng, const RandomFile& f) {
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  Request q;
  q.flags = pick(0, 31);
  if (pick(0, 3) == 0) q.flags &= ~16;  // envelopes are one flag of five; keep the block flows common
  const bool element = (q.flags & 1) != 0 && (q.flags & 16) == 0;
  const std::vector<std::int32_t>& held = element ? f.elementIds : f.nodeIds;
  const int idCount = pick(1, 3);
  for (int i = 0; i < idCount; ++i) {
    q.ids.push_back(pick(0, 5) == 0 ? 9999 : held[static_cast<std::size_t>(pick(0, static_cast<int>(held.size()) - 1))]);
  }
  const int keyCount = pick(0, 4);
  static const std::int32_t kNodal[] = {102, 103, 104, 106, 107, 108, 112, 202, 204, 206, 212, 302, 303, 308, 312};
  for (int k = 0; k < keyCount; ++k) {
    if (pick(0, 7) == 0) {
      q.keys.push_back(pick(0, 1) == 0 ? 555 : 100000105);  // means nothing
    } else if (element) {
      const ElementClass& c = elementClasses()[static_cast<std::size_t>(pick(0, 9))];
      const bool stress = !c.stressCodes.empty() && pick(0, 1) == 0;
      const std::vector<std::int32_t>& codes = stress ? c.stressCodes : c.forceCodes;
      const std::int32_t location = pick(0, 2);
      q.keys.push_back(location * 100000000 + codes[static_cast<std::size_t>(pick(0, static_cast<int>(codes.size()) - 1))]);
    } else {
      q.keys.push_back(pick(0, 9) == 0 ? 100000000 + kNodal[pick(0, 14)] : kNodal[pick(0, 14)]);
    }
  }
  q.modeNumber = pick(0, f.modes + 1);
  q.stepNumber = pick(-1, f.steps + 1);
  std::int64_t need;
  if ((q.flags & 16) != 0) {
    const std::int64_t n = static_cast<std::int64_t>(keyCount) * idCount;
    need = 2 * n * n;
  } else {
    need = static_cast<std::int64_t>(keyCount) * idCount * (q.stepNumber <= 0 ? f.steps : 1);
  }
  const int shape = pick(0, 5);
  q.resultLength = static_cast<std::int32_t>(shape == 0 ? std::max<std::int64_t>(need - 1, 0) : need + (shape == 1 ? 3 : 0));
  return q;
}

}  // namespace handletest
