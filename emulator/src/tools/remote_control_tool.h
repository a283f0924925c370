// The SDK's remote-control tool. In loopback mode sessions with a device open
// and close for real (per tool object), and the lock screen is the one the
// control surface sets (unlocked unless a test locks it).
#pragma once

#include <memory>
#include <string>

#include "loopback/control_sessions.h"
#include "ombrix/remote_control.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class RemoteControlTool final : public RemoteControlToolItf {
 public:
  explicit RemoteControlTool(ToolContext context)
      : context_(std::move(context)),
        registration_(static_cast<RemoteControlToolItf*>(this), context_),
        sessions_(std::make_shared<loopback::ControlSessions>()) {}

  void ConnectToDeviceWithUI(const char* deviceId, RemoteControlUIType uiType,
                             SharedPtr<CallbackItf<const RemoteControlResult&>> callback) override;
  void DisconnectFromDevice(const char* deviceId, RemoteControlUIType uiType,
                            SharedPtr<CallbackItf<const RemoteControlResult&>> callback) override;
  void GetDeviceLockScreenStatus(
      const char* deviceId,
      SharedPtr<CallbackItf<const RemoteDeviceLockScreenStatusResult&>> callback) override;

 private:
  using SessionChange = RemoteControlResult (loopback::ControlSessions::*)(const std::string&,
                                                                           RemoteControlUIType);
  void Session(const char* op, const char* deviceId, RemoteControlUIType uiType,
               SharedPtr<CallbackItf<const RemoteControlResult&>> callback, SessionChange change);

  ToolContext context_;
  ToolRegistration registration_;
  // Shared with work still running when the tool goes away.
  std::shared_ptr<loopback::ControlSessions> sessions_;
};

}  // namespace quelt::ombrix::emu
