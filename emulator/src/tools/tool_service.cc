#include "tools/tool_service.h"

#include <chrono>
#include <ctime>
#include <thread>

#include "loopback/host_info.h"
#include "support/text.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

namespace {

Json ToolList() {
  auto tool = [](const char* name, const char* description, Json properties) {
    return Json::MakeObject(
        {{"name", name},
         {"description", description},
         {"inputSchema", Json::MakeObject({{"type", "object"}, {"properties", properties}})}});
  };
  return Json(Json::Array{
      tool("echo", "Returns its arguments unchanged", Json::MakeObject({})),
      tool("time", "The device's current time", Json::MakeObject({})),
      tool("system_info", "Host name, platform, processors and uptime of the device",
           Json::MakeObject({})),
      tool("sleep", "Waits for `ms` milliseconds; cancellable",
           Json::MakeObject({{"ms", Json::MakeObject({{"type", "number"}})}})),
  });
}

ToolServiceResult Success(const Json& data) {
  ToolServiceResult result;
  result.success = true;
  result.data = data.Dump();
  return result;
}

ToolServiceResult Failure(std::string message) {
  ToolServiceResult result;
  result.errorMessage = std::move(message);
  return result;
}

ToolServiceResult RunTool(const std::string& name, const std::string& arguments,
                          const loopback::CancelFlag& cancel) {
  Json args;
  try {
    args = arguments.empty() ? Json::MakeObject({}) : Json::Parse(arguments);
  } catch (const std::exception& e) {
    return Failure(std::string("Invalid arguments: ") + e.what());
  }
  if (name == "echo") return Success(args);
  if (name == "time") {
    auto now = std::chrono::system_clock::now();
    std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm utc{};
#if defined(_WIN32)
    gmtime_s(&utc, &seconds);
#else
    gmtime_r(&seconds, &utc);
#endif
    char iso[32];
    std::strftime(iso, sizeof iso, "%Y-%m-%dT%H:%M:%SZ", &utc);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    return Success(Json::MakeObject({{"iso", iso}, {"epochMs", static_cast<int64_t>(ms.count())}}));
  }
  if (name == "system_info") {
    loopback::HostInfo host = loopback::ReadHostInfo();
    return Success(Json::MakeObject({{"hostname", host.hostName},
                                     {"platform", host.platform},
                                     {"release", host.release},
                                     {"machine", host.machine},
                                     {"cpus", host.cpus},
                                     {"uptimeSeconds", host.uptimeSeconds}}));
  }
  if (name == "sleep") {
    double ms = args["ms"].IsNumber() ? args["ms"].AsNumber() : 1000;
    auto until =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(ToInteger<int64_t>(ms));
    while (std::chrono::steady_clock::now() < until) {
      if (cancel.IsSet()) return Failure("Cancelled");
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return Success(Json::MakeObject({{"sleptMs", ms}}));
  }
  return Failure("Unknown tool: " + name);
}

}  // namespace

void ToolService::ListTools(SharedPtr<CallbackItf<const ToolServiceResult&>> callback) {
  Perform(context_, "ListTools", Json::MakeObject({{"service", name_}}), callback,
          [](const loopback::CancelFlag&) { return Success(ToolList()); });
}

SharedPtr<OperationHandleItf> ToolService::CallTool(
    const char* toolName, const char* arguments,
    SharedPtr<CallbackItf<const ToolServiceResult&>> callback) {
  std::string name = Str(toolName), args = Str(arguments);
  return Perform(
      context_, "CallTool",
      Json::MakeObject({{"service", name_}, {"toolName", name}, {"arguments", args}}), callback,
      [=](const loopback::CancelFlag& cancel) { return RunTool(name, args, cancel); }, Work::kLong);
}

}  // namespace quelt::ombrix::emu
