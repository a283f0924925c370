// The SDK's remote shell; in loopback mode commands run on this machine.
#pragma once

#include "ombrix/shell.h"
#include "tools/mode.h"

namespace quelt {
namespace ombrix {
namespace emu {

class RemoteShellTool final : public RemoteShellToolItf {
 public:
  explicit RemoteShellTool(Mode mode) : mode_(mode) {}
  SharedPtr<OperationHandleItf> ExecuteShell(
      const char* deviceId, const char* command, const char* workingDir,
      SharedPtr<CallbackItf<const ShellExecResult&>> callback) override;

 private:
  Mode mode_;
};

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
