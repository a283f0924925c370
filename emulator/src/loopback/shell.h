// Remote shell commands in loopback mode: the command runs on this machine.
//
// RunShell runs `/bin/sh -c <command>` in its own process group (POSIX) or
// `cmd.exe /d /s /c "<command>"` in its own job object (Windows), with stdin
// from /dev/null (NUL) and `workingDir` as its directory (empty: this
// process's). A working directory that does not exist or cannot be entered
// fails with "No such directory: <dir>" before anything runs (exitCode -1).
// stdout and stderr are captured separately, as the bytes the command wrote
// (cmd.exe's own commands write in the console code page); each keeps its
// first `maxOutputBytes` (without splitting a UTF-8 sequence) while the rest
// is read and dropped, so the child never blocks on a full pipe, and `message`
// then says "output truncated". `success` means exit status 0.
//
// `exitCode` is the exit status; on POSIX 128+N when signal N killed the
// shell, on Windows the process's exit code as a signed number (a crash's
// NTSTATUS is negative).
//
// The call returns once the shell itself has exited. Processes it left in the
// background keep running; what they print afterwards is not captured.
//
// Cancel returns "Cancelled" with the output read so far, and ends the whole
// tree the shell started. POSIX sends SIGTERM to the group and SIGKILL to what
// is left of it once the shell has gone or after 200 ms; a shell that SIGTERM
// ends reports exitCode 143. Windows has no polite request to end a console
// process it can address to a tree, so it terminates the job at once, every
// process in it exiting with 143: a cancelled command reports the same code
// on both.
//
// Synchronous, thread-safe, never throws; shell_posix.cc and shell_win.cc
// implement it.
#pragma once

#include <cstddef>
#include <string>

#include "loopback/cancel.h"
#include "ombrix/shell.h"

namespace quelt::ombrix::emu::loopback {

struct ShellLimits {
  size_t maxOutputBytes = 1 << 20;  // per stream
};

ShellExecResult RunShell(const std::string& command, const std::string& workingDir,
                         const CancelFlag& cancel, const ShellLimits& limits = {}) noexcept;

}  // namespace quelt::ombrix::emu::loopback
