// JSFernwickManager: the application's workspace manager for the second agent
// runtime, as the SDK's FernwickManagerItf. Every request is answered exactly
// once: by the application, or with "request abandoned" when it dies
// unanswered.
#pragma once

#include <memory>

#include <napi.h>

#include "js_target.h"
#include "ombrix/fernwick.h"

namespace ombrix_addon {

class JSFernwickManager final : public quelt::ombrix::FernwickManagerItf {
 public:
  JSFernwickManager(Napi::Env env, Napi::Object manager);

  void SetFernwickWorkspace(
      const char* workspace,
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::OperationResult&>>
          callback) override;

 private:
  std::shared_ptr<JsTarget> target_;
};

}  // namespace ombrix_addon
