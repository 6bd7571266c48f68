// The nodal single-step flow, and the envelope that runs it at every step.
//
// One whole-model column per quantity stands for the step (sections 15 to 17, or the selected mode's
// contribution), and each node gathers its own entries from it, less the initial state. A request that needs
// much of a column reads it whole; one that needs a few entries reads just those where they lie in the file,
// which gives the same doubles (see StepColumn).
#include <algorithm>

#include "evaluate/Flags.h"
#include "evaluate/NodalAssembly.h"
#include "evaluate/NodalFlows.h"
#include "evaluate/StepColumn.h"
#include "base/Checked.h"
#include "evaluate/ElementReader.h"
#include "kernelfile/Sections.h"
#include "base/ClearOnExit.h"
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
                      IdMap& componentMap, Matrix& block) {
  buildComponentMap(node, componentMap);
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
    writeKeys(node, in.flags, *key, componentMap, work, block);
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

  TK_CHECK(static_cast<bool>(request.nodePrototype));
  TimeKernelNode& node = *request.nodePrototype;
  const StepInputs in{flagWord, baseMotion, state, initial};
  Vector gathered[3];
  IdMap componentMap;
  for (std::int32_t i = 0; i < ids && i < result.cols; ++i) {
    const std::int64_t offset = request.requestedOffsets[static_cast<std::size_t>(i)];
    if (offset < 0) continue;
    kernel.seek(offset);
    ClearOnExit<TimeKernelNode> clearNode(node);
    readNode(kernel, node);
    if (node.dofRows.size == 0) continue;
    Matrix block = Matrix::view(result.rows, 1, result.data + static_cast<std::int64_t>(i) * result.stride,
                                result.rows);
    assembleNodeStep(request, node, in, gathered, componentMap, block);
  }
}

void evaluateEnvelope(Request& request, std::int32_t flagWord, std::int32_t keyCount, std::int32_t idCount,
                      Matrix& result) {
  std::int64_t n = 0, order = 0;
  TK_CHECK(checkedMul(keyCount, idCount, &n) && n <= INT32_MAX && checkedMul(n, n, &order));
  TK_CHECK(result.rows == order && result.cols == 2);
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
