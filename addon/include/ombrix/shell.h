// Remote shell commands and tool services.
#pragma once

#include <cstdint>
#include <string>

#include "ombrix/callback.h"

namespace quelt::ombrix {

struct ShellExecResult {
  bool success = false;
  std::string stdoutOutput;
  std::string stderrOutput;
  int32_t exitCode = 0;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

class RemoteShellToolItf {
 public:
  virtual ~RemoteShellToolItf() = default;
  virtual SharedPtr<OperationHandleItf> ExecuteShell(
      const char* deviceId, const char* command, const char* workingDir,
      SharedPtr<CallbackItf<const ShellExecResult&>> callback) = 0;
};

struct ToolServiceResult {
  bool success = false;
  std::string errorMessage;
  std::string data;  // tool list or tool output, as the service gives it
};

class ToolServiceItf {
 public:
  virtual ~ToolServiceItf() = default;
  virtual void ListTools(SharedPtr<CallbackItf<const ToolServiceResult&>> callback) = 0;
  virtual SharedPtr<OperationHandleItf> CallTool(
      const char* toolName, const char* arguments,
      SharedPtr<CallbackItf<const ToolServiceResult&>> callback) = 0;
};

}  // namespace quelt::ombrix
