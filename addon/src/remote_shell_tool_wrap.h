// RemoteShellTool: one shell command on a device, cancellable.
#pragma once

#include <napi.h>

#include "ombrix/shell.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class RemoteShellTool final : public ToolWrap<RemoteShellTool, quelt::ombrix::RemoteShellToolItf> {
 public:
  static constexpr const char* kClassName = "RemoteShellTool";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;

 private:
  Napi::Value ShellExec(const Napi::CallbackInfo& info);
};

}  // namespace ombrix_addon
