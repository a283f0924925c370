// SDK-owned worker threads.
#pragma once

#include <functional>

#include "ombrix/export.h"
#include "ombrix/shared_ptr.h"

namespace quelt::ombrix {

class ThreadItf {
 public:
  virtual ~ThreadItf() = default;
  virtual const char* GetName() const = 0;
  // Queues a task; tasks run one at a time in the order posted. False once the
  // thread is stopping.
  virtual bool PostTask(std::function<void()> task) = 0;

  // Starts a named thread; empty on failure.
  static OMBRIX_API SharedPtr<ThreadItf> Create(const char* name);
};

}  // namespace quelt::ombrix
