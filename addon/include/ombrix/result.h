// The outcome record shared by the operations that JavaScript services answer.
#pragma once

#include "ombrix/enums.h"

namespace quelt::ombrix {

// errorMessage is null when there is no message; valid for the callback only.
struct OperationResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
};

}  // namespace quelt::ombrix
