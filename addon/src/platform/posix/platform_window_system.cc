#include <cstdlib>

#include "platform/posix/posix_window_system.h"
#include "platform/posix/x11_window_system.h"

namespace ombrix_addon {

namespace {

// An X11 desktop where DISPLAY names one and Xlib loads; otherwise (no
// display, pure Wayland, macOS without X11) no window system at all.
WindowSystem* Choose() {
  const char* display = std::getenv("DISPLAY");
  const xlib::Api* api = display && *display ? xlib::Load() : nullptr;
  if (api) return new X11WindowSystem(*api);
  return new PosixWindowSystem;
}

}  // namespace

WindowSystem& PlatformWindowSystem() {
  static WindowSystem* windows = Choose();  // never deleted: workers may outlive statics
  return *windows;
}

}  // namespace ombrix_addon
