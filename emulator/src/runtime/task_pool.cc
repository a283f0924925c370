#include "runtime/task_pool.h"

#include <algorithm>
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

struct TaskPool::State {
  State(std::string name, int maxThreads) : name(std::move(name)), maxThreads(maxThreads) {}
  void Work(int index);

  const std::string name;
  const int maxThreads;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> tasks;
  int threads = 0;
  int idle = 0;
};

TaskPool& TaskPool::Quick() {
  static TaskPool* pool = new TaskPool(
      new State("ombrix-pool", std::max(2, static_cast<int>(std::thread::hardware_concurrency()))));
  return *pool;
}

TaskPool& TaskPool::Blocking() {
  static TaskPool* pool = new TaskPool(new State("ombrix-work", 32));
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
    if (state->idle < static_cast<int>(state->tasks.size()) && state->threads < state->maxThreads) {
      spawn = true;
      index = state->threads++;
    }
    // A busy thread takes the next task without being woken: only an idle
    // one needs the (system-call) wake-up.
    wake = state->idle > 0;
  }
  if (spawn) {
    std::thread([state, index] { state->Work(index); }).detach();
  } else if (wake) {
    state->wake.notify_one();
  }
}

void TaskPool::State::Work(int index) {
  NameCurrentThread(name + "-" + std::to_string(index));
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    ++idle;
    wake.wait(lock, [&] { return !tasks.empty(); });
    --idle;
    std::function<void()> next = std::move(tasks.front());
    tasks.pop_front();
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
}

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
