// An owned Win32 handle, closed on destruction.
#pragma once

#include <windows.h>

#include <utility>

namespace quelt::ombrix::emu::loopback::win32 {

class UniqueHandle {
 public:
  // Both null and INVALID_HANDLE_VALUE mean "none": Win32 calls differ in
  // which one they return on failure.
  explicit UniqueHandle(HANDLE handle = nullptr) noexcept : handle_(handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    Reset(std::exchange(other.handle_, nullptr));
    return *this;
  }
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { Reset(); }

  explicit operator bool() const noexcept {
    return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE;
  }
  HANDLE get() const noexcept { return handle_; }
  void Reset(HANDLE handle = nullptr) noexcept {
    if (*this) CloseHandle(handle_);
    handle_ = handle;
  }

 private:
  HANDLE handle_;
};

}  // namespace quelt::ombrix::emu::loopback::win32
