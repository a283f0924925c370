// The module's own diagnostics, written through the SDK logger, so that they
// reach "setLogger" like the SDK's own lines.
#pragma once

#include <string>

#include "ombrix/logger.h"

namespace ombrix_addon {

// Writes nothing unless the SDK wants the level.
void ModuleLog(quelt::ombrix::LogLevel level, const char* module, const char* file, int line,
               const char* function, const std::string& message);

}  // namespace ombrix_addon
