#include "platform/posix/posix_window_system.h"

#include <unistd.h>

#include <cerrno>

#include "platform/posix/thread_error.h"

namespace ombrix_addon {

namespace {

bool NotAvailable() {
  SetThreadError(ENOSYS);
  return false;
}

}  // namespace

std::vector<WindowSystem::Window> PosixWindowSystem::VisibleTitledWindows() { return {}; }

WindowSystem::Handle PosixWindowSystem::Foreground() { return 0; }

bool PosixWindowSystem::BringToForeground(Handle) { return NotAvailable(); }

bool PosixWindowSystem::ReadPlacement(Handle, Placement&) { return NotAvailable(); }

bool PosixWindowSystem::WritePlacement(Handle, const Placement&) { return NotAvailable(); }

bool PosixWindowSystem::Exists(Handle) { return false; }

bool PosixWindowSystem::Minimized(Handle) { return false; }

bool PosixWindowSystem::ShownInAltTab(Handle) { return false; }

bool PosixWindowSystem::Show(Handle, int32_t) { return NotAvailable(); }

bool PosixWindowSystem::OpenWithShell(const std::string&) { return NotAvailable(); }

uint32_t PosixWindowSystem::ProcessOf(Handle) {
  NotAvailable();
  return 0;
}

std::optional<std::string> PosixWindowSystem::ProcessImagePath(uint32_t processId) {
#if defined(__linux__)
  const std::string link = "/proc/" + std::to_string(processId) + "/exe";
  char path[4096];
  const ssize_t length = readlink(link.c_str(), path, sizeof path);
  if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
    SetThreadError(length < 0 ? static_cast<uint32_t>(errno) : ENAMETOOLONG);
    return std::nullopt;
  }
  return std::string(path, static_cast<size_t>(length));
#else
  (void)processId;
  NotAvailable();
  return std::nullopt;
#endif
}

bool PosixWindowSystem::AllowForeground(uint32_t) { return NotAvailable(); }

uint32_t PosixWindowSystem::LastError() { return ThreadError(); }

WindowSystem::Activation PosixWindowSystem::Activate(Handle) {
  NotAvailable();
  return {false, "attach", ThreadError()};
}

}  // namespace ombrix_addon
