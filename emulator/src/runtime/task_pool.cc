#include "runtime/task_pool.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "runtime/log.h"
#include "runtime/worker_thread.h"

namespace quelt {
namespace ombrix {
namespace emu {

namespace {
constexpr int kMaxThreads = 32;
}

struct TaskPool::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> tasks;
  int threads = 0;
  int idle = 0;
};

TaskPool& TaskPool::Shared() {
  static TaskPool* pool = [] {
    auto* created = new TaskPool();
    created->state_ = new State();
    return created;
  }();
  return *pool;
}

void TaskPool::Post(std::function<void()> task) {
  State* state = state_;
  bool spawn = false;
  bool wake = false;
  int index = 0;
  {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->tasks.push_back(std::move(task));
    if (state->idle < static_cast<int>(state->tasks.size()) && state->threads < kMaxThreads) {
      spawn = true;
      index = state->threads++;
    }
    // A busy thread takes the next task without being woken: only an idle
    // one needs the (system-call) wake-up.
    wake = state->idle > 0;
  }
  if (!spawn) {
    if (wake) state->wake.notify_one();
    return;
  }
  std::thread([state, index] {
    NameCurrentThread("ombrix-pool-" + std::to_string(index));
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
      ++state->idle;
      state->wake.wait(lock, [&] { return !state->tasks.empty(); });
      --state->idle;
      std::function<void()> next = std::move(state->tasks.front());
      state->tasks.pop_front();
      lock.unlock();
      try {
        next();
      } catch (const std::exception& e) {
        EMU_LOG(LogLevel::kError, "pool", "task threw: %s", e.what());
      } catch (...) {
        EMU_LOG(LogLevel::kError, "pool", "task threw");
      }
      next = nullptr;  // release captures before waiting again
      lock.lock();
    }
  }).detach();
}

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
