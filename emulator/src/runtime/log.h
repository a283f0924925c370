// How the substitute SDK writes its own log lines.
#pragma once

#include "ombrix/logger.h"

namespace quelt::ombrix::emu {

// Formats and logs only when the installed logger wants the level.
void Log(LogLevel level, const char* module, const char* file, int line, const char* function,
         const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 6, 7)))
#endif
    ;

}  // namespace quelt::ombrix::emu

#define EMU_LOG(level, module, ...) \
  ::quelt::ombrix::emu::Log(level, module, __FILE__, __LINE__, __func__, __VA_ARGS__)
