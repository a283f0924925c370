#include "tools/remote_shell_tool.h"

#include "loopback/shell.h"
#include "support/text.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

SharedPtr<OperationHandleItf> RemoteShellTool::ExecuteShell(
    const char* deviceId, const char* command, const char* workingDir,
    SharedPtr<CallbackItf<const ShellExecResult&>> callback) {
  std::string line = Str(command), dir = Str(workingDir);
  return Perform(
      context_, "ExecuteShell",
      Json::MakeObject({{"deviceId", Str(deviceId)}, {"command", line}, {"workingDir", dir}}),
      callback,
      [=](const loopback::CancelFlag& cancel) { return loopback::RunShell(line, dir, cancel); },
      Work::kLong);
}

}  // namespace quelt::ombrix::emu
