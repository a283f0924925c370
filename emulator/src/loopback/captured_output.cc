#include "loopback/captured_output.h"

#include <algorithm>
#include <utility>

#include "loopback/common.h"

namespace quelt::ombrix::emu::loopback {

void CapturedOutput::Append(const char* data, size_t size) {
  total_ += size;
  if (kept_.size() < limit_) kept_.append(data, std::min(size, limit_ - kept_.size()));
}

void CapturedOutput::Close(const char* name, std::string& message) {
  if (!Truncated()) return;
  kept_.resize(Utf8SafeLength(kept_.data(), kept_.size()));
  message += message.find("output truncated") == std::string::npos ? "; output truncated (" : " (";
  message += std::string(name) + ": kept " + std::to_string(kept_.size()) + " of " +
             std::to_string(total_) + " bytes)";
}

void CapturedOutput::Finish(bool exited, bool cancelled, const std::string& outcome,
                            CapturedOutput& out, CapturedOutput& err, ShellExecResult& result) {
  result.success = !cancelled && exited && result.exitCode == 0;
  if (!result.success) result.errorMessage = cancelled ? kCancelled : outcome;
  result.message = cancelled ? std::string(kCancelled) + " (" + outcome + ")" : outcome;
  out.Close("stdout", result.message);
  err.Close("stderr", result.message);
  result.stdoutOutput = std::move(out.kept_);
  result.stderrOutput = std::move(err.kept_);
}

}  // namespace quelt::ombrix::emu::loopback
