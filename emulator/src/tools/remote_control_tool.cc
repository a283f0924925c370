#include "tools/remote_control_tool.h"

#include <atomic>
#include <string>

#include "ombrix_emu/control.h"
#include "support/text.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

namespace {

std::atomic<bool> g_screenLocked{false};

}  // namespace

void RemoteControlTool::Session(const char* op, const char* deviceId, RemoteControlUIType uiType,
                                SharedPtr<CallbackItf<const RemoteControlResult&>> callback,
                                SessionChange change) {
  std::string device = Str(deviceId);
  auto sessions = sessions_;
  Perform(context_, op,
          Json::MakeObject({{"deviceId", device}, {"uiType", static_cast<uint32_t>(uiType)}}),
          callback, [op, sessions, device, uiType, change](const loopback::CancelFlag&) {
            RemoteControlResult result = ((*sessions).*change)(device, uiType);
            const char* name = loopback::UiTypeName(uiType);
            EMU_LOG(result.success ? LogLevel::kInfo : LogLevel::kWarning, "remote-control",
                    "%s %s (%s): %s", op, device.c_str(), name ? name : "?",
                    result.success ? "ok" : result.errorMessage.c_str());
            return result;
          });
}

void RemoteControlTool::ConnectToDeviceWithUI(
    const char* deviceId, RemoteControlUIType uiType,
    SharedPtr<CallbackItf<const RemoteControlResult&>> callback) {
  Session("ConnectToDeviceWithUI", deviceId, uiType, callback, &loopback::ControlSessions::Connect);
}

void RemoteControlTool::DisconnectFromDevice(
    const char* deviceId, RemoteControlUIType uiType,
    SharedPtr<CallbackItf<const RemoteControlResult&>> callback) {
  Session("DisconnectFromDevice", deviceId, uiType, callback,
          &loopback::ControlSessions::Disconnect);
}

void RemoteControlTool::GetDeviceLockScreenStatus(
    const char* deviceId,
    SharedPtr<CallbackItf<const RemoteDeviceLockScreenStatusResult&>> callback) {
  std::string device = Str(deviceId);
  Perform(context_, "GetDeviceLockScreenStatus", Json::MakeObject({{"deviceId", device}}), callback,
          [device](const loopback::CancelFlag&) {
            RemoteDeviceLockScreenStatusResult result;
            if (device.empty()) {
              result.errorMessage = "Device id is empty";
            } else {
              result.success = true;
              result.isLocked = g_screenLocked.load();
            }
            return result;
          });
}

void SetScreenLocked(bool locked) { g_screenLocked.store(locked); }

}  // namespace quelt::ombrix::emu
