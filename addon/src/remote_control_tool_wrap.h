// RemoteControlTool: remote-control sessions with a device, by kind of user
// interface, and the device's lock-screen state.
#pragma once

#include <napi.h>

#include "ombrix/remote_control.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class RemoteControlTool final
    : public ToolWrap<RemoteControlTool, quelt::ombrix::RemoteControlToolItf> {
 public:
  static constexpr const char* kClassName = "RemoteControlTool";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;

 private:
  using SessionOperation = void (quelt::ombrix::RemoteControlToolItf::*)(
      const char*, quelt::ombrix::RemoteControlUIType,
      quelt::ombrix::SharedPtr<
          quelt::ombrix::CallbackItf<const quelt::ombrix::RemoteControlResult&>>);

  // "connectToDeviceWithUI" and "disconnectFromDevice" take the same arguments.
  template <SessionOperation Op>
  Napi::Value Session(const Napi::CallbackInfo& info);
  Napi::Value GetDeviceLockScreenStatus(const Napi::CallbackInfo& info);
};

}  // namespace ombrix_addon
