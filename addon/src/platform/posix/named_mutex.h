// A named mutex shared between processes, with the semantics of a Windows
// named mutex: recursive for its owning thread, created by whoever opens it
// first, and "abandoned" when its owner dies while holding it.
//
// It lives in the POSIX shared-memory object "/<name>.mutex" (the name mapped
// as for sections). Layout: a 32-bit state word, 0x4D555458 once initialised,
// followed at the next pthread_mutex_t alignment by a robust, process-shared,
// recursive pthread mutex.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ombrix_addon {

struct MutexMapping;

class NamedMutex {
 public:
  enum class LockResult { kAcquired, kAbandoned, kFailed };
  static constexpr uint32_t kInfinite = 0xFFFFFFFFu;

  // Null when the name is invalid or the object cannot be created or opened.
  static std::unique_ptr<NamedMutex> Open(const std::string& name);

  // Drops this handle only: a mutex the thread still holds stays held until
  // the thread releases it or ends, as on Windows.
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  // kInfinite waits without end. kAbandoned: the previous owner died holding
  // the mutex; the calling thread owns it now and it is usable.
  LockResult Lock(uint32_t timeoutMs);
  void Unlock();

 private:
  explicit NamedMutex(MutexMapping* mapping) : mapping_(mapping) {}

  MutexMapping* mapping_;
};

}  // namespace ombrix_addon
