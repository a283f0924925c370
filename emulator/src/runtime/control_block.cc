#include "runtime/control_block.h"

namespace quelt::ombrix {
namespace detail {

std::atomic<int64_t> g_liveObjects[kTypeCount];
const char* const g_typeLabels[kTypeCount] = {
#define OMBRIX_TYPE_LABEL(label, ...) #label,
    OMBRIX_SHARED_TYPES(OMBRIX_TYPE_LABEL)
#undef OMBRIX_TYPE_LABEL
};

std::atomic<int> g_failNextLock[kTypeCount];

bool TakeLockFailure(TypeId type) noexcept {
  int pending = g_failNextLock[type].load(std::memory_order_relaxed);
  while (pending > 0) {
    if (g_failNextLock[type].compare_exchange_weak(pending, pending - 1)) return true;
  }
  return false;
}

void AddStrong(ControlBlock* block) noexcept {
  if (block) block->strong.fetch_add(1, std::memory_order_relaxed);
}

void AddWeak(ControlBlock* block) noexcept {
  if (block) block->weak.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseWeak(ControlBlock* block) noexcept {
  if (block && block->weak.fetch_sub(1, std::memory_order_acq_rel) == 1) delete block;
}

void ReleaseStrong(ControlBlock* block) noexcept {
  if (!block || block->strong.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  block->destroy(block->object);
  g_liveObjects[block->type].fetch_sub(1, std::memory_order_relaxed);
  ReleaseWeak(block);
}

bool TryAddStrong(ControlBlock* block) noexcept {
  int64_t count = block->strong.load(std::memory_order_relaxed);
  while (count != 0) {
    if (block->strong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel,
                                            std::memory_order_relaxed)) {
      return true;
    }
  }
  return false;
}

}  // namespace detail

}  // namespace quelt::ombrix
