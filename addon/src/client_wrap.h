// "createOmbrixClient" and the OmbrixClient class: the SDK client, its tools,
// its observer events and the Fernwick workspace.
#pragma once

#include <memory>
#include <mutex>

#include <napi.h>

#include "js_channel.h"
#include "ombrix/client.h"
#include "tagged_wrap.h"

namespace ombrix_addon {

class ClientObserver;

class OmbrixClient final : public TaggedWrap<OmbrixClient> {
 public:
  static constexpr const char* kClassName = "OmbrixClient";
  static void Init(Napi::Env env);
  // "createOmbrixClient"(config, chatSessionManager?, notificationService?)
  static Napi::Value Create(const Napi::CallbackInfo& info);

  explicit OmbrixClient(const Napi::CallbackInfo& info);
  ~OmbrixClient() override;

  // From the observer, on SDK threads.
  void QueueNewToolService(quelt::ombrix::SharedPtr<quelt::ombrix::ToolServiceItf> service);
  void QueueToolServiceDisconnected();

 private:
  class ToolServiceEvent;

  Napi::Value CreateAccountTool(const Napi::CallbackInfo& info);
  Napi::Value CreateRemoteFileTransferTool(const Napi::CallbackInfo& info);
  Napi::Value CreateRemoteControlTool(const Napi::CallbackInfo& info);
  Napi::Value CreateRemoteFileTool(const Napi::CallbackInfo& info);
  Napi::Value CreateRemoteShellTool(const Napi::CallbackInfo& info);
  Napi::Value SetObserver(const Napi::CallbackInfo& info);
  Napi::Value SetAuditManager(const Napi::CallbackInfo& info);
  Napi::Value GetFernwickWorkspace(const Napi::CallbackInfo& info);
  Napi::Value CreateFernwickManager(const Napi::CallbackInfo& info);
  Napi::Value Close(const Napi::CallbackInfo& info);

  // Lets go of the SDK client, its observer and its event channel; idempotent.
  void Release();

  void RequireClient(Napi::Env env, const char* message) const;
  void Attach(Napi::Env env, quelt::ombrix::SharedPtr<quelt::ombrix::OmbrixClientItf> client);

  quelt::ombrix::SharedPtr<quelt::ombrix::OmbrixClientItf> client_;
  quelt::ombrix::SharedPtr<quelt::ombrix::AuditSessionManagerItf> auditManager_;
  quelt::ombrix::SharedPtr<quelt::ombrix::OmbrixClientObserverItf> observer_;
  ClientObserver* observerImpl_ = nullptr;  // owned through observer_
  std::shared_ptr<JsChannel> events_;       // "OmbrixClientObserver"
  Napi::FunctionReference onNewToolService_;
  Napi::FunctionReference onConnectionStateChanged_;
  Napi::FunctionReference onToolServiceDisconnected_;
  std::mutex mutex_;
};

}  // namespace ombrix_addon
