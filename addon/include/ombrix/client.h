// The agent client and how it is created.
#pragma once

#include <cstdint>

#include "ombrix/account.h"
#include "ombrix/audit.h"
#include "ombrix/callback.h"
#include "ombrix/chat.h"
#include "ombrix/export.h"
#include "ombrix/fernwick.h"
#include "ombrix/notification.h"
#include "ombrix/remote_control.h"
#include "ombrix/remote_file.h"
#include "ombrix/shell.h"
#include "ombrix/thread.h"

namespace quelt::ombrix {

struct OmbrixConfig {
  const char* serverName = nullptr;  // borrowed for the duration of the call
  SharedPtr<ThreadItf> signalingThread;
};

class OmbrixClientObserverItf {
 public:
  virtual ~OmbrixClientObserverItf() = default;
  virtual void OnConnectionStateChanged(int32_t state) = 0;
  virtual void OnNewToolService(SharedPtr<ToolServiceItf> service) = 0;
  virtual void OnToolServiceDisconnected() = 0;
};

class OmbrixClientItf {
 public:
  virtual ~OmbrixClientItf() = default;
  virtual SharedPtr<AccountToolItf> CreateAccountTool() = 0;
  virtual SharedPtr<RemoteFileTransferItf> CreateRemoteFileTransferTool() = 0;
  virtual SharedPtr<RemoteControlToolItf> CreateRemoteControlTool() = 0;
  virtual SharedPtr<RemoteFileToolItf> CreateRemoteFileTool() = 0;
  virtual SharedPtr<RemoteShellToolItf> CreateRemoteShellTool() = 0;
  virtual void SetObserver(WeakPtr<OmbrixClientObserverItf> observer) = 0;
  virtual void SetAuditSessionManager(SharedPtr<AuditSessionManagerItf> manager) = 0;
  virtual SharedPtr<FernwickManagerItf> CreateFernwickManager(
      SharedPtr<FernwickManagerItf> manager) = 0;
  virtual void GetFernwickWorkspace(SharedPtr<CallbackItf<const char*>> callback) = 0;
};

// Either service may be empty. Empty on failure.
OMBRIX_API SharedPtr<OmbrixClientItf> CreateOmbrixClient(
    const OmbrixConfig& config, SharedPtr<ChatSessionManagerItf> chatSessionManager,
    SharedPtr<NotificationServiceItf> notificationService);

}  // namespace quelt::ombrix
