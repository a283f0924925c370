#include "runtime/task_pool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "runtime/log.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu {

// A thread with nothing to do sleeps on its own condition variable until a
// poster claims it: each task wakes at most one sleeper, and a burst of
// posts while the threads are busy wakes none.
struct Sleeper {
  std::condition_variable wake;
  bool claimed = false;
};

struct TaskPool::State {
  State(std::string name, int maxThreads) : name(std::move(name)), maxThreads(maxThreads) {}
  void Work(int index);

  const std::string name;
  const int maxThreads;
  std::mutex mutex;
  std::deque<std::function<void()>> tasks;
  std::vector<Sleeper*> sleepers;
  int threads = 0;
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

TaskPool& TaskPool::Hostile() {
  static TaskPool* pool = new TaskPool(new State("ombrix-hostile", 8));
  return *pool;
}

void TaskPool::Post(std::function<void()> task) {
  State* state = state_;
  Sleeper* sleeper = nullptr;
  int spawn = -1;
  {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->tasks.push_back(std::move(task));
    if (!state->sleepers.empty()) {
      sleeper = state->sleepers.back();
      state->sleepers.pop_back();
      sleeper->claimed = true;
    } else if (state->threads < state->maxThreads) {
      spawn = state->threads++;
    }
  }
  // Sleepers live as long as their threads, which never end.
  if (sleeper) sleeper->wake.notify_one();
  if (spawn >= 0) std::thread([state, spawn] { state->Work(spawn); }).detach();
}

void TaskPool::State::Work(int index) {
  NameCurrentThread(name + "-" + std::to_string(index));
  Sleeper self;
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    if (tasks.empty()) {
      sleepers.push_back(&self);
      self.wake.wait(lock, [&] { return self.claimed; });
      self.claimed = false;
      continue;  // another thread may have taken the task meanwhile
    }
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

}  // namespace quelt::ombrix::emu
