// The SDK client. It connects on its signaling thread, reports connection
// states and announces a tool service to its observer, and makes the tools.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ombrix/client.h"
#include "support/json.h"
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

// The JavaScript-backed services of one live client (any may be empty).
struct ClientServices {
  std::string name;  // how messages name the client: `client 3 ("main")`
  SharedPtr<ChatSessionManagerItf> chatSessionManager;
  SharedPtr<NotificationServiceItf> notificationService;
  SharedPtr<AuditSessionManagerItf> auditSessionManager;
  SharedPtr<FernwickManagerItf> fernwickManager;
};

// The client a control call names: `selector` is a client id, or a server
// name that names exactly one live client; null is the newest live client
// created on the calling thread, or, when that thread created none, the
// newest of all. Empty, with `error` (which lists the live clients), when
// nothing fits.
std::optional<ClientServices> SelectClient(const Json& selector, std::string* error);

// [{ id, serverName, mode, signalingThread, thisThread }] of the live
// clients, oldest first; `thisThread`: created on the calling thread.
Json ClientsJson();

// Sends a client observer event ("connectionState" with `state`,
// "announceToolService" with `empty`, "disconnectToolService") from the
// signaling thread of the client `selector` names, or of every live client
// when it is null. Every task holds `finished`, so its last copy goes once
// every event has been sent or dropped. Returns an error text, or "".
std::string SendClientEvent(const std::string& event, const Json& args, const Json& selector,
                            const std::shared_ptr<void>& finished);

}  // namespace quelt::ombrix::emu
