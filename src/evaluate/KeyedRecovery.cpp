#include "evaluate/KeyedRecovery.h"

#include <algorithm>

#include "base/Failure.h"
#include "evaluate/Flags.h"
#include "evaluate/Request.h"
#include "kernelfile/Sections.h"
#include "model/ElementRecovery.h"

namespace Zarn {

namespace {

// The picks of the key of `code` in `map`; no selection when there is no such key.
RecoveryPicks picksOf(const TimeKernelKeySet::KeyMap& map, std::int32_t code) {
  const auto found = map.find(code);
  if (found == map.end() || !found->second) return RecoveryPicks{};
  return RecoveryPicks{found->second->componentCount(), &found->second->selection};
}

}  // namespace

void recoverForce(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flagWord,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output, std::int32_t firstColumn) {
  recoverForce(element, picksOf(keys.forceKeys, element.elementType()), flags::has(flagWord, flags::kRotate),
               displacements, velocities, loadFactors, output, firstColumn);
}

void recoverStress(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flagWord,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output,
                   std::int32_t firstColumn) {
  recoverStress(element, picksOf(keys.stressKeys, element.elementType()), flags::has(flagWord, flags::kRotate),
                displacements, loadFactors, output, firstColumn);
}

void recoverDeform(const TimeKernelElement& element, const TimeKernelKeySet& keys, const Matrix& displacements,
                   Matrix& output, std::int32_t firstColumn) {
  recoverDeform(element, picksOf(keys.deformKeys, element.elementType()), displacements, output, firstColumn);
}

void recoverElement(Request& request, const TimeKernelElement& element, std::int32_t flags,
                    const Matrix& loadFactors, Matrix& output) {
  ReadTimeKernel* kernel = &request.kernel;
  const std::int32_t steps = std::min(kernel->stepCount, output.cols);
  const std::int32_t dofs = element.dofRows.size;
  if (dofs == 0 || steps <= 0) return;  // no displacements: nothing is formed
  // The histories are read a chunk of steps at a time and formed a tile at a time, so that memory follows the
  // element and the tile, not the number of steps.
  const std::int32_t chunk = std::min(kStepChunk, steps);
  const bool wantVelocities = !element.velocityForce.empty();
  if (wantVelocities) {
    // A stored velocity history must cover every step; a shorter one is malformed.
    std::int32_t a = 0, b = 0;
    kernel->readSectionHeader(sections::kFirstHistorySection + (kernel->selectedMode < 0 ? 1 : 4), a, b);
    TK_CHECK(a == 0 || b == 0 || a >= kernel->stepCount);
  }
  Matrix displacementChunk, velocityChunk;
  displacementChunk.resize(dofs, chunk);
  if (wantVelocities) velocityChunk.resize(dofs, chunk);
  for (std::int32_t t0 = 0; t0 < steps; t0 += chunk) {
    const std::int32_t width = std::min(chunk, steps - t0);
    // Zeroed before the read: a history row for which no view can be made then reads as zeros.
    Matrix u = Matrix::view(dofs, width, displacementChunk.data, dofs);
    u.setZero();
    if (!kernel->readDisplacementHistory(element.dofRows, u, t0)) return;  // not stored: the block stays zero
    Matrix v;
    if (wantVelocities) {
      v = Matrix::view(dofs, width, velocityChunk.data, dofs);
      v.setZero();
      if (!kernel->readVelocityHistory(element.dofRows, v, t0)) v = Matrix();  // not stored: no velocity term
    }
    for (std::int32_t s0 = t0; s0 < t0 + width; s0 += kStepTile) {
      const std::int32_t n = std::min(stepTileWidth(s0, kernel->stepCount), t0 + width - s0);
      const std::int64_t at = s0 - t0;
      const Matrix us = Matrix::view(dofs, n, u.data + at * dofs, dofs);
      const Matrix vs = v.empty() ? Matrix() : Matrix::view(dofs, n, v.data + at * dofs, dofs);
      const Matrix as = loadFactors.empty() ? Matrix()
                                            : Matrix::view(loadFactors.rows, n,
                                                           loadFactors.data + s0 * loadFactors.columnDistance(),
                                                           loadFactors.columnDistance());
      Matrix out = Matrix::view(output.rows, n, output.data + s0 * output.columnDistance(), output.columnDistance());
      recoverForce(element, request.keySet, flags, us, vs, as, out);
      recoverStress(element, request.keySet, flags, us, as, out);
      recoverDeform(element, request.keySet, us, out);
    }
  }
}

}  // namespace Zarn
