// The nodal single-step flow, and the envelope that runs it at every step.
//
// One whole-model column per quantity stands for the step (sections 15 to 17, or the selected mode's
// contribution), and each node gathers its own entries from it, less the initial state. A request that needs
// much of a column reads it whole; one that needs a few entries reads just those where they lie in the file,
// which gives the same doubles (see StepColumn).
#include <algorithm>
#include <vector>

#include "evaluate/Flags.h"
#include "evaluate/NodalAssembly.h"
#include "evaluate/NodalFlows.h"
#include "evaluate/NodeWalk.h"
#include "evaluate/StepColumn.h"
#include "base/Checked.h"
#include "evaluate/ElementReader.h"
#include "kernelfile/Sections.h"
#include "base/Failure.h"

namespace Zarn {

using namespace sections;

namespace {

// A column is read whole when the request wants at least one entry in this many of it.
constexpr std::int64_t kEntriesPerWholeRead = 64;

struct StepInputs {
  std::int32_t flags;
  const Vector& baseMotion;   // the nine base motion values at the step; empty without base motion
  const StepColumn* state;    // the three whole-model quantities at the step
  const StepColumn* initial;  // their initial states; one is taken off the other where both are stored
};

// value[k] = quantity[d[k]] - initial[d[k]] for each degree of freedom of the node (the initial value only when
// one is stored): the same subtraction the whole-model vectors would have had. `gathered` is reused from node to
// node.
void gather(ReadTimeKernel& kernel, const StepColumn& quantity, const StepColumn& initial, const IntArray& rows,
            Vector& gathered) {
  gathered.resize(rows.size);
  for (std::int32_t k = 0; k < rows.size; ++k) {
    const std::int32_t d = rows[k];
    TK_CHECK(d >= 0 && d < quantity.size());  // a row outside the whole-model vector
    double value = quantity.at(kernel, d);
    if (!initial.empty()) value -= initial.at(kernel, d);
    *gathered.at(k) = value;
  }
}

void assembleNodeStep(Request& request, const TimeKernelNode& node, const StepInputs& in, Vector* gathered,
                      ComponentIndex& components, Matrix& block) {
  components.build(node);
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) {
    const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[quantity];
    if (!key || key->selection.empty()) continue;
    // A quantity that the file does not hold at this step leaves its keys at zero; nothing is added to it.
    if (in.state[quantity].empty()) continue;
    gather(request.kernel, in.state[quantity], in.initial[quantity], node.dofRows, gathered[quantity]);
    Matrix work = Matrix::view(gathered[quantity].size, 1, gathered[quantity].data, gathered[quantity].size);
    if (!in.baseMotion.empty()) {
      const std::int32_t r0 = kBaseMotionFirstRow[quantity];
      double motion[3] = {*in.baseMotion.at(r0), *in.baseMotion.at(r0 + 1), *in.baseMotion.at(r0 + 2)};
      addBaseMotion(node, Matrix::view(3, 1, motion, 3), work);
    }
    writeKeys(node, in.flags, *key, components, work, block);
  }
}

}  // namespace

void evaluateNodalStep(Request& request, std::int32_t flagWord, std::int32_t stepIndex, Matrix& result) {
  ReadTimeKernel& kernel = request.kernel;
  Vector baseMotion;
  if (flags::wantsBaseMotion(flagWord)) {
    kernel.readSectionColumn(kBaseMotionHistory, stepIndex, baseMotion, nullptr);
    if (baseMotion.empty()) kernel.readSectionColumn(kConstantBaseMotion, 0, baseMotion, nullptr);
    if (!baseMotion.empty()) TK_CHECK(baseMotion.size >= kBaseMotionRows);
  }
  StepColumn state[3];
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) state[quantity].openState(kernel, quantity, stepIndex);
  TK_CHECK(!(state[0].empty() && state[1].empty() && state[2].empty()));

  StepColumn initial[3];
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) {
    initial[quantity].openInitial(kernel, quantity, !baseMotion.empty());
  }
  const auto ids = static_cast<std::int32_t>(request.requestedOffsets.size());
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) {
    StepColumn& x = state[quantity];
    StepColumn& x0 = initial[quantity];
    if (x.empty()) continue;
    // An initial state shorter than the model is malformed.
    if (!x0.empty()) TK_CHECK(x0.size() >= x.size());
    // A request that wants much of a column reads it whole, in one go; a few entries are read where they lie.
    const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[quantity];
    const std::int64_t wanted = key ? static_cast<std::int64_t>(key->selection.size()) * ids : 0;
    if (wanted > 0 && wanted * kEntriesPerWholeRead >= x.size()) {
      x.loadWhole(kernel);
      x0.loadWhole(kernel);
    }
  }

  const StepInputs in{flagWord, baseMotion, state, initial};
  Vector gathered[3];
  ComponentIndex components;
  forEachRequestedNode(request, result.cols, [&](std::int32_t i, const TimeKernelNode& node) {
    if (node.dofRows.size == 0) return true;
    Matrix block = Matrix::view(result.rows, 1, result.data + static_cast<std::int64_t>(i) * result.stride,
                                result.rows);
    assembleNodeStep(request, node, in, gathered, components, block);
    return true;
  });
}

namespace {

// Steps formed together by the envelope's fast path where a node's entries are rotated together: its tile holds
// every key at these steps, so it stays small however many keys are asked.
constexpr std::int32_t kEnvelopeTileSteps = 256;
// Steps of one row read at once where each item is formed from its own row: long reads, few of them.
constexpr std::int32_t kEnvelopeRowSteps = 4096;

// The running extremes of one envelope item: its value at step 0 and the largest and smallest so far.
struct Extremes {
  double* first;
  double* high;
  double* low;
  // Takes the values of steps [t0, t0 + count) in step order, as the step-by-step envelope compares them.
  void take(const double* values, std::int32_t t0, std::int32_t count) const { take<false>(values, t0, count, 0.0); }
  // The same for the values less x0, each formed as the single step forms it.
  void takeLess(const double* stored, std::int32_t t0, std::int32_t count, double x0) const {
    take<true>(stored, t0, count, x0);
  }

 private:
  template <bool kSubtract>
  void take(const double* values, std::int32_t t0, std::int32_t count, double x0) const {
    std::int32_t j = 0;
    if (t0 == 0 && count > 0) {
      const double v = kSubtract ? values[0] - x0 : values[0];
      *first = v;
      *high = v;
      *low = v;
      j = 1;
    }
    double h = *high, l = *low;
    for (; j < count; ++j) {
      const double v = kSubtract ? values[j] - x0 : values[j];
      if (v > h) h = v;
      if (v < l) l = v;
    }
    *high = h;
    *low = l;
  }
};

// The envelope over tiles of steps from the histories by degree of freedom (sections 21 to 23), which hold the
// numbers of sections 15 to 17 transposed. Each value is formed with the single-step flow's own operations in
// its order (stored value less the initial value, then the rotation under flag 2), so the doubles are those of
// the step-by-step envelope. It serves only requests where every step reads alike: no selected mode, no base
// motion, sections 15 to 17 present with a column for every step and their twins of the same shape, and every
// history row a node needs inside the file. Otherwise it returns false having changed nothing in `result`, and
// the envelope runs step by step. `first` receives the step-0 values, `high` and `low` the extremes.
bool envelopeFromHistories(Request& request, std::int32_t flagWord, std::int32_t keyCount, std::int32_t idCount,
                           std::vector<double>& first, std::vector<double>& high, std::vector<double>& low) {
  ReadTimeKernel& kernel = request.kernel;
  if (kernel.selectedMode >= 0 || flags::wantsBaseMotion(flagWord)) return false;
  if (static_cast<std::int64_t>(request.requestedOffsets.size()) != idCount) return false;
  const std::int32_t steps = kernel.stepCount;
  std::int32_t size[3] = {0, 0, 0};
  std::int64_t history[3] = {0, 0, 0};
  for (std::int32_t q = 0; q < 3; ++q) {
    std::int32_t a = 0, b = 0, rowsOfTwin = 0, columnsOfTwin = 0;
    try {
      kernel.readSectionHeader(kFirstTwinnedSection + q, a, b);
      kernel.readSectionHeader(kFirstHistorySection + q, rowsOfTwin, columnsOfTwin);
    } catch (...) {
      return false;
    }
    if (a < 0 || b != steps || rowsOfTwin != steps || columnsOfTwin != a) return false;
    size[q] = a;
    history[q] = kernel.tell();
  }
  if (size[0] == 0 && size[1] == 0 && size[2] == 0) return false;
  StepColumn initial[3];
  for (std::int32_t q = 0; q < 3; ++q) {
    initial[q].openInitial(kernel, q, false);
    if (size[q] != 0 && !initial[q].empty()) TK_CHECK(initial[q].size() >= size[q]);
  }
  const auto ids = static_cast<std::int32_t>(request.requestedOffsets.size());
  const std::int64_t rowBytes = static_cast<std::int64_t>(steps) * 8;
  // First pass: every row that a step would gather must exist and lie inside the file.
  const bool rowsInFile = forEachRequestedNode(request, ids, [&](std::int32_t, const TimeKernelNode& node) {
    for (std::int32_t q = 0; q < 3; ++q) {
      const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[q];
      if (!key || key->selection.empty() || size[q] == 0) continue;
      for (std::int32_t k = 0; k < node.dofRows.size; ++k) {
        const std::int32_t d = node.dofRows[k];
        std::int64_t at = 0;
        if (d < 0 || d >= size[q]) return false;  // the step-by-step flow fails on it
        if (!checkedMulAdd(d, rowBytes, history[q], &at) || !kernel.mapping.liesInsideFile(at, rowBytes)) return false;
      }
    }
    return true;
  });
  if (!rowsInFile) return false;

  const std::int64_t n = static_cast<std::int64_t>(keyCount) * ids;
  first.assign(static_cast<std::size_t>(n), 0.0);
  high.assign(static_cast<std::size_t>(n), 0.0);
  low.assign(static_cast<std::size_t>(n), 0.0);
  ComponentIndex components;
  Matrix work, tile;
  std::vector<double> row, values, rows;
  forEachRequestedNode(request, ids, [&](std::int32_t i, const TimeKernelNode& node) {
    if (node.dofRows.size == 0) return true;
    components.build(node);
    const std::int32_t dofs = node.dofRows.size;
    // Reads steps [t0, t0 + width) of row d of quantity q into `into` (zeros where nothing could be read).
    auto readRow = [&](std::int32_t q, std::int32_t d, std::int32_t t0, std::int32_t width, double* into) {
      std::fill(into, into + width, 0.0);
      kernel.seek(history[q] + d * rowBytes + static_cast<std::int64_t>(t0) * 8);
      kernel.mapping.read(into, static_cast<std::int64_t>(width) * 8);
    };
    row.resize(static_cast<std::size_t>(std::min(kEnvelopeRowSteps, steps)));
    if (!(flags::has(flagWord, flags::kRotate) && node.transform.present())) {
      // Nothing mixes the node's entries: each selected item is its own row less its initial value, exactly what
      // writeKeys would pick from the work matrix, so it is formed and compared row by row.
      for (std::int32_t q = 0; q < 3; ++q) {
        const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[q];
        if (!key || key->selection.empty() || size[q] == 0) continue;
        // The rows of the node's selected items lie together in the file (every row that a step would gather is
        // inside it); when they are few, one read brings them all.
        std::int32_t lowestRow = INT32_MAX, highestRow = -1;
        for (const IdMap::Entry& selected : key->selection) {
          const std::int32_t k = components.find(selected.key);
          if (k < 0 || k >= dofs || selected.value < 0 || selected.value >= keyCount) continue;
          lowestRow = std::min(lowestRow, node.dofRows[k]);
          highestRow = std::max(highestRow, node.dofRows[k]);
        }
        if (highestRow < 0) continue;
        const std::int64_t span = (static_cast<std::int64_t>(highestRow) - lowestRow + 1) * rowBytes;
        const bool together = span < FileMapping::kPositionedReadLimit;
        if (together) {
          rows.resize(static_cast<std::size_t>(span / 8));
          kernel.seek(history[q] + lowestRow * rowBytes);
          if (!kernel.mapping.read(rows.data(), span)) std::fill(rows.begin(), rows.end(), 0.0);
        }
        for (const IdMap::Entry& selected : key->selection) {
          const std::int32_t k = components.find(selected.key);
          const std::int32_t r = selected.value;
          if (k < 0 || k >= dofs || r < 0 || r >= keyCount) continue;
          const std::int32_t d = node.dofRows[k];
          const bool subtract = !initial[q].empty();
          const double x0 = subtract ? initial[q].at(kernel, d) : 0.0;
          const auto p = static_cast<std::size_t>(r + static_cast<std::int64_t>(keyCount) * i);
          const Extremes item{&first[p], &high[p], &low[p]};
          for (std::int32_t t0 = 0; t0 < steps; t0 += kEnvelopeRowSteps) {
            const std::int32_t width = std::min(kEnvelopeRowSteps, steps - t0);
            const double* stored = row.data();
            if (together) {
              stored = rows.data() + (static_cast<std::int64_t>(d) - lowestRow) * steps + t0;
            } else {
              readRow(q, d, t0, width, row.data());
            }
            if (subtract) {
              item.takeLess(stored, t0, width, x0);
            } else {
              item.take(stored, t0, width);
            }
          }
        }
      }
      return true;
    }
    for (std::int32_t t0 = 0; t0 < steps; t0 += kEnvelopeTileSteps) {
      const std::int32_t width = std::min(kEnvelopeTileSteps, steps - t0);
      tile.resize(keyCount, width);
      tile.setZero();
      for (std::int32_t q = 0; q < 3; ++q) {
        const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[q];
        if (!key || key->selection.empty() || size[q] == 0) continue;
        work.resize(dofs, width);
        for (std::int32_t k = 0; k < dofs; ++k) {
          const std::int32_t d = node.dofRows[k];
          const double x0 = initial[q].empty() ? 0.0 : initial[q].at(kernel, d);
          readRow(q, d, t0, width, row.data());
          for (std::int32_t j = 0; j < width; ++j) {
            const double x = row[static_cast<std::size_t>(j)];
            work.at(k, j) = initial[q].empty() ? x : x - x0;
          }
        }
        writeKeys(node, flagWord, *key, components, work, tile);
      }
      values.resize(static_cast<std::size_t>(width));
      for (std::int32_t r = 0; r < keyCount; ++r) {
        const auto p = static_cast<std::size_t>(r + static_cast<std::int64_t>(keyCount) * i);
        for (std::int32_t j = 0; j < width; ++j) values[static_cast<std::size_t>(j)] = tile.at(r, j);
        Extremes{&first[p], &high[p], &low[p]}.take(values.data(), t0, width);
      }
    }
    return true;
  });
  return true;
}

}  // namespace

void evaluateEnvelope(Request& request, std::int32_t flagWord, std::int32_t keyCount, std::int32_t idCount,
                      Matrix& result) {
  std::int64_t n = 0, order = 0;
  TK_CHECK(checkedMul(keyCount, idCount, &n) && n <= INT32_MAX && checkedMul(n, n, &order));
  TK_CHECK(result.rows == order && result.cols == 2);
  std::vector<double> first, high, low;
  if (envelopeFromHistories(request, flagWord, keyCount, idCount, first, high, low)) {
    for (std::int64_t column = 0; column < n; ++column) {
      std::copy(first.begin(), first.end(), result.data + column * n);
      std::copy(first.begin(), first.end(), result.data + order + column * n);
      result.data[column * n + column] = high[static_cast<std::size_t>(column)];
      result.data[order + column * n + column] = low[static_cast<std::size_t>(column)];
    }
    return;
  }
  Vector work;
  work.resize(static_cast<std::int32_t>(n));
  work.setZero();
  Matrix items = Matrix::view(keyCount, idCount, work.data, keyCount);
  evaluateNodalStep(request, flagWord, 0, items);

  double* maximum = result.data;
  double* minimum = result.data + order;
  for (std::int64_t column = 0; column < n; ++column) {
    std::copy(work.data, work.data + n, maximum + column * n);
    std::copy(work.data, work.data + n, minimum + column * n);
  }
  for (std::int32_t step = 1; step < request.kernel.stepCount; ++step) {
    work.setZero();
    evaluateNodalStep(request, flagWord, step, items);
    for (std::int64_t i = 0; i < n; ++i) {
      const double v = work.data[i];
      double& high = maximum[i * n + i];
      double& low = minimum[i * n + i];
      if (v > high) high = v;
      if (v < low) low = v;
    }
  }
}

}  // namespace Zarn
