// What the module's SDK observers share. The SDK holds an observer weakly and
// calls it on any of its threads; the observer forwards to its wrapper only
// while attached. The lock is held while forwarding, so that Detach cannot
// slip in between the test and the post.
#pragma once

#include <mutex>

namespace ombrix_addon {

template <class Owner>
class ObserverRelay {
 public:
  explicit ObserverRelay(Owner* owner) : owner_(owner) {}

  // Any thread: `forward(owner)` if still attached.
  template <class Forward>
  void operator()(Forward&& forward) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (owner_) forward(*owner_);
  }

  // After this returns no event reaches the owner.
  void Detach() {
    std::lock_guard<std::mutex> lock(mutex_);
    owner_ = nullptr;
  }

 private:
  std::mutex mutex_;
  Owner* owner_;
};

}  // namespace ombrix_addon
