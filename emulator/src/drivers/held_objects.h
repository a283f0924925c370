// What the SDK holds on to, by the ids the control surface uses. Ids are
// unique across every kind of held object.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace quelt::ombrix::emu {

inline uint64_t NextHeldId() {
  static std::atomic<uint64_t> next{1};
  return next.fetch_add(1);
}

template <class Value>
class Held {
 public:
  uint64_t Add(Value value) {
    uint64_t id = NextHeldId();
    std::lock_guard<std::mutex> lock(mutex_);
    items_[id] = std::move(value);
    return id;
  }

  // A copy of the held value; a default value for an unknown id.
  Value Find(uint64_t id) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = items_.find(id);
    return found == items_.end() ? Value() : found->second;
  }

  // The released values are returned, so that their last references go away
  // outside the lock (a release may run code that comes back here).
  Value Release(uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = items_.find(id);
    if (found == items_.end()) return Value();
    Value value = std::move(found->second);
    items_.erase(found);
    return value;
  }

  // Copies, so that the caller may use them outside the lock.
  std::map<uint64_t, Value> All() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return items_;
  }

  std::map<uint64_t, Value> ReleaseAll() {
    std::map<uint64_t, Value> all;
    std::lock_guard<std::mutex> lock(mutex_);
    all.swap(items_);
    return all;
  }

 private:
  mutable std::mutex mutex_;
  std::map<uint64_t, Value> items_;
};

}  // namespace quelt::ombrix::emu
