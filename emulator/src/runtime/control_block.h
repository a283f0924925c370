// The SDK side of SharedPtr/WeakPtr: the control block and the per-type
// live-object counters.
#pragma once

#include <atomic>
#include <cstdint>

#include "ombrix/types.h"

namespace quelt::ombrix::detail {

enum TypeId : int {
#define OMBRIX_TYPE_ID(label, ...) kType##label,
  OMBRIX_SHARED_TYPES(OMBRIX_TYPE_ID)
#undef OMBRIX_TYPE_ID
      kTypeCount
};

template <class T>
struct TypeIdOf;
#define OMBRIX_TYPE_ID_OF(label, ...)             \
  template <>                                     \
  struct TypeIdOf<__VA_ARGS__> {                  \
    static constexpr TypeId value = kType##label; \
  };
OMBRIX_SHARED_TYPES(OMBRIX_TYPE_ID_OF)
#undef OMBRIX_TYPE_ID_OF

// Objects currently owned through SharedPtr, per type.
extern std::atomic<int64_t> g_liveObjects[kTypeCount];
extern const char* const g_typeLabels[kTypeCount];
// Injected failures of WeakPtr::lock, per type (control surface).
extern std::atomic<int> g_failNextLock[kTypeCount];
// Consumes one injected failure for `type`, if any.
bool TakeLockFailure(TypeId type) noexcept;

struct ControlBlock {
  // The strong owners together hold one weak reference, so the block outlives
  // the object exactly as long as some WeakPtr still needs it.
  std::atomic<int64_t> strong{1};
  std::atomic<int64_t> weak{1};
  void* object;
  void (*destroy)(void* object);
  TypeId type;
};

void AddStrong(ControlBlock* block) noexcept;
void ReleaseStrong(ControlBlock* block) noexcept;
void AddWeak(ControlBlock* block) noexcept;
void ReleaseWeak(ControlBlock* block) noexcept;
// Adds a strong reference unless the object is already gone.
bool TryAddStrong(ControlBlock* block) noexcept;

}  // namespace quelt::ombrix::detail
