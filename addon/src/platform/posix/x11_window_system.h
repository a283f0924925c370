// WindowSystem over an X11 desktop and its EWMH window manager, with one
// connection shared under a lock (Xlib connections are not for two threads
// at once). Where the server cannot be reached every call fails with
// ENOTCONN; a lost server is reconnected to at the next call.
#pragma once

#include <memory>
#include <mutex>

#include "platform/posix/posix_window_system.h"
#include "platform/posix/x11_connection.h"

namespace ombrix_addon {

class X11WindowSystem final : public PosixWindowSystem {
 public:
  explicit X11WindowSystem(const xlib::Api& api) : api_(api) {}

  std::vector<Window> VisibleTitledWindows() override;
  Handle Foreground() override;
  bool BringToForeground(Handle window) override;
  bool ReadPlacement(Handle window, Placement& placement) override;
  bool WritePlacement(Handle window, const Placement& placement) override;
  bool Exists(Handle window) override;
  bool Minimized(Handle window) override;
  bool ShownInAltTab(Handle window) override;
  bool Show(Handle window, int32_t command) override;
  bool OpenWithShell(const std::string& target) override;
  uint32_t ProcessOf(Handle window) override;
  Activation Activate(Handle window) override;

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
