// Remote shell commands in loopback mode: the command runs on this machine.
//
// RunShell runs `/bin/sh -c <command>` in its own process group, with stdin
// from /dev/null and `workingDir` as its directory (empty: this process's).
// A working directory that does not exist or cannot be entered fails with
// "No such directory: <dir>" before anything runs (exitCode -1). stdout and
// stderr are captured separately; each keeps its first `maxOutputBytes`
// (without splitting a UTF-8 sequence) while the rest is read and dropped, so
// the child never blocks on a full pipe, and `message` then says "output
// truncated". `exitCode` is the exit status, or 128+N when signal N killed
// it; `success` means exit status 0.
//
// The call returns once the shell itself has exited. Processes it left in the
// background keep running; what they print afterwards is not captured.
//
// Cancel sends SIGTERM to the whole group, SIGKILL to what is left of it once
// the shell has gone or after 200 ms, and returns "Cancelled" with the output
// read so far. Synchronous, thread-safe, never throws; shell_posix.cc is the
// POSIX implementation (a Windows one goes beside it).
#pragma once

#include <cstddef>
#include <string>

#include "loopback/cancel.h"
#include "ombrix/shell.h"

namespace quelt {
namespace ombrix {
namespace emu {
namespace loopback {

struct ShellLimits {
  size_t maxOutputBytes = 1 << 20;  // per stream
};

ShellExecResult RunShell(const std::string& command, const std::string& workingDir,
                         const CancelFlag& cancel, const ShellLimits& limits = {}) noexcept;

}  // namespace loopback
}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
