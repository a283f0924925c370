// The SDK's shared worker threads: where loopback work runs and where
// callbacks are delivered from. Grows on demand up to a fixed size, so a few
// long operations (a command that sleeps) cannot stall quick ones for long.
#pragma once

#include <functional>

namespace quelt {
namespace ombrix {
namespace emu {

class TaskPool {
 public:
  // Process-wide; never destroyed (its threads may outlive static destruction).
  static TaskPool& Shared();
  void Post(std::function<void()> task);

 private:
  TaskPool() = default;
  struct State;
  State* state_ = nullptr;
};

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
