// SharedPtr/WeakPtr members, explicitly instantiated for every contract type.
//
// This file is compiled with default symbol visibility: GCC gives a template
// instantiation the narrowest visibility of its arguments, and the contract's
// interface types are hidden elsewhere in the library.
#include <new>
#include <utility>

#include "hostile/hostile.h"
#include "runtime/control_block.h"
#include "tools/mode.h"

namespace quelt::ombrix {

using detail::ControlBlock;

template <class T>
SharedPtr<T>::SharedPtr() noexcept : object_(nullptr), control_(nullptr) {}

template <class T>
SharedPtr<T>::SharedPtr(std::nullptr_t) noexcept : object_(nullptr), control_(nullptr) {}

template <class T>
SharedPtr<T>::SharedPtr(T* object) : object_(nullptr), control_(nullptr) {
  if (!object) return;
  ControlBlock* block = new (std::nothrow) ControlBlock;
  if (!block) {
    delete object;
    throw std::bad_alloc();
  }
  block->object = object;
  block->destroy = [](void* p) { delete static_cast<T*>(p); };
  block->type = detail::TypeIdOf<T>::value;
  detail::g_liveObjects[block->type].fetch_add(1, std::memory_order_relaxed);
  object_ = object;
  control_ = block;
}

template <class T>
SharedPtr<T>::SharedPtr(const SharedPtr& other) noexcept
    : object_(other.object_), control_(other.control_) {
  detail::AddStrong(control_);
}

template <class T>
SharedPtr<T>::SharedPtr(SharedPtr&& other) noexcept
    : object_(std::exchange(other.object_, nullptr)),
      control_(std::exchange(other.control_, nullptr)) {}

template <class T>
SharedPtr<T>::~SharedPtr() {
  detail::ReleaseStrong(control_);
}

template <class T>
SharedPtr<T>& SharedPtr<T>::operator=(const SharedPtr& other) noexcept {
  SharedPtr copy(other);
  std::swap(object_, copy.object_);
  std::swap(control_, copy.control_);
  return *this;
}

template <class T>
SharedPtr<T>& SharedPtr<T>::operator=(SharedPtr&& other) noexcept {
  SharedPtr moved(std::move(other));
  std::swap(object_, moved.object_);
  std::swap(control_, moved.control_);
  return *this;
}

template <class T>
SharedPtr<T>& SharedPtr<T>::operator=(std::nullptr_t) noexcept {
  reset();
  return *this;
}

template <class T>
void SharedPtr<T>::reset() noexcept {
  // Clear first: the object's destructor may reach this pointer again.
  ControlBlock* block = std::exchange(control_, nullptr);
  object_ = nullptr;
  detail::ReleaseStrong(block);
}

template <class T>
SharedPtr<T>::operator bool() const noexcept {
  return object_ != nullptr;
}

template <class T>
T* SharedPtr<T>::operator->() const noexcept {
  return object_;
}

template <class T>
T* SharedPtr<T>::get() const noexcept {
  return object_;
}

template <class T>
WeakPtr<T>::WeakPtr() noexcept : object_(nullptr), control_(nullptr) {}

template <class T>
WeakPtr<T>::WeakPtr(const SharedPtr<T>& shared) noexcept
    : object_(shared.object_), control_(shared.control_) {
  detail::AddWeak(control_);
}

template <class T>
WeakPtr<T>::WeakPtr(SharedPtr<T>&& shared) noexcept
    : object_(shared.object_), control_(shared.control_) {
  detail::AddWeak(control_);
  shared.reset();
}

template <class T>
WeakPtr<T>::WeakPtr(const WeakPtr& other) noexcept
    : object_(other.object_), control_(other.control_) {
  detail::AddWeak(control_);
}

template <class T>
WeakPtr<T>::WeakPtr(WeakPtr&& other) noexcept
    : object_(std::exchange(other.object_, nullptr)),
      control_(std::exchange(other.control_, nullptr)) {}

template <class T>
WeakPtr<T>::~WeakPtr() {
  detail::ReleaseWeak(control_);
}

template <class T>
WeakPtr<T>& WeakPtr<T>::operator=(const SharedPtr<T>& shared) noexcept {
  WeakPtr copy(shared);
  std::swap(object_, copy.object_);
  std::swap(control_, copy.control_);
  return *this;
}

template <class T>
WeakPtr<T>& WeakPtr<T>::operator=(const WeakPtr& other) noexcept {
  WeakPtr copy(other);
  std::swap(object_, copy.object_);
  std::swap(control_, copy.control_);
  return *this;
}

template <class T>
WeakPtr<T>& WeakPtr<T>::operator=(WeakPtr&& other) noexcept {
  WeakPtr moved(std::move(other));
  std::swap(object_, moved.object_);
  std::swap(control_, moved.control_);
  return *this;
}

template <class T>
SharedPtr<T> WeakPtr<T>::lock() const noexcept {
  SharedPtr<T> result;
  if (!control_ || detail::TakeLockFailure(detail::TypeIdOf<T>::value)) return result;
  // Hostile: an SDK that tore a tool down with its client.
  if (emu::hostile::Enabled() && emu::ToolClientGone(object_) &&
      emu::hostile::Roll(emu::hostile::Habit::kClientGone)) {
    return result;
  }
  if (detail::TryAddStrong(control_)) {
    result.object_ = object_;
    result.control_ = control_;
  }
  return result;
}

#define OMBRIX_INSTANTIATE_POINTERS(label, ...) \
  template class SharedPtr<__VA_ARGS__>;        \
  template class WeakPtr<__VA_ARGS__>;
OMBRIX_SHARED_TYPES(OMBRIX_INSTANTIATE_POINTERS)
#undef OMBRIX_INSTANTIATE_POINTERS

}  // namespace quelt::ombrix
