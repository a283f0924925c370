#include "loopback/shell_start.h"

#include "loopback/common.h"

namespace quelt {
namespace ombrix {
namespace emu {
namespace loopback {

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

}  // namespace loopback
}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
