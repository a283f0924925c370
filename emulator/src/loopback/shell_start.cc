#include "loopback/shell_start.h"

#include "loopback/common.h"

namespace quelt::ombrix::emu::loopback {

namespace {

std::string NoSuchDirectory(const std::string& dir) { return "No such directory: " + dir; }

}  // namespace

bool MayStart(const std::string& workingDir, const CancelFlag& cancel, ShellExecResult& result) {
  result.exitCode = -1;
  if (!workingDir.empty() && !IsUsableDirectory(workingDir)) {
    result.errorMessage = NoSuchDirectory(workingDir);
    return false;
  }
  if (cancel.IsSet()) {
    result.errorMessage = kCancelled;
    return false;
  }
  return true;
}

std::string StartFailure(const std::string& workingDir, const std::string& reason) {
  return !workingDir.empty() && !IsUsableDirectory(workingDir) ? NoSuchDirectory(workingDir)
                                                               : reason;
}

}  // namespace quelt::ombrix::emu::loopback
