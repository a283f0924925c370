// The second agent runtime's workspace manager, implemented by the application.
#pragma once

#include "ombrix/callback.h"
#include "ombrix/result.h"

namespace quelt::ombrix {

class FernwickManagerItf {
 public:
  virtual ~FernwickManagerItf() = default;
  virtual void SetFernwickWorkspace(const char* workspace,
                                    SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
};

}  // namespace quelt::ombrix
