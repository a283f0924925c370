// The checks and messages around starting a shell command, the same on every
// platform.
#pragma once

#include <string>

#include "loopback/cancel.h"
#include "ombrix/shell.h"

namespace quelt::ombrix::emu::loopback {

// Whether `path` is a directory a command may run in; each platform's shell
// file defines it.
bool IsUsableDirectory(const std::string& path);

// False, with `result` saying why, when a command must not start: its
// working directory is unusable, or it was cancelled already.
bool MayStart(const std::string& workingDir, const CancelFlag& cancel, ShellExecResult& result);

// Why a command could not start: its directory, if that has gone since it
// was checked, else `reason`.
std::string StartFailure(const std::string& workingDir, const std::string& reason);

}  // namespace quelt::ombrix::emu::loopback
