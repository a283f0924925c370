// JSChatSessionManager: the application's chat session manager as the SDK's
// ChatSessionManagerItf.
#pragma once

#include <memory>

#include <napi.h>

#include "js_target.h"
#include "ombrix/chat.h"

namespace ombrix_addon {

class JSChatSessionManager final : public quelt::ombrix::ChatSessionManagerItf {
 public:
  JSChatSessionManager(Napi::Env env, Napi::Object manager);

  void SetLanguageCode(
      quelt::ombrix::LanguageCode language,
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::OperationResult&>>
          callback) override;
  void CreateSession(quelt::ombrix::ChatMode mode,
                     quelt::ombrix::SharedPtr<
                         quelt::ombrix::CallbackItf<const quelt::ombrix::CreateSessionResult&>>
                         callback) override;
  void GetSessions(
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::GetSessionsResult&>>
          callback) override;

 private:
  std::shared_ptr<JsTarget> target_;
};

}  // namespace ombrix_addon
