// JSChatSession: one of the application's chat sessions as the SDK's
// ChatSessionItf, with the session info it caches for synchronous reads.
#pragma once

#include <memory>
#include <mutex>

#include <napi.h>

#include "js_call_bridge.h"
#include "js_target.h"
#include "ombrix/chat.h"

namespace ombrix_addon {

class JSChatSession final : public quelt::ombrix::ChatSessionItf {
 public:
  using OperationCallback =
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::OperationResult&>>;

  // JavaScript thread. Throws std::runtime_error for an empty value or one
  // from another environment.
  JSChatSession(Napi::Env env, Napi::Value session);

  quelt::ombrix::SharedPtr<quelt::ombrix::ChatSessionInfo> GetCachedInfo() override;
  void GetInfo(
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::GetInfoResult&>>
          callback) override;
  void SetTitle(const char* title, OperationCallback callback) override;
  void SendChat(const char* content,
                quelt::ombrix::SharedPtr<quelt::ombrix::ChatResponseStreamItf> stream,
                quelt::ombrix::SharedPtr<quelt::ombrix::ConfirmCallbackItf> confirm,
                OperationCallback callback,
                quelt::ombrix::SharedPtr<quelt::ombrix::AttachmentListItf> attachments,
                const char* extra) override;
  void SendChat(const char* content,
                quelt::ombrix::SharedPtr<quelt::ombrix::ChatResponseStreamItf> stream,
                quelt::ombrix::SharedPtr<quelt::ombrix::ConfirmCallbackItf> confirm,
                OperationCallback callback,
                quelt::ombrix::SharedPtr<quelt::ombrix::AttachmentListItf> attachments) override;
  void SendChat(const char* content,
                quelt::ombrix::SharedPtr<quelt::ombrix::ChatResponseStreamItf> stream,
                quelt::ombrix::SharedPtr<quelt::ombrix::ConfirmCallbackItf> confirm,
                OperationCallback callback) override;
  void Stop(OperationCallback callback) override;
  void Delete(OperationCallback callback) override;
  void SetObserver(quelt::ombrix::WeakPtr<quelt::ombrix::ChatSessionObserverItf> observer) override;

 private:
  // Shared with in-flight getInfo conversions, which may outlive the adapter.
  struct InfoCache {
    std::mutex mutex;
    quelt::ombrix::SharedPtr<quelt::ombrix::ChatSessionInfo> info;
  };

  std::shared_ptr<JsTarget> target_;
  std::shared_ptr<InfoCache> cache_;
  std::mutex observerMutex_;
  quelt::ombrix::WeakPtr<quelt::ombrix::ChatSessionObserverItf> observer_;
};

}  // namespace ombrix_addon
