// Differential tests on random kernel files: the faster read paths must give exactly the doubles of the
// straightforward ones.
//
// - Every request (nodal steps, histories and envelopes under all flag combinations, element steps and
//   histories) runs twice on a fresh copy of the same file: once as it runs normally, once with positioned
//   reads and entry-by-entry column reads turned off, so that every byte comes through the mapped view as
//   designed. Result codes, every bit of every double, and the file's size afterwards must agree.
// - Without base motion the single-step flow and the history flow perform the same operations on each value,
//   so each step's answer must equal that step's column of the history, bit for bit.
// - The envelope's diagonals must be the maximum and minimum over the single-step answers of all steps, bit for
//   bit.
//
// The files are random but well-formed in shape; some miss sections (the by-step ones, to exercise the fallback
// to the transposed twin), some are cut short (reads past the end lengthen them), some have base motion by step
// or as a constant, some have nodes with rotations or with components missing.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelfile/FileMapping.h"
#include "kernelwriter/KernelWriter.h"
#include "support/ResponseSections.h"
#include "support/TestSupport.h"

namespace {

using testsupport::PerQuantity;

struct RandomFile {
  std::vector<std::uint8_t> bytes;
  std::int32_t steps = 0;
  std::int32_t modes = 0;
  std::vector<std::int32_t> nodeIds;
  std::vector<std::int32_t> elementIds;
};

std::vector<double> randomValues(std::mt19937& rng, std::size_t n) {
  std::uniform_real_distribution<double> value(-10.0, 10.0);
  std::vector<double> v(n);
  for (double& x : v) x = value(rng);
  return v;
}

RandomFile makeRandomFile(std::mt19937& rng) {
  auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  RandomFile r;
  const std::int32_t dofs = pick(6, 60);
  r.steps = pick(1, 25);
  r.modes = pick(1, 4);
  kernelwriter::KernelFile f;
  PerQuantity withBase, without, modalInitial, direct, modal;
  for (int q = 0; q < 3; ++q) {
    withBase[q] = randomValues(rng, static_cast<std::size_t>(dofs));
    without[q] = randomValues(rng, static_cast<std::size_t>(dofs));
    modalInitial[q] = randomValues(rng, static_cast<std::size_t>(r.modes));
    direct[q] = randomValues(rng, static_cast<std::size_t>(dofs) * r.steps);
    modal[q] = randomValues(rng, static_cast<std::size_t>(r.modes) * r.steps);
  }
  testsupport::setResponseSections(f, dofs, r.modes, r.steps, withBase, without, modalInitial, direct, modal, 1e6);
  f.setMatrix(0, dofs, r.modes, randomValues(rng, static_cast<std::size_t>(dofs) * r.modes));
  switch (pick(0, 2)) {
    case 0:
      f.setMatrix(1, 9, r.steps, randomValues(rng, static_cast<std::size_t>(9) * r.steps));
      break;
    case 1:
      f.setMatrix(1, 9, 0, std::vector<double>{});
      f.setMatrix(11, 9, 1, randomValues(rng, 9));
      break;
    default:
      break;  // no base motion stored: flag 8 finds none
  }
  f.setMatrix(4, 2, r.steps, randomValues(rng, static_cast<std::size_t>(2) * r.steps));
  // Sometimes a by-step section is missing: its twin serves.
  if (pick(0, 3) == 0) f.removeSection(15 + pick(0, 2));

  const int nodes = pick(2, 12);
  for (int n = 0; n < nodes; ++n) {
    const int count = pick(1, 6);
    std::vector<std::uint32_t> rows;
    std::vector<std::int32_t> codes;
    for (int k = 0; k < count; ++k) {
      rows.push_back(static_cast<std::uint32_t>(pick(0, dofs - 1)));
      codes.push_back(pick(0, 7) == 0 ? -1000 : -999 + k);
    }
    const std::int32_t id = 10 + 3 * n;
    if (pick(0, 2) == 0) {
      std::array<double, 9> t{};
      const std::vector<double> v = randomValues(rng, 9);
      std::copy(v.begin(), v.end(), t.begin());
      f.addNode(id, kernelwriter::NodeRecord::make(rows, codes, t));
    } else {
      f.addNode(id, kernelwriter::NodeRecord::make(rows, codes));
    }
    r.nodeIds.push_back(id);
  }
  // Bars: 12 degrees of freedom, force table 12 rows, stress table 22 rows, a load table for each.
  const int elements = pick(1, 4);
  for (int e = 0; e < elements; ++e) {
    std::vector<std::uint32_t> rows;
    for (int k = 0; k < 12; ++k) rows.push_back(static_cast<std::uint32_t>(pick(0, dofs - 1)));
    kernelwriter::ElementRecord rec = kernelwriter::ElementRecord::make(583, rows);
    rec.forceRecovery = kernelwriter::Table::matrix(12, 12, randomValues(rng, 144));
    rec.stressRecovery = kernelwriter::Table::matrix(22, 12, randomValues(rng, 264));
    rec.forceLoad = kernelwriter::Table::matrix(12, 2, randomValues(rng, 24));
    rec.stressLoad = kernelwriter::Table::matrix(22, 2, randomValues(rng, 44));
    rec.setReference(randomValues(rng, 12));
    const std::int32_t id = 500 + e;
    f.addElement(id, rec);
    r.elementIds.push_back(id);
  }
  r.bytes = f.bytes();
  // Sometimes the file is cut short: reads past the end read zeros and lengthen it.
  if (pick(0, 4) == 0) r.bytes.resize(r.bytes.size() - static_cast<std::size_t>(pick(1, 200)));
  return r;
}

struct Answer {
  std::int32_t code = 0;
  std::vector<double> values;
  std::int64_t sizeAfter = 0;
};

struct Query {
  std::int32_t flags = 0;
  std::vector<std::int32_t> ids;
  std::vector<std::int32_t> keys;
  std::int32_t mode = 0;
  std::int32_t step = 0;
  std::int32_t length = 0;
};

void writeBytes(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// One call on a fresh copy of the file.
Answer ask(const testsupport::TempFile& file, const RandomFile& r, const Query& q, bool positioned) {
  writeBytes(file.path(), r.bytes);
  Answer a;
  a.values.assign(static_cast<std::size_t>(q.length), 7.0);
  Zarn::positionedReadsEnabled = positioned;
  a.code = TimeKernelOutputResult(file.c_str(), q.flags, q.ids.data(), static_cast<std::int32_t>(q.ids.size()),
                                  q.keys.data(), static_cast<std::int32_t>(q.keys.size()), q.mode, q.step,
                                  a.values.data(), q.length);
  Zarn::positionedReadsEnabled = true;
  a.sizeAfter = testsupport::sizeOnDisk(file.path());
  return a;
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

class DifferentialReads : public testsupport::PlatformTest {};

TEST_F(DifferentialReads, EveryRequestGivesTheSameBitsWithAndWithoutPositionedReads) {
  std::mt19937 rng(20261123);
  auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  const std::int32_t nodalKeys[] = {102, 103, 104, 106, 107, 108, 112, 202, 204, 303, 306};
  const std::int32_t elementKeys[] = {100140402, 200140402, 100142101, 100140403, 200142105};
  const std::int32_t nodalFlags[] = {0, 2, 4, 8, 2 | 8, 2 | 4, 4 | 8};
  testsupport::TempFile file("differential");
  int compared = 0, answered = 0;
  for (int round = 0; round < 60; ++round) {
    const RandomFile r = makeRandomFile(rng);
    for (int request = 0; request < 8; ++request) {
      Query q;
      const bool elements = pick(0, 3) == 0;
      const std::vector<std::int32_t>& pool = elements ? r.elementIds : r.nodeIds;
      const int idCount = pick(1, 4);
      for (int i = 0; i < idCount; ++i) {
        q.ids.push_back(pick(0, 9) == 0 ? 9999 : pool[static_cast<std::size_t>(pick(0, int(pool.size()) - 1))]);
      }
      const int keyCount = pick(1, 4);
      for (int k = 0; k < keyCount; ++k) {
        q.keys.push_back(elements ? elementKeys[pick(0, 4)] : nodalKeys[pick(0, 10)]);
      }
      q.mode = pick(1, r.modes);
      const bool envelope = !elements && pick(0, 3) == 0;
      if (elements) {
        q.flags = 1 | (pick(0, 1) ? 2 : 0) | (pick(0, 2) == 0 ? 4 : 0);
      } else {
        q.flags = nodalFlags[pick(0, 6)] | (envelope ? 16 : 0);
      }
      q.step = pick(0, 2) == 0 ? 0 : pick(1, r.steps);
      if (envelope) {
        const std::int32_t n = idCount * keyCount;
        q.length = 2 * n * n;
      } else {
        q.length = idCount * keyCount * (q.step == 0 ? r.steps : 1) + pick(0, 3);
      }
      SCOPED_TRACE("round " + std::to_string(round) + ", request " + std::to_string(request) + ", flags " +
                   std::to_string(q.flags) + ", step " + std::to_string(q.step));
      const Answer fast = ask(file, r, q, true);
      const Answer plain = ask(file, r, q, false);
      ASSERT_EQ(fast.code, plain.code);
      ASSERT_TRUE(sameBits(fast.values, plain.values));
      ASSERT_EQ(fast.sizeAfter, plain.sizeAfter);
      ++compared;
      if (fast.code == 0) ++answered;
    }
  }
  // The random requests must mostly be answerable, or the comparison says little.
  EXPECT_GT(answered, compared / 2);
}

TEST_F(DifferentialReads, EachStepEqualsItsColumnOfTheHistoryAndTheEnvelopeItsExtremes) {
  std::mt19937 rng(777);
  auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  testsupport::TempFile file("differential_steps");
  const std::int32_t keys[] = {102, 103, 104, 106, 107, 108, 202, 305};
  const std::int32_t flagChoices[] = {0, 2, 4, 2 | 4};
  int checked = 0;
  for (int round = 0; round < 40; ++round) {
    const RandomFile r = makeRandomFile(rng);
    Query history;
    history.flags = flagChoices[pick(0, 3)];
    history.mode = pick(1, r.modes);
    history.ids = r.nodeIds;
    history.keys.assign(std::begin(keys), std::end(keys));
    const auto idCount = static_cast<std::int32_t>(history.ids.size());
    const auto keyCount = static_cast<std::int32_t>(history.keys.size());
    history.length = idCount * keyCount * r.steps;
    const Answer all = ask(file, r, history, true);
    if (all.code != 0) continue;
    Query envelope = history;
    envelope.flags |= 16;
    const std::int32_t n = idCount * keyCount;
    envelope.length = 2 * n * n;
    const Answer extremes = ask(file, r, envelope, true);
    ASSERT_EQ(extremes.code, 0);
    std::vector<double> high(static_cast<std::size_t>(n)), low(static_cast<std::size_t>(n));
    for (std::int32_t t = 0; t < r.steps; ++t) {
      Query step = history;
      step.step = t + 1;
      step.length = idCount * keyCount;
      const Answer one = ask(file, r, step, true);
      ASSERT_EQ(one.code, 0);
      for (std::int32_t i = 0; i < idCount; ++i) {
        for (std::int32_t k = 0; k < keyCount; ++k) {
          const double v = one.values[static_cast<std::size_t>(i * keyCount + k)];
          const double h = all.values[static_cast<std::size_t>(i) * keyCount * r.steps + k +
                                      static_cast<std::size_t>(keyCount) * t];
          ASSERT_EQ(std::memcmp(&v, &h, sizeof v), 0) << "step " << t << ", id " << i << ", key " << k;
          const auto p = static_cast<std::size_t>(k + keyCount * i);
          if (t == 0 || v > high[p]) high[p] = v;
          if (t == 0 || v < low[p]) low[p] = v;
        }
      }
    }
    for (std::int32_t p = 0; p < n; ++p) {
      const auto diagonal = static_cast<std::size_t>(p) * n + p;
      EXPECT_EQ(extremes.values[diagonal], high[static_cast<std::size_t>(p)]);
      EXPECT_EQ(extremes.values[static_cast<std::size_t>(n) * n + diagonal], low[static_cast<std::size_t>(p)]);
    }
    ++checked;
  }
  EXPECT_GT(checked, 20);
}

}  // namespace
