#include "runtime/worker_thread.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <type_traits>

#if defined(__linux__) || defined(__APPLE__)
#include <pthread.h>
#endif

#include "runtime/log.h"

namespace quelt::ombrix {
namespace emu {

namespace {
// A plain array, not a std::string: a thread_local with a destructor inside a
// MinGW-built DLL frees freed memory at every thread exit.
thread_local char t_threadName[64];
static_assert(std::is_trivially_destructible<decltype(t_threadName)>::value,
              "thread_local needs no destructor");
std::atomic<int> g_failNextCreate{0};
}  // namespace

struct WorkerThread::State {
  std::string name;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> tasks;
  bool stopping = false;
};

const char* CurrentThreadName() { return t_threadName; }

void NameCurrentThread(const std::string& name) {
  std::snprintf(t_threadName, sizeof t_threadName, "%s", name.c_str());
#if defined(__linux__)
  // The kernel keeps 15 characters.
  pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
#elif defined(__APPLE__)
  pthread_setname_np(name.c_str());
#endif
}

void FailNextThreadCreate() { g_failNextCreate.fetch_add(1); }

int ClearThreadCreateFailures() { return g_failNextCreate.exchange(0); }

WorkerThread::WorkerThread(std::string name) : state_(std::make_shared<State>()) {
  state_->name = std::move(name);
  thread_ = std::thread(&WorkerThread::Loop, state_);
}

WorkerThread::~WorkerThread() {
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->stopping = true;
  }
  state_->wake.notify_one();
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
  EMU_LOG(LogLevel::kDebug, "thread", "thread '%s' stopped", state_->name.c_str());
}

const char* WorkerThread::GetName() const { return state_->name.c_str(); }

bool WorkerThread::PostTask(std::function<void()> task) {
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    if (state_->stopping) return false;
    state_->tasks.push_back(std::move(task));
  }
  state_->wake.notify_one();
  return true;
}

void WorkerThread::Loop(std::shared_ptr<State> state) {
  NameCurrentThread(state->name);
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock<std::mutex> lock(state->mutex);
      state->wake.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
      if (state->tasks.empty()) return;  // stopping and drained
      task = std::move(state->tasks.front());
      state->tasks.pop_front();
    }
    try {
      task();
    } catch (const std::exception& e) {
      EMU_LOG(LogLevel::kError, "thread", "task on '%s' threw: %s", state->name.c_str(), e.what());
    } catch (...) {
      EMU_LOG(LogLevel::kError, "thread", "task on '%s' threw", state->name.c_str());
    }
  }
}

}  // namespace emu

SharedPtr<ThreadItf> ThreadItf::Create(const char* name) {
  int pending = emu::g_failNextCreate.load();
  while (pending > 0 && !emu::g_failNextCreate.compare_exchange_weak(pending, pending - 1)) {
  }
  if (pending > 0) {
    EMU_LOG(LogLevel::kWarning, "thread", "refusing to start thread '%s' (injected failure)",
            name ? name : "");
    return SharedPtr<ThreadItf>();
  }
  SharedPtr<ThreadItf> thread(new emu::WorkerThread(name ? name : ""));
  EMU_LOG(LogLevel::kDebug, "thread", "thread '%s' started", thread->GetName());
  return thread;
}

}  // namespace quelt::ombrix
