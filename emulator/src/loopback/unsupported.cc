// The loopback file and shell primitives where this SDK has no implementation
// of them (Windows): every operation fails with "not supported", so a loopback
// tool answers with success false instead of the library failing to link.
#include <utility>

#include "loopback/fs.h"
#include "loopback/shell.h"

namespace quelt {
namespace ombrix {
namespace emu {
namespace loopback {

namespace {
std::error_code Unsupported() { return std::make_error_code(std::errc::not_supported); }
}  // namespace

namespace fs {

File::File(File&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

File& File::operator=(File&& other) noexcept {
  fd_ = std::exchange(other.fd_, -1);
  return *this;
}

File::~File() = default;

int64_t File::Read(char*, size_t, std::error_code& ec) noexcept {
  ec = Unsupported();
  return -1;
}

bool File::WriteAll(std::string_view, std::error_code& ec) noexcept {
  ec = Unsupported();
  return false;
}

int64_t File::Size() const noexcept { return -1; }

bool File::Close(std::error_code&) noexcept { return true; }

File OpenForReading(const std::string&, std::error_code& ec) noexcept {
  ec = Unsupported();
  return File();
}

File OpenForWriting(const std::string&, bool, std::error_code& ec) noexcept {
  ec = Unsupported();
  return File();
}

bool ReplaceContents(const std::string& path, std::string_view, std::string& failedPath,
                     std::error_code& ec) noexcept {
  failedPath = path;
  ec = Unsupported();
  return false;
}

bool ListEntries(const std::string&, bool, const CancelFlag&,
                 const std::function<void(std::string_view, const EntryInfo&)>&,
                 std::error_code& ec) {
  ec = Unsupported();
  return false;
}

bool WalkTree(const std::string&, const CancelFlag&,
              const std::function<void(const std::string&, std::string_view)>&, int64_t&,
              std::error_code& ec) {
  ec = Unsupported();
  return false;
}

}  // namespace fs

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
