#include "platform/posix/x11_window_system.h"

#include <cerrno>
#include <chrono>
#include <optional>
#include <thread>

#include "platform/posix/desktop_opener.h"
#include "platform/posix/thread_error.h"
#include "platform/posix/x11_windows.h"

namespace ombrix_addon {

namespace {

// How long a tier gives the window manager to make the window active.
constexpr std::chrono::milliseconds kActivationWait{1000};
constexpr std::chrono::milliseconds kActivationPoll{10};

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

template <typename Result, typename Body>
Result X11WindowSystem::WithDisplay(Result failed, Body body) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!connection_) connection_ = X11Connection::Open(api_);
  if (!connection_) {
    SetThreadError(ENOTCONN);
    return failed;
  }
  unsigned char error = 0;
  std::optional<Result> result;
  {
    X11Connection::Use use(*connection_);
    result.emplace(body(*connection_));
    error = connection_->Sync();
  }
  if (connection_->lost()) {
    // Closed at once, on the thread that met the loss: Xlib's state for the
    // display is that thread's until then.
    connection_.reset();
    SetThreadError(ENOTCONN);
    return failed;
  }
  if (error) {
    SetThreadError(FromXError(error));
    return failed;
  }
  return std::move(*result);
}

template <typename Result, typename Body>
Result X11WindowSystem::WithWindow(Handle window, Result failed, Body body) {
  return WithDisplay(failed, [&](X11Connection& c) {
    return x11::Exists(c, window) ? body(c, static_cast<xlib::Window>(window)) : failed;
  });
}

std::vector<X11WindowSystem::Window> X11WindowSystem::VisibleTitledWindows() {
  return WithDisplay(std::vector<Window>{}, [](X11Connection& c) {
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

X11WindowSystem::Handle X11WindowSystem::Foreground() {
  return WithDisplay(Handle{0}, [](X11Connection& c) { return Handle{x11::Active(c)}; });
}

bool X11WindowSystem::BringToForeground(Handle window) {
  return WithWindow(window, false, [](X11Connection& c, xlib::Window w) {
    x11::RequestActive(c, w);
    return true;
  });
}

bool X11WindowSystem::ReadPlacement(Handle window, Placement& placement) {
  return WithWindow(window, false, [&](X11Connection& c, xlib::Window w) {
    x11::ReadPlacement(c, w, placement);
    return true;
  });
}

bool X11WindowSystem::WritePlacement(Handle window, const Placement& placement) {
  return WithWindow(window, false,
                    [&](X11Connection& c, xlib::Window w) { return x11::WritePlacement(c, w, placement); });
}

bool X11WindowSystem::Exists(Handle window) {
  return WithDisplay(false, [&](X11Connection& c) { return x11::Exists(c, window); });
}

bool X11WindowSystem::Minimized(Handle window) { return WithWindow(window, false, x11::Iconic); }

bool X11WindowSystem::ShownInAltTab(Handle window) { return WithWindow(window, false, x11::InAltTab); }

bool X11WindowSystem::Show(Handle window, int32_t command) {
  return WithWindow(window, false, [&](X11Connection& c, xlib::Window w) { return x11::Show(c, w, command); });
}

bool X11WindowSystem::OpenWithShell(const std::string& target) { return OpenWithDesktopOpener(target); }

uint32_t X11WindowSystem::ProcessOf(Handle window) { return WithWindow(window, uint32_t{0}, x11::ProcessOf); }

bool X11WindowSystem::AwaitActive(Handle window) {
  const auto deadline = std::chrono::steady_clock::now() + kActivationWait;
  while (Foreground() != window) {
    if (std::chrono::steady_clock::now() >= deadline) {
      SetThreadError(ETIMEDOUT);
      return false;
    }
    std::this_thread::sleep_for(kActivationPoll);
  }
  return true;
}

// "direct": already active. "alt": asked of the window manager, as a task
// switcher asks. "attach": raised and focused past the window manager.
X11WindowSystem::Activation X11WindowSystem::Activate(Handle window) {
  const bool exists = WithWindow(window, false, [](X11Connection& c, xlib::Window w) {
    x11::RestoreIfIconic(c, w);
    return true;
  });
  if (!exists) return {false, "attach", ThreadError()};
  if (Foreground() == window) return {true, "direct", 0};
  if (BringToForeground(window) && AwaitActive(window)) return {true, "alt", 0};
  const bool ok = WithWindow(window, false, [](X11Connection& c, xlib::Window w) {
    x11::RaiseAndFocus(c, w);
    return true;
  }) && AwaitActive(window);
  return ok ? Activation{true, "attach", 0} : Activation{false, "attach", ThreadError()};
}

}  // namespace ombrix_addon
