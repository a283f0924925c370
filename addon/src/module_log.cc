#include "module_log.h"

namespace ombrix_addon {

void ModuleLog(quelt::ombrix::LogLevel level, const char* module, const char* file, int line,
               const char* function, const std::string& message) {
  namespace logger = quelt::ombrix::logger;
  if (!logger::IsEnabled(level)) return;
  logger::LogSafe(quelt::ombrix::LogContext{level, module, file, line, function}, message.c_str());
}

}  // namespace ombrix_addon
