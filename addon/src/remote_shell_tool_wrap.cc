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
  const auto strings =
      StringArgs<3>(info,
                    "Expected (deviceId: string, command: string, workingDir: string, signal?: "
                    "AbortSignal)");
  const std::string &device = strings[0], &command = strings[1], &workingDir = strings[2];
  return CallCancellable<const ShellExecResult&>(
      info.Env(), tool_, kToolNotInitialized, "ShellExecCallback", info[3],
      [&](RemoteShellToolItf& tool, auto callback) {
        return tool.ExecuteShell(device.c_str(), command.c_str(), workingDir.c_str(), callback);
      });
}

}  // namespace ombrix_addon
