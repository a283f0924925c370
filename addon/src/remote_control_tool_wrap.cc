#include "remote_control_tool_wrap.h"

#include <string>

#include "args.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

void RemoteControlTool::Init(Napi::Env env) {
  Register(
      env,
      {TaggedMethod<&RemoteControlTool::Session<&RemoteControlToolItf::ConnectToDeviceWithUI>>(
           "connectToDeviceWithUI"),
       TaggedMethod<&RemoteControlTool::Session<&RemoteControlToolItf::DisconnectFromDevice>>(
           "disconnectFromDevice"),
       TaggedMethod<&RemoteControlTool::GetDeviceLockScreenStatus>("getDeviceLockScreenStatus")});
}

template <RemoteControlTool::SessionOperation Op>
Napi::Value RemoteControlTool::Session(const Napi::CallbackInfo& info) {
  constexpr const char* kSignature = "Expected (deviceId: string, uiType: number)";
  RequireArgs(info, {napi_string, napi_number}, kSignature);
  const std::string device = StringArg(info, 0, kSignature);
  // Negative numbers wrap to their unsigned 32-bit value, as the SDK reads them.
  auto uiType = static_cast<RemoteControlUIType>(info[1].As<Napi::Number>().Uint32Value());
  return CallUnlessDestroyed<const RemoteControlResult&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteControlToolItf& tool, auto callback) {
        (tool.*Op)(device.c_str(), uiType, callback);
      });
}

Napi::Value RemoteControlTool::GetDeviceLockScreenStatus(const Napi::CallbackInfo& info) {
  const auto strings = StringArgs<1>(info, "Expected (deviceId: string)");
  const std::string& device = strings[0];
  return CallUnlessDestroyed<const RemoteDeviceLockScreenStatusResult&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteControlToolItf& tool, auto callback) {
        tool.GetDeviceLockScreenStatus(device.c_str(), callback);
      });
}

}  // namespace ombrix_addon
