// A named SDK thread running queued tasks one at a time, in order.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "ombrix/thread.h"

namespace quelt::ombrix::emu {

class WorkerThread final : public ThreadItf {
 public:
  explicit WorkerThread(std::string name);
  // Lets the queued tasks finish. Safe from the thread itself (a task may drop
  // the last reference): the loop then winds down on its own.
  ~WorkerThread() override;

  const char* GetName() const override;
  bool PostTask(std::function<void()> task) override;

 private:
  struct State;
  static void Loop(std::shared_ptr<State> state);

  std::shared_ptr<State> state_;
  std::thread thread_;
};

// The SDK name of the calling thread, or "" outside SDK threads.
const char* CurrentThreadName();

// Names the calling thread for the OS and for CurrentThreadName(); used by
// threads that the SDK starts without a task queue.
void NameCurrentThread(const std::string& name);

// Test hook: the next ThreadItf::Create returns empty.
void FailNextThreadCreate();
// Disarms FailNextThreadCreate; returns how many were armed.
int ClearThreadCreateFailures();

}  // namespace quelt::ombrix::emu
