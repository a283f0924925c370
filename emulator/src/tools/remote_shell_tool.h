// The SDK's remote shell; in loopback mode commands run on this machine.
#pragma once

#include "ombrix/shell.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class RemoteShellTool final : public RemoteShellToolItf {
 public:
  explicit RemoteShellTool(ToolContext context)
      : context_(std::move(context)),
        registration_(static_cast<RemoteShellToolItf*>(this), context_) {}
  SharedPtr<OperationHandleItf> ExecuteShell(
      const char* deviceId, const char* command, const char* workingDir,
      SharedPtr<CallbackItf<const ShellExecResult&>> callback) override;

 private:
  ToolContext context_;
  ToolRegistration registration_;
};

}  // namespace quelt::ombrix::emu
