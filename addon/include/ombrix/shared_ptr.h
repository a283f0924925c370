// The SDK's reference-counted pointers. Every member is defined inside the SDK
// binary (explicitly instantiated for each type in types.h), so the counting
// lives on the SDK side of the boundary and the module never sees the layout of
// the control block.
#pragma once

#include <cstddef>

#include "ombrix/export.h"

namespace quelt::ombrix {

namespace detail {
struct ControlBlock;
}

template <class T>
class WeakPtr;

template <class T>
class OMBRIX_API SharedPtr {
 public:
  SharedPtr() noexcept;
  SharedPtr(std::nullptr_t) noexcept;  // NOLINT: implicit by design
  // Takes ownership of an object allocated with `new`; deleted through T*.
  explicit SharedPtr(T* object);
  SharedPtr(const SharedPtr& other) noexcept;
  SharedPtr(SharedPtr&& other) noexcept;
  ~SharedPtr();

  SharedPtr& operator=(const SharedPtr& other) noexcept;
  SharedPtr& operator=(SharedPtr&& other) noexcept;
  SharedPtr& operator=(std::nullptr_t) noexcept;

  void reset() noexcept;
  explicit operator bool() const noexcept;
  T* operator->() const noexcept;
  T* get() const noexcept;

 private:
  friend class WeakPtr<T>;
  T* object_;
  detail::ControlBlock* control_;
};

template <class T>
class OMBRIX_API WeakPtr {
 public:
  WeakPtr() noexcept;
  WeakPtr(const SharedPtr<T>& shared) noexcept;  // NOLINT: implicit by design
  WeakPtr(SharedPtr<T>&& shared) noexcept;       // NOLINT: implicit by design
  WeakPtr(const WeakPtr& other) noexcept;
  WeakPtr(WeakPtr&& other) noexcept;
  ~WeakPtr();

  WeakPtr& operator=(const SharedPtr<T>& shared) noexcept;
  WeakPtr& operator=(const WeakPtr& other) noexcept;
  WeakPtr& operator=(WeakPtr&& other) noexcept;

  // Empty once the last SharedPtr is gone; safe against a concurrent release.
  SharedPtr<T> lock() const noexcept;

 private:
  T* object_;
  detail::ControlBlock* control_;
};

}  // namespace quelt::ombrix
