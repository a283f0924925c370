// The SDK's own workspace manager, used when the application supplies none:
// it takes any workspace and answers from an SDK thread.
#pragma once

#include <string>

#include "ombrix/fernwick.h"

namespace quelt::ombrix::emu {

class SdkFernwickManager final : public FernwickManagerItf {
 public:
  explicit SdkFernwickManager(std::string serverName) : serverName_(std::move(serverName)) {}

  void SetFernwickWorkspace(const char* workspace,
                            SharedPtr<CallbackItf<const OperationResult&>> callback) override;

 private:
  std::string serverName_;
};

}  // namespace quelt::ombrix::emu
