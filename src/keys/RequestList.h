// A request list: a non-owning view of int32 values that the caller passed in, such as entity ids or
// response ids.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Zarn {

struct RequestList {
  const int32_t* values = nullptr;  // borrowed from the caller; valid for the time of one exported call
  int32_t count = 0;                // number of entries
  int32_t stride = 1;               // distance between entries, in int32 elements
  bool owned = false;               // always false: the list never frees `values`

  // Entry i (0 <= i < count), that is values[i * stride]. The product is formed in the pointer's own width so
  // that a large stride cannot overflow 32 bits.
  int32_t at(int32_t i) const { return values[static_cast<std::ptrdiff_t>(i) * stride]; }
};

}  // namespace Zarn
