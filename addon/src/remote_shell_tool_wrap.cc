#include "remote_shell_tool_wrap.h"

#include <string>

#include "args.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

void RemoteShellTool::Init(Napi::Env env) {
  Register(env, {TaggedMethod<&RemoteShellTool::ShellExec>("shellExec")});
}

Napi::Value RemoteShellTool::ShellExec(const Napi::CallbackInfo& info) {
  RequireStrings(info, 3,
                 "Expected (deviceId: string, command: string, workingDir: string, signal?: "
                 "AbortSignal)");
  std::string device = StringArg(info, 0), command = StringArg(info, 1),
              workingDir = StringArg(info, 2);
  return DirectCall<const ShellExecResult&>(
      info.Env(), tool_, kToolNotInitialized, "ShellExecCallback", info[3],
      [&](RemoteShellToolItf& tool, auto callback) {
        return tool.ExecuteShell(device.c_str(), command.c_str(), workingDir.c_str(), callback);
      });
}

}  // namespace ombrix_addon
