#include "keys/KeyInfo.h"

#include <limits>

namespace Zarn {

TimeKernelKeyInfo::~TimeKernelKeyInfo() = default;

int32_t TimeKernelKeyInfo::locationOf(int32_t id) const { return id / kLocationScale; }

int32_t TimeKernelKeyInfo::componentCount() const { return 0; }

const char* TimeKernelKeyInfo::className() const { return "TimeKernelKeyInfo"; }

void TimeKernelKeyInfo::select(const IdMap& requests) {
  const int64_t entries = componentIndex.size();
  for (const IdMap::Entry& request : requests) {
    const int32_t id = request.value;
    const IdMap::Entry* component = componentIndex.find(id % kLocationScale);
    if (component == nullptr) continue;  // some other key's business
    const int32_t location = locationOf(id);
    if (location < 0) continue;
    const int64_t position = static_cast<int64_t>(location) * entries + component->value;
    if (position > std::numeric_limits<int32_t>::max()) continue;
    selection[static_cast<int32_t>(position)] = request.key;
  }
}

void TimeKernelKeyInfo::clearSelection() { selection.clear(); }

void TimeKernelKeyInfo::enterComponents(const int32_t* codes, int32_t count) {
  for (int32_t i = 0; i < count; ++i) componentIndex[codes[i]] = i;
}

}  // namespace Zarn
