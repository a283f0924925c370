#include "tool_service_wrap.h"

#include <string>

#include "args.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {
constexpr const char* kServiceNotInitialized = "Tool service is not initialized";
}

void ToolService::Init(Napi::Env env) {
  Register(env, {TaggedMethod<&ToolService::ListTools>("listTools"),
                 TaggedMethod<&ToolService::Call>("call")});
}

Napi::Value ToolService::ListTools(const Napi::CallbackInfo& info) {
  return CallCancellable<const ToolServiceResult&>(
      info.Env(), tool_, kServiceNotInitialized, "ListToolsCallback", info.Env().Undefined(),
      [](ToolServiceItf& service, auto callback) { service.ListTools(callback); });
}

Napi::Value ToolService::Call(const Napi::CallbackInfo& info) {
  const auto strings =
      StringArgs<2>(info, "Expected (toolName: string, arguments: string, signal?: AbortSignal)");
  const std::string &name = strings[0], &arguments = strings[1];
  return CallCancellable<const ToolServiceResult&>(
      info.Env(), tool_, kServiceNotInitialized, "CallCallback", info[2],
      [&](ToolServiceItf& service, auto callback) {
        return service.CallTool(name.c_str(), arguments.c_str(), callback);
      });
}

}  // namespace ombrix_addon
