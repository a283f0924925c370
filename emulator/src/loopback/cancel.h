// Cancellation shared between the SDK thread running a loopback operation and
// the operation handle that cancels it.
#pragma once

#include <atomic>

namespace quelt::ombrix::emu::loopback {

class CancelFlag {
 public:
  CancelFlag() = default;
  CancelFlag(const CancelFlag&) = delete;
  CancelFlag& operator=(const CancelFlag&) = delete;

  void Set() noexcept { set_.store(true, std::memory_order_release); }
  bool IsSet() const noexcept { return set_.load(std::memory_order_acquire); }
  // The result is delivered: a later cancel has nothing to stop.
  void Finish() noexcept { finished_.store(true, std::memory_order_release); }
  bool IsFinished() const noexcept { return finished_.load(std::memory_order_acquire); }

 private:
  std::atomic<bool> set_{false};
  std::atomic<bool> finished_{false};
};

}  // namespace quelt::ombrix::emu::loopback
