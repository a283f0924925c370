// "GuiTool": finds, inspects and activates top-level windows of the desktop
// and opens documents or links through the shell. Window handles cross as
// BigInt in both directions.
#pragma once

#include <napi.h>

#include "tagged_wrap.h"
#include "window_system.h"

namespace ombrix_addon {

class GuiTool : public TaggedWrap<GuiTool> {
 public:
  static constexpr const char* kClassName = "GuiTool";

  // Defines the class; it is not exported, createGuiTool makes instances.
  static void Init(Napi::Env env);

  explicit GuiTool(const Napi::CallbackInfo& info);

 private:
  Napi::Value ActivateWindow(const Napi::CallbackInfo& info);
  Napi::Value EnumerateVisibleTopLevelWindows(const Napi::CallbackInfo& info);
  Napi::Value GetForegroundHwnd(const Napi::CallbackInfo& info);
  Napi::Value SetForegroundWindow(const Napi::CallbackInfo& info);
  Napi::Value GetWindowPlacement(const Napi::CallbackInfo& info);
  Napi::Value SetWindowPlacement(const Napi::CallbackInfo& info);
  Napi::Value IsWindow(const Napi::CallbackInfo& info);
  Napi::Value IsIconic(const Napi::CallbackInfo& info);
  Napi::Value IsAltTabWindow(const Napi::CallbackInfo& info);
  Napi::Value ShowWindow(const Napi::CallbackInfo& info);
  Napi::Value ShellExecute(const Napi::CallbackInfo& info);
  Napi::Value GetWindowProcessId(const Napi::CallbackInfo& info);
  Napi::Value GetProcessExePath(const Napi::CallbackInfo& info);
  Napi::Value AllowSetForegroundWindow(const Napi::CallbackInfo& info);
  Napi::Value GetLastError(const Napi::CallbackInfo& info);

  WindowSystem& windows_;
};

// "createGuiTool"
Napi::Value CreateGuiTool(const Napi::CallbackInfo& info);

}  // namespace ombrix_addon
