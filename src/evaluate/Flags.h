// The bits of an output request's `flags` word.
#pragma once

#include <cstdint>

namespace Zarn::flags {

constexpr std::int32_t kElementResults = 1;  // element IDs and keys; clear: node IDs and nodal keys
constexpr std::int32_t kRotate = 2;          // turn values into the output system of their node or element
constexpr std::int32_t kSingleMode = 4;      // the contribution of one mode; no load terms, no base motion
constexpr std::int32_t kBaseMotion = 8;      // nodal flows add the stored base motion (not with kSingleMode)
constexpr std::int32_t kEnvelope = 16;       // nodal maximum and minimum over all steps

inline bool has(std::int32_t word, std::int32_t bit) { return (word & bit) != 0; }

// Base motion is read only when asked for and no single mode is selected.
inline bool wantsBaseMotion(std::int32_t word) { return has(word, kBaseMotion) && !has(word, kSingleMode); }

}  // namespace Zarn::flags
