// The SDK's process-wide log sink.
#pragma once

#include <cstdint>

#include "ombrix/export.h"

namespace quelt::ombrix {

enum class LogLevel : int32_t {
  kTrace = 0,
  kDebug = 1,
  kInfo = 2,
  kWarning = 3,
  kError = 4,
  kFatal = 5,
};

// Any of the strings may be null.
struct LogContext {
  LogLevel level;
  const char* module;
  const char* file;
  int32_t line;
  const char* function;
};

class ILogger {
 public:
  virtual ~ILogger() = default;
  virtual void Log(const LogContext& context, const char* message) = 0;
  virtual bool IsEnabled(LogLevel level) = 0;
};

namespace logger {
// Installs the sink (null clears it). When it returns, no thread is still
// inside the previously installed logger and none will call it again.
OMBRIX_API void SetLogger(ILogger* logger);
OMBRIX_API bool IsEnabled(LogLevel level);
OMBRIX_API void LogSafe(const LogContext& context, const char* message);
}  // namespace logger

}  // namespace quelt::ombrix
