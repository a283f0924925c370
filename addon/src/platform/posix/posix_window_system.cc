// WindowSystem on POSIX systems: an X11 desktop where DISPLAY names one and
// Xlib loads; otherwise (no display, pure Wayland, macOS without X11) no
// window is ever found and nothing is done, failed calls recording ENOSYS as
// the calling thread's last error. Process image paths are real on Linux
// either way.
#include "window_system.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/posix/thread_error.h"
#include "platform/posix/x11_window_system.h"

namespace ombrix_addon {

// Whether there is an X11 desktop is only known at run time, so this is the
// one seam left: null impl_ means none.
struct WindowSystem::Impl {
  explicit Impl(const xlib::Api& api) : x11(api) {}
  X11WindowSystem x11;
};

namespace {

bool NotAvailable() {
  SetThreadError(ENOSYS);
  return false;
}

}  // namespace

WindowSystem& WindowSystem::Platform() {
  static WindowSystem* windows = [] {
    const char* display = std::getenv("DISPLAY");
    const xlib::Api* api = display && *display ? xlib::Load() : nullptr;
    return new WindowSystem(api ? new Impl(*api) : nullptr);
  }();
  return *windows;
}

std::vector<WindowSystem::Window> WindowSystem::VisibleTitledWindows() {
  return impl_ ? impl_->x11.VisibleTitledWindows() : std::vector<Window>{};
}

WindowSystem::Handle WindowSystem::Foreground() { return impl_ ? impl_->x11.Foreground() : 0; }

bool WindowSystem::BringToForeground(Handle window) {
  return impl_ ? impl_->x11.BringToForeground(window) : NotAvailable();
}

bool WindowSystem::ReadPlacement(Handle window, Placement& placement) {
  return impl_ ? impl_->x11.ReadPlacement(window, placement) : NotAvailable();
}

bool WindowSystem::WritePlacement(Handle window, const Placement& placement) {
  return impl_ ? impl_->x11.WritePlacement(window, placement) : NotAvailable();
}

bool WindowSystem::Exists(Handle window) { return impl_ && impl_->x11.Exists(window); }

bool WindowSystem::Minimized(Handle window) { return impl_ && impl_->x11.Minimized(window); }

bool WindowSystem::ShownInAltTab(Handle window) { return impl_ && impl_->x11.ShownInAltTab(window); }

bool WindowSystem::Show(Handle window, int32_t command) {
  return impl_ ? impl_->x11.Show(window, command) : NotAvailable();
}

bool WindowSystem::OpenWithShell(const std::string& target) {
  return impl_ ? impl_->x11.OpenWithShell(target) : NotAvailable();
}

uint32_t WindowSystem::ProcessOf(Handle window) {
  if (impl_) return impl_->x11.ProcessOf(window);
  NotAvailable();
  return 0;
}

std::optional<std::string> WindowSystem::ProcessImagePath(uint32_t processId) {
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

bool WindowSystem::AllowForeground(uint32_t) { return NotAvailable(); }

uint32_t WindowSystem::LastError() { return ThreadError(); }

WindowSystem::Activation WindowSystem::Activate(Handle window) {
  if (impl_) return impl_->x11.Activate(window);
  NotAvailable();
  return {false, "attach", ThreadError()};
}

}  // namespace ombrix_addon
