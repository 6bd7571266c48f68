#include "evaluate/NodalAssembly.h"

#include <algorithm>

#include "evaluate/Flags.h"
#include "base/Failure.h"

namespace Zarn {

ComponentIndex::ComponentIndex() {
  std::fill(direct_, direct_ + kDirectComponents, -1);
}

void ComponentIndex::build(const TimeKernelNode& node) {
  for (std::int32_t i = 0; i < setCount_; ++i) direct_[setEntries_[i]] = -1;
  setCount_ = 0;
  if (!others_.empty()) others_.clear();
  for (std::int32_t k = 0; k < node.dofCodes.size; ++k) {
    const std::int64_t code = node.dofCodes[k];
    if (code == TimeKernelNode::kNoComponent) continue;
    const std::int64_t component = code + 999;
    if (component > INT32_MAX) continue;
    if (component >= 0 && component < kDirectComponents) {
      std::int32_t& slot = direct_[component];
      if (slot < 0) setEntries_[setCount_++] = static_cast<std::int32_t>(component);
      slot = k;
    } else {
      others_[static_cast<std::int32_t>(component)] = k;
    }
  }
}

std::int32_t ComponentIndex::find(std::int32_t component) const {
  if (component >= 0 && component < kDirectComponents) return direct_[component];
  if (others_.empty()) return -1;
  const IdMap::Entry* entry = others_.find(component);
  return entry == nullptr ? -1 : entry->value;
}

void addBaseMotion(const TimeKernelNode& node, const Matrix& motion, Matrix& target) {
  std::int32_t p = -1;
  for (std::int32_t k = 0; k < node.dofCodes.size; ++k) {
    const std::int32_t code = node.dofCodes[k];
    if (code >= -999 && code <= -997) {
      p = k;
      break;
    }
  }
  if (p < 0) return;
  // The three rows are taken as a block from p, whatever the codes at p+1 and p+2 are.
  TK_CHECK(static_cast<std::int64_t>(p) + 3 <= target.rows);
  TK_CHECK(motion.rows >= 3);
  const std::int32_t columns = std::min(motion.cols, target.cols);
  for (std::int32_t t = 0; t < columns; ++t) {
    double x[3] = {motion.at(0, t), motion.at(1, t), motion.at(2, t)};
    if (node.transform.present()) node.transform.rotate(x, 1);
    for (int j = 0; j < 3; ++j) target.at(p + j, t) += x[j];
  }
}

void writeKeys(const TimeKernelNode& node, std::int32_t flagWord, const TimeKernelKeyInfo& key,
               const ComponentIndex& components, Matrix& target, Matrix& block) {
  if (target.empty()) return;
  if (flags::has(flagWord, flags::kRotate)) node.rotateTriples(target);
  const std::int32_t columns = std::min(target.cols, block.cols);
  for (const IdMap::Entry& selected : key.selection) {
    const std::int32_t k = components.find(selected.key);
    if (k < 0) continue;
    const std::int32_t row = selected.value;
    if (k >= target.rows || row < 0 || row >= block.rows) continue;
    for (std::int32_t t = 0; t < columns; ++t) block.at(row, t) = target.at(k, t);
  }
}

}  // namespace Zarn
