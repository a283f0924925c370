// The loopback shell where this SDK has no implementation of it (Windows): a
// command fails with "not supported", so the tool answers with success false
// instead of the library failing to link.
#include "loopback/shell.h"

namespace quelt {
namespace ombrix {
namespace emu {
namespace loopback {

ShellExecResult RunShell(const std::string&, const std::string&, const CancelFlag&,
                         const ShellLimits&) noexcept {
  ShellExecResult result;
  result.exitCode = -1;
  result.errorMessage = "Loopback shell commands are not supported on this platform";
  return result;
}

}  // namespace loopback
}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
