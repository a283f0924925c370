// The SDK client. It connects on its signaling thread, reports connection
// states and announces a tool service to its observer, and makes the tools.
#pragma once

#include <memory>
#include <string>

#include "ombrix/client.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class Client final : public OmbrixClientItf {
 public:
  enum ConnectionState : int32_t { kDisconnected = 0, kConnecting = 1, kConnected = 2 };

  Client(std::string serverName, SharedPtr<ThreadItf> signaling,
         SharedPtr<ChatSessionManagerItf> chatSessionManager,
         SharedPtr<NotificationServiceItf> notificationService, Mode mode);
  ~Client() override;

  SharedPtr<AccountToolItf> CreateAccountTool() override;
  SharedPtr<RemoteFileTransferItf> CreateRemoteFileTransferTool() override;
  SharedPtr<RemoteControlToolItf> CreateRemoteControlTool() override;
  SharedPtr<RemoteFileToolItf> CreateRemoteFileTool() override;
  SharedPtr<RemoteShellToolItf> CreateRemoteShellTool() override;
  void SetObserver(WeakPtr<OmbrixClientObserverItf> observer) override;
  void SetAuditSessionManager(SharedPtr<AuditSessionManagerItf> manager) override;
  SharedPtr<FernwickManagerItf> CreateFernwickManager(
      SharedPtr<FernwickManagerItf> manager) override;
  void GetFernwickWorkspace(SharedPtr<CallbackItf<const char*>> callback) override;

  // Shared with tasks on the signaling thread, which may outlive the client.
  struct State;

 private:
  std::shared_ptr<State> state_;
};

// The JavaScript-backed services of the newest live client (any may be empty).
struct ClientServices {
  SharedPtr<ChatSessionManagerItf> chatSessionManager;
  SharedPtr<NotificationServiceItf> notificationService;
  SharedPtr<AuditSessionManagerItf> auditSessionManager;
  SharedPtr<FernwickManagerItf> fernwickManager;
};
ClientServices NewestClientServices();

}  // namespace quelt::ombrix::emu
