// Clears a prototype when a scope ends, on the normal path and when a failure unwinds through it, so that no
// record outlives its use and the prototype stands empty between uses.
#pragma once

namespace Zarn {

template <class T>
class ClearOnExit {
 public:
  explicit ClearOnExit(T& object) : object_(object) {}
  ~ClearOnExit() { object_.clear(); }
  ClearOnExit(const ClearOnExit&) = delete;
  ClearOnExit& operator=(const ClearOnExit&) = delete;

 private:
  T& object_;
};

}  // namespace Zarn
