// The SDK's shared worker threads, in two pools.
//
// Quick: where callbacks are delivered from and where the drivers make their
// calls. Its tasks never wait on anything, so it keeps one thread per core:
// a burst of deliveries is worked through by threads that stay busy, instead
// of waking a new thread (a system call and a context switch) per task.
//
// Blocking: where loopback work runs (a command that sleeps, a large copy).
// It grows on demand up to a fixed size, so a few long operations cannot
// stall quick ones for long.
//
// Hostile: where hostile mode delivers from (several at once, some after a
// pause); idle unless that mode is on.
#pragma once

#include <functional>

namespace quelt::ombrix::emu {

class TaskPool {
 public:
  // Process-wide; never destroyed (their threads may outlive static destruction).
  static TaskPool& Quick();
  static TaskPool& Blocking();
  static TaskPool& Hostile();

  void Post(std::function<void()> task);

 private:
  struct State;
  explicit TaskPool(State* state) : state_(state) {}
  State* state_;
};

}  // namespace quelt::ombrix::emu
