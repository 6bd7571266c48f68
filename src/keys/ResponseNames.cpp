#include "keys/ResponseNames.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "keys/KeySet.h"

namespace Zarn {

namespace {

constexpr std::int32_t kScale = TimeKernelKeyInfo::kLocationScale;
// The largest location number whose response ids fit in 32 bits.
constexpr std::int32_t kLastLocation = INT32_MAX / kScale - 1;

// One key and the stem of its names.
struct NamedKey {
  const TimeKernelKeyInfo* key;
  const char* stem;  // "force", "stress", "deform"; null for the node keys, named by kNodeNames
};

const char* const kNodeNames[3][7] = {
    {"ux", "uy", "uz", "rx", "ry", "rz", "u9"},
    {"vx", "vy", "vz", "vrx", "vry", "vrz", "v9"},
    {"ax", "ay", "az", "arx", "ary", "arz", "a9"},
};

// The registry whose tables give the names: built once, read only afterwards (its selections are never used).
const TimeKernelKeySet& registry() {
  static const TimeKernelKeySet keys;
  return keys;
}

const TimeKernelKeyInfo* keyOf(const TimeKernelKeySet::KeyMap& map, std::int32_t typeCode) {
  const auto found = map.find(typeCode);
  return found == map.end() ? nullptr : found->second.get();
}

std::vector<NamedKey> keysAt(std::int32_t typeCode) {
  const TimeKernelKeySet& keys = registry();
  std::vector<NamedKey> out;
  if (typeCode == 0) {
    for (const auto& key : keys.nodeKeys) out.push_back(NamedKey{key.get(), nullptr});
    return out;
  }
  out.push_back(NamedKey{keyOf(keys.forceKeys, typeCode), "force"});
  out.push_back(NamedKey{keyOf(keys.stressKeys, typeCode), "stress"});
  out.push_back(NamedKey{keyOf(keys.deformKeys, typeCode), "deform"});
  return out;
}

// The codes of a key in the order of their component index.
std::vector<std::int32_t> codesInOrder(const TimeKernelKeyInfo& key) {
  std::vector<std::pair<std::int32_t, std::int32_t>> byIndex;
  for (const IdMap::Entry& entry : key.componentIndex) byIndex.emplace_back(entry.value, entry.key);
  std::sort(byIndex.begin(), byIndex.end());
  std::vector<std::int32_t> codes;
  for (const auto& pair : byIndex) codes.push_back(pair.second);
  return codes;
}

// The location number at which `key`'s requests start: 1 for keys that number from 1, else 0.
std::int32_t firstLocation(const TimeKernelKeyInfo& key, std::int32_t code) {
  return key.locationOf(kScale + code) == 0 ? 1 : 0;
}

bool parseNumber(const char* text, std::int32_t& value) {
  if (*text == '\0') return false;
  char* end = nullptr;
  errno = 0;
  const long long v = std::strtoll(text, &end, 10);
  if (errno != 0 || *end != '\0' || v < INT32_MIN || v > INT32_MAX) return false;
  value = static_cast<std::int32_t>(v);
  return true;
}

// The stem and location of a name "stem" or "stem@N".
bool splitName(const char* name, std::string& stem, std::int32_t& location, bool& hasLocation) {
  const char* at = std::strchr(name, '@');
  hasLocation = at != nullptr;
  stem.assign(name, at == nullptr ? std::strlen(name) : static_cast<std::size_t>(at - name));
  location = 0;
  if (!hasLocation) return true;
  const char* digits = at + 1;
  if (*digits == '\0' || std::strspn(digits, "0123456789") != std::strlen(digits)) return false;
  return parseNumber(digits, location) && location <= kLastLocation;
}

}  // namespace

bool nameOfResponse(std::int32_t typeCode, std::int32_t key, std::string& name) {
  if (key < 0) return false;
  const std::int32_t location = key / kScale;
  const std::int32_t code = key % kScale;
  std::int32_t quantity = 0;
  for (const NamedKey& named : keysAt(typeCode)) {
    const TimeKernelKeyInfo* info = named.key;
    const std::int32_t q = quantity++;
    if (info == nullptr) continue;
    const IdMap::Entry* component = info->componentIndex.find(code);
    if (component == nullptr || info->locationOf(key) < 0) continue;
    const std::vector<std::int32_t> codes = codesInOrder(*info);
    const auto ordinal = static_cast<std::int32_t>(std::find(codes.begin(), codes.end(), code) - codes.begin());
    if (named.stem == nullptr) {
      name = kNodeNames[q][ordinal];
      if (location > 0) name += "@" + std::to_string(location);
    } else {
      name = std::string(named.stem) + std::to_string(ordinal + 1) + "@" + std::to_string(location);
    }
    return true;
  }
  return false;
}

bool responseOfName(std::int32_t typeCode, const char* name, std::int32_t& key) {
  std::int32_t number = 0;
  std::string unused;
  if (parseNumber(name, number)) {
    if (!nameOfResponse(typeCode, number, unused)) return false;
    key = number;
    return true;
  }
  std::string stem;
  std::int32_t location = 0;
  bool hasLocation = false;
  if (!splitName(name, stem, location, hasLocation)) return false;
  std::int32_t quantity = 0;
  for (const NamedKey& named : keysAt(typeCode)) {
    const TimeKernelKeyInfo* info = named.key;
    const std::int32_t q = quantity++;
    if (info == nullptr) continue;
    const std::vector<std::int32_t> codes = codesInOrder(*info);
    for (std::size_t i = 0; i < codes.size(); ++i) {
      bool matches;
      if (named.stem == nullptr) {
        matches = stem == kNodeNames[q][i];
      } else {
        matches = hasLocation && stem == std::string(named.stem) + std::to_string(i + 1);
        // The axial force of a bar or a warping bar (code 140402) has a name of its own too.
        matches = matches || (hasLocation && stem == "axial" && codes[i] == 140402);
      }
      if (!matches) continue;
      const std::int32_t candidate = location * kScale + codes[i];
      if (!nameOfResponse(typeCode, candidate, unused)) return false;
      key = candidate;
      return true;
    }
  }
  return false;
}

void responseIdsAtPosition(const TimeKernelKeyInfo& key, std::int32_t position, std::vector<std::int32_t>& out) {
  const std::int32_t entries = key.componentIndex.size();
  if (entries <= 0 || position < 0) return;
  for (const IdMap::Entry& entry : key.componentIndex) {
    const std::int32_t rest = position - entry.value;
    if (rest < 0 || rest % entries != 0) continue;
    const std::int64_t location = rest / entries + firstLocation(key, entry.key);
    if (location > kLastLocation) continue;
    const auto id = static_cast<std::int32_t>(location * kScale + entry.key);
    if (key.locationOf(id) == rest / entries) out.push_back(id);
  }
}

}  // namespace Zarn
