#include "base/Base.h"

#include <ostream>

namespace Zarn {

Base::~Base() = default;

std::ostream& Base::print(std::ostream& out) const { return out << className() << " ID=" << id; }

}  // namespace Zarn
