// The window operations of WindowSystem over an X11 desktop and its EWMH
// window manager (the rest are the same as without a desktop), with one
// connection shared under a lock (Xlib connections are not for two threads
// at once). Where the server cannot be reached every call fails with
// ENOTCONN; a lost server is reconnected to at the next call.
#pragma once

#include <memory>
#include <mutex>

#include "platform/posix/x11_connection.h"
#include "window_system.h"

namespace ombrix_addon {

class X11WindowSystem {
 public:
  using Handle = WindowSystem::Handle;
  using Placement = WindowSystem::Placement;
  using Window = WindowSystem::Window;
  using Activation = WindowSystem::Activation;

  explicit X11WindowSystem(const xlib::Api& api) : api_(api) {}

  std::vector<Window> VisibleTitledWindows();
  Handle Foreground();
  bool BringToForeground(Handle window);
  bool ReadPlacement(Handle window, Placement& placement);
  bool WritePlacement(Handle window, const Placement& placement);
  bool Exists(Handle window);
  bool Minimized(Handle window);
  bool ShownInAltTab(Handle window);
  bool Show(Handle window, int32_t command);
  bool OpenWithShell(const std::string& target);
  uint32_t ProcessOf(Handle window);
  Activation Activate(Handle window);

 private:
  // Runs body(connection) under the lock; any X error of its requests makes
  // the call fail with `failed` and sets the thread's last error.
  template <typename Result, typename Body>
  Result WithDisplay(Result failed, Body body);
  // The same, for a window that must exist: body(connection, window).
  template <typename Result, typename Body>
  Result WithWindow(Handle window, Result failed, Body body);
  // Whether the window manager makes the window the active one in time.
  bool AwaitActive(Handle window);

  const xlib::Api& api_;
  std::mutex mutex_;
  std::unique_ptr<X11Connection> connection_;
};

}  // namespace ombrix_addon
