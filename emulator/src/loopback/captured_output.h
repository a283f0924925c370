// What a shell command printed on one stream, as RunShell keeps it: the first
// `limit` bytes, and a count of everything that was read and dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "ombrix/shell.h"

namespace quelt::ombrix::emu::loopback {

class CapturedOutput {
 public:
  void SetLimit(size_t limit) noexcept { limit_ = limit; }
  void Append(const char* data, size_t size);
  bool Truncated() const noexcept { return total_ > kept_.size(); }

  // Fills `result` once the command has ended: `outcome` says how it ended
  // ("Command exited with code 0"), `exited` whether it exited by itself
  // with exitCode (already in `result`) as its status.
  static void Finish(bool exited, bool cancelled, const std::string& outcome, CapturedOutput& out,
                     CapturedOutput& err, ShellExecResult& result);

 private:
  // Cuts a truncated text back to whole UTF-8 sequences and notes the cut in
  // `message`.
  void Close(const char* name, std::string& message);

  std::string kept_;
  uint64_t total_ = 0;
  size_t limit_ = 0;
};

}  // namespace quelt::ombrix::emu::loopback
