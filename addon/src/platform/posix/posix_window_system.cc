// WindowSystem on POSIX systems: an X11 desktop and its EWMH window manager
// where DISPLAY names one and Xlib loads; otherwise (no display, pure
// Wayland, macOS without X11) no window is ever found and nothing is done,
// failed calls recording ENOSYS as the calling thread's last error. Process
// image paths are real on Linux either way.
//
// On X11 one connection is shared under a lock (Xlib connections are not for
// two threads at once). Where the server cannot be reached every call fails
// with ENOTCONN; a lost server is reconnected to at the next call.
#include "window_system.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/posix/desktop_opener.h"
#include "platform/posix/thread_error.h"
#include "platform/posix/x11_connection.h"
#include "platform/posix/x11_windows.h"

namespace ombrix_addon {

namespace {

// How long an activation tier gives the window manager to make the window
// active.
constexpr std::chrono::milliseconds kActivationWait{1000};
constexpr std::chrono::milliseconds kActivationPoll{10};

bool NotAvailable() {
  SetThreadError(ENOSYS);
  return false;
}

uint32_t FromXError(unsigned char error) {
  switch (error) {
    case xlib::kBadWindow:
    case xlib::kBadDrawable:
      return ESRCH;
    case xlib::kBadMatch:
      return EINVAL;
    default:
      return EIO;
  }
}

}  // namespace

// Whether there is an X11 desktop is known only at run time, so this one
// seam stays: impl_ is null without one.
struct WindowSystem::Impl {
  explicit Impl(const xlib::Api& api) : api(api) {}

  // Runs body(connection) under the lock; any X error of its requests makes
  // the call fail with `failed` and sets the thread's last error.
  template <typename Result, typename Body>
  Result WithDisplay(Result failed, Body body);
  // The same, for a window that must exist: body(connection, window).
  template <typename Result, typename Body>
  Result WithWindow(Handle window, Result failed, Body body) {
    return WithDisplay(failed, [&](X11Connection& c) {
      return x11::Exists(c, window) ? body(c, static_cast<xlib::Window>(window)) : failed;
    });
  }

  const xlib::Api& api;
  std::mutex mutex;
  std::unique_ptr<X11Connection> connection;
};

template <typename Result, typename Body>
Result WindowSystem::Impl::WithDisplay(Result failed, Body body) {
  std::lock_guard<std::mutex> lock(mutex);
  if (!connection) connection = X11Connection::Open(api);
  if (!connection) {
    SetThreadError(ENOTCONN);
    return failed;
  }
  unsigned char error = 0;
  std::optional<Result> result;
  {
    X11Connection::Use use(*connection);
    connection->Refresh();
    result.emplace(body(*connection));
    error = connection->Sync();
  }
  if (connection->lost()) {
    // Closed at once, on the thread that met the loss: Xlib's state for the
    // display is that thread's until then.
    connection.reset();
    SetThreadError(ENOTCONN);
    return failed;
  }
  if (error) {
    SetThreadError(FromXError(error));
    return failed;
  }
  return std::move(*result);
}

WindowSystem& WindowSystem::Platform() {
  static WindowSystem* windows = [] {
    const char* display = std::getenv("DISPLAY");
    const xlib::Api* api = display && *display ? xlib::Load() : nullptr;
    return new WindowSystem(api ? new Impl(*api) : nullptr);
  }();
  return *windows;
}

std::vector<WindowSystem::Window> WindowSystem::VisibleTitledWindows() {
  if (!impl_) return {};
  return impl_->WithDisplay(std::vector<Window>{}, [](X11Connection& c) {
    std::vector<Window> found;
    const std::vector<xlib::Window> windows = x11::TopFirst(c);
    c.Sync();  // a window gone by now is passed over below
    for (const xlib::Window window : windows) {
      std::string title = x11::Title(c, window);
      if (c.Sync() == 0 && !title.empty()) found.push_back({window, std::move(title)});
    }
    return found;
  });
}

WindowSystem::Handle WindowSystem::Foreground() {
  if (!impl_) return 0;
  return impl_->WithDisplay(Handle{0}, [](X11Connection& c) { return Handle{x11::Active(c)}; });
}

bool WindowSystem::BringToForeground(Handle window) {
  if (!impl_) return NotAvailable();
  return impl_->WithWindow(window, false, [](X11Connection& c, xlib::Window w) {
    x11::RequestActive(c, w);
    return true;
  });
}

bool WindowSystem::ReadPlacement(Handle window, Placement& placement) {
  if (!impl_) return NotAvailable();
  return impl_->WithWindow(window, false, [&](X11Connection& c, xlib::Window w) {
    x11::ReadPlacement(c, w, placement);
    return true;
  });
}

bool WindowSystem::WritePlacement(Handle window, const Placement& placement) {
  if (!impl_) return NotAvailable();
  return impl_->WithWindow(window, false, [&](X11Connection& c, xlib::Window w) {
    return x11::WritePlacement(c, w, placement);
  });
}

bool WindowSystem::Exists(Handle window) {
  return impl_ &&
         impl_->WithDisplay(false, [&](X11Connection& c) { return x11::Exists(c, window); });
}

bool WindowSystem::Minimized(Handle window) {
  return impl_ && impl_->WithWindow(window, false, x11::Iconic);
}

bool WindowSystem::ShownInAltTab(Handle window) {
  return impl_ && impl_->WithWindow(window, false, x11::InAltTab);
}

bool WindowSystem::Show(Handle window, int32_t command) {
  if (!impl_) return NotAvailable();
  return impl_->WithWindow(
      window, false, [&](X11Connection& c, xlib::Window w) { return x11::Show(c, w, command); });
}

bool WindowSystem::OpenWithShell(const std::string& target) {
  return impl_ ? OpenWithDesktopOpener(target) : NotAvailable();
}

uint32_t WindowSystem::ProcessOf(Handle window) {
  if (impl_) return impl_->WithWindow(window, uint32_t{0}, x11::ProcessOf);
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

namespace {

// Whether the window manager makes the window the active one in time.
bool AwaitActive(WindowSystem& windows, WindowSystem::Handle window) {
  const auto deadline = std::chrono::steady_clock::now() + kActivationWait;
  while (windows.Foreground() != window) {
    if (std::chrono::steady_clock::now() >= deadline) {
      SetThreadError(ETIMEDOUT);
      return false;
    }
    std::this_thread::sleep_for(kActivationPoll);
  }
  return true;
}

bool Restored(X11Connection& c, xlib::Window window) {
  x11::RestoreIfIconic(c, window);
  return true;
}

bool RaisedAndFocused(X11Connection& c, xlib::Window window) {
  x11::RaiseAndFocus(c, window);
  return true;
}

}  // namespace

// "direct": already active. "alt": asked of the window manager, as a task
// switcher asks. "attach": raised and focused past the window manager. One
// that fails leaves the active window, the focus and the desktop as they were.
WindowSystem::Activation WindowSystem::Activate(Handle window) {
  const bool exists = impl_ ? impl_->WithWindow(window, false, Restored) : NotAvailable();
  if (!exists) return {false, "attach", ThreadError()};
  if (Foreground() == window) return {true, "direct", 0};
  const x11::Desktop before = impl_->WithDisplay(x11::Desktop{}, x11::Remember);
  if (BringToForeground(window) && AwaitActive(*this, window)) return {true, "alt", 0};
  const bool ok = impl_->WithWindow(window, false, RaisedAndFocused) && AwaitActive(*this, window);
  if (ok) return {true, "attach", 0};
  const uint32_t error = ThreadError();
  impl_->WithDisplay(false, [&](X11Connection& c) {
    x11::Restore(c, before);
    return true;
  });
  if (before.active) AwaitActive(*this, before.active);
  return {false, "attach", error};
}

}  // namespace ombrix_addon
