// The root of the model objects: an integer id and a way to print oneself.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "base/Counted.h"

namespace Zarn {

class Base {
 public:
  int32_t id = 0;  // the object's id as the kernel file gives it; 0 until one is read

  virtual ~Base();

  // Writes the class name, " ID=" and the id in decimal (through the stream's own integer output), and
  // returns the stream.
  // Kept as part of the object model; no export reaches it.
  virtual std::ostream& print(std::ostream& out) const;

  // A new object of the same class as a counted pointer; with `deep` its owned tables are copied too.
  virtual counted_ptr<Base> clone(bool deep) const = 0;

  // The class's own name without the namespace, e.g. "TimeKernelNode". Static storage.
  virtual const char* className() const = 0;
};

}  // namespace Zarn
