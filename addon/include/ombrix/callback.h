// One-shot result callbacks and cancellation handles of asynchronous operations.
#pragma once

#include "ombrix/shared_ptr.h"

namespace quelt::ombrix {

// Invoked exactly once with the result of one asynchronous operation.
template <class T>
class CallbackItf {
 public:
  virtual ~CallbackItf() = default;
  virtual void OnResult(T result) = 0;
};

// Returned by cancellable operations. Cancel is harmless after completion; the
// operation still delivers its (typically unsuccessful) result.
class OperationHandleItf {
 public:
  virtual ~OperationHandleItf() = default;
  virtual void Cancel() = 0;
};

}  // namespace quelt::ombrix
