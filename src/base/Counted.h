// Counted pointers: how model objects (node and element prototypes) and result keys are shared.
//
// A `counted_ptr<T>` is two words: the object pointer and a pointer to a control block that holds an atomic
// reference count and the object pointer again. The control block is of class `counted_impl<U>` for the
// concrete class U that was made, so the last owner deletes the object as a U whatever base class the
// pointer has been converted to since.
//
// Dropping a reference is two steps that stand apart on purpose: `release()` lowers the count and, when it
// reaches 0, deletes the object; the holder that saw 0 then deletes the control block. So on the last drop the
// object goes first and the control block second.
//
// The count is the only thread-safe part: it changes by sequentially consistent atomic operations. Everything
// else is used by the one thread that is inside an exported call.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

namespace Zarn {

// The abstract control block. The count lives here rather than in `counted_impl` so that a pointer converted
// to a base class can still raise it without knowing the concrete type; in memory the block is still the
// virtual-table pointer, the count, then (in `counted_impl`) the object pointer.
class counted_base {
 public:
  counted_base() = default;
  counted_base(const counted_base&) = delete;
  counted_base& operator=(const counted_base&) = delete;

  // Never touches the object: `release` has deleted it already, or it belongs to someone else.
  virtual ~counted_base() = default;

  // Lowers the count by 1. When the count was 1 before, deletes the object (if any). Returns the count as it
  // now stands; the caller deletes this block when that is 0.
  virtual uint32_t release() = 0;

  // Raises the count by 1 for a new owner.
  void acquire() { count_.fetch_add(1); }

  // The number of owners right now. For tests and assertions; not a synchronisation point.
  uint32_t useCount() const { return count_.load(); }

 protected:
  std::atomic<uint32_t> count_{1};  // owners of the object; starts at 1 for the pointer that made it
};

// The control block for a concrete class T. Deletes the object as a T, so T needs no virtual destructor for
// the pointer to be converted to one of its bases.
template <class T>
class counted_impl final : public counted_base {
 public:
  explicit counted_impl(T* object) : object_(object) {}

  uint32_t release() override {
    const uint32_t before = count_.fetch_sub(1);
    if (before == 1 && object_ != nullptr) {
      delete object_;
      object_ = nullptr;
    }
    return before - 1;
  }

 private:
  T* object_;  // owned; null once the last owner has released it
};

// A shared, counted pointer to a T. Empty when both words are null. Copying shares the object; the last owner
// to drop its copy deletes the object and then the control block.
template <class T>
class counted_ptr {
 public:
  counted_ptr() = default;

  // Makes a new T from `args` with a count of 1. Allocation does not throw: when either the object or its
  // control block cannot be allocated the result is empty (and an object that was made is deleted again).
  // An exception thrown by T's own constructor passes through.
  template <class... A>
  static counted_ptr make(A&&... args) {
    T* object = new (std::nothrow) T(std::forward<A>(args)...);
    if (object == nullptr) return counted_ptr();
    counted_base* control = new (std::nothrow) counted_impl<T>(object);
    if (control == nullptr) {
      delete object;
      return counted_ptr();
    }
    return counted_ptr(object, control);
  }

  counted_ptr(const counted_ptr& other) : object_(other.object_), control_(other.control_) {
    if (control_ != nullptr) control_->acquire();
  }

  counted_ptr(counted_ptr&& other) noexcept : object_(other.object_), control_(other.control_) {
    other.object_ = nullptr;
    other.control_ = nullptr;
  }

  // A pointer to a derived class converts to a pointer to its base and shares the same control block.
  template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  counted_ptr(const counted_ptr<U>& other) : object_(other.object_), control_(other.control_) {
    if (control_ != nullptr) control_->acquire();
  }

  template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  counted_ptr(counted_ptr<U>&& other) noexcept : object_(other.object_), control_(other.control_) {
    other.object_ = nullptr;
    other.control_ = nullptr;
  }

  // Takes a share of `other`'s object and drops this pointer's old one. The new count is raised before the
  // old one is released, so assigning from a pointer that the old object itself holds stays safe.
  counted_ptr& operator=(const counted_ptr& other) {
    counted_ptr(other).swap(*this);
    return *this;
  }

  counted_ptr& operator=(counted_ptr&& other) noexcept {
    counted_ptr(std::move(other)).swap(*this);
    return *this;
  }

  ~counted_ptr() { reset(); }

  // Drops this pointer's share and leaves it empty. Dropping an empty pointer does nothing.
  void reset() {
    counted_base* control = control_;
    object_ = nullptr;
    control_ = nullptr;
    if (control != nullptr && control->release() == 0) delete control;
  }

  void swap(counted_ptr& other) noexcept {
    std::swap(object_, other.object_);
    std::swap(control_, other.control_);
  }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // Owners of the object, 0 for an empty pointer. For tests and assertions.
  uint32_t useCount() const { return control_ != nullptr ? control_->useCount() : 0; }

  // The control block, null for an empty pointer. Non-owning.
  const counted_base* control() const { return control_; }

 private:
  template <class U>
  friend class counted_ptr;

  counted_ptr(T* object, counted_base* control) : object_(object), control_(control) {}

  T* object_ = nullptr;              // the shared object; null in an empty pointer
  counted_base* control_ = nullptr;  // owns the count; null in an empty pointer
};

// Makes a counted T from `args`; see `counted_ptr<T>::make`.
template <class T, class... A>
counted_ptr<T> makeCounted(A&&... args) {
  return counted_ptr<T>::make(std::forward<A>(args)...);
}

}  // namespace Zarn
