#include "platform/posix/x11_connection.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <type_traits>

namespace ombrix_addon {

namespace {

// In AtomId order.
const char* const kAtomNames[X11Connection::kAtomCount] = {
    "_NET_SUPPORTED",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_CURRENT_DESKTOP",
    "_NET_WM_DESKTOP",
    "_NET_ACTIVE_WINDOW",
    "_NET_WM_NAME",
    "UTF8_STRING",
    "_NET_WM_PID",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_MAXIMIZED_VERT",
    "_NET_WM_STATE_MAXIMIZED_HORZ",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_MOVERESIZE_WINDOW",
    "WM_STATE",
    "WM_CHANGE_STATE",
    "_MOTIF_WM_HINTS",
};

// The connection whose X errors this thread records.
thread_local X11Connection* current = nullptr;
static_assert(std::is_trivially_destructible<decltype(current)>::value,
              "thread_local needs no destructor");

// Xlib keeps one handler of each kind per process; other displays keep theirs.
std::atomic<xlib::ErrorHandler> chained{nullptr};
std::atomic<xlib::IOErrorHandler> chainedIO{nullptr};

// Xlib frees the property data; format-32 items arrive as longs.
struct Property {
  const xlib::Api& x;
  unsigned char* data = nullptr;
  unsigned long count = 0;
  xlib::Atom type = 0;
  ~Property() {
    if (data) x.XFree(data);
  }
};

bool Read(const xlib::Api& x, xlib::Display* display, xlib::Window window, xlib::Atom property,
          long maxLongs, int format, Property& out) {
  int actualFormat = 0;
  unsigned long bytesAfter = 0;
  const int status =
      x.XGetWindowProperty(display, window, property, 0, maxLongs, 0, 0 /* any type */, &out.type,
                           &actualFormat, &out.count, &bytesAfter, &out.data);
  return status == xlib::kSuccess && out.data && actualFormat == format;
}

}  // namespace

std::unique_ptr<X11Connection> X11Connection::Open(const xlib::Api& api) {
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) return nullptr;
  static std::mutex opening;  // Xlib's set-up touches process-wide state
  std::lock_guard<std::mutex> lock(opening);
  xlib::Display* display = api.XOpenDisplay(name);
  if (!display) return nullptr;
  return std::unique_ptr<X11Connection>(new X11Connection(api, display));
}

X11Connection::X11Connection(const xlib::Api& api, xlib::Display* display)
    : x(api), display_(display), root_(api.XDefaultRootWindow(display)) {
  x.XSetIOErrorExitHandler(display_, &OnLost, this);
  // Programs the module starts must not inherit the connection.
  const int fd = x.XConnectionNumber(display_);
  fcntl(fd, F_SETFD, fcntl(fd, F_GETFD) | FD_CLOEXEC);
  Use use(*this);
  x.XInternAtoms(display_, const_cast<char**>(kAtomNames), kAtomCount, 0, atoms_);
  Refresh();
}

X11Connection::~X11Connection() {
  Use use(*this);
  x.XCloseDisplay(display_);
}

X11Connection::Use::Use(X11Connection& connection) {
  current = &connection;
  // Re-armed at every use: a handler set since then is kept for its displays.
  const xlib::ErrorHandler before = connection.x.XSetErrorHandler(&OnError);
  if (before != &OnError) chained.store(before);
  const xlib::IOErrorHandler beforeIO = connection.x.XSetIOErrorHandler(&OnIOError);
  if (beforeIO != &OnIOError) chainedIO.store(beforeIO);
}

X11Connection::Use::~Use() { current = nullptr; }

int X11Connection::OnError(xlib::Display* display, xlib::ErrorEvent* error) {
  if (current && current->display_ == display) {
    current->error_ = error->error_code;
    return 0;
  }
  const xlib::ErrorHandler next = chained.load();
  return next ? next(display, error) : 0;
}

// Xlib's own handler ends the process; for this module's displays it
// returns, and the display's exit handler marks the connection lost.
int X11Connection::OnIOError(xlib::Display* display) {
  if (current && current->display_ == display) return 0;
  const xlib::IOErrorHandler next = chainedIO.load();
  return next ? next(display) : 0;
}

void X11Connection::OnLost(xlib::Display*, void* self) {
  static_cast<X11Connection*>(self)->lost_ = true;
}

bool X11Connection::Supports(AtomId id) const {
  return std::find(supported_.begin(), supported_.end(), atoms_[id]) != supported_.end();
}

// A manager that left may leave its check property on the root behind: the
// window it names must still exist and name itself.
void X11Connection::Refresh() {
  const unsigned char before = error_;
  const std::vector<unsigned long> check = Items(root_, atoms_[kNetSupportingWmCheck]);
  Window manager = check.empty() ? 0 : check[0];
  if (manager) {
    const std::vector<unsigned long> self = Items(manager, atoms_[kNetSupportingWmCheck]);
    if (self.empty() || self[0] != manager) manager = 0;
  }
  error_ = before;  // a check window gone is an answer, not the caller's error
  if (manager == manager_ && (manager == 0 || !supported_.empty())) return;
  manager_ = manager;
  supported_ = manager ? Items(root_, atoms_[kNetSupported]) : std::vector<unsigned long>{};
}

unsigned char X11Connection::Sync() {
  x.XSync(display_, 0);
  const unsigned char error = error_;
  error_ = 0;
  return error;
}

std::vector<unsigned long> X11Connection::Items(Window window, Atom property) {
  Property value{x};
  if (!Read(x, display_, window, property, 1L << 16, 32, value)) return {};
  const auto* items = reinterpret_cast<const unsigned long*>(value.data);
  return std::vector<unsigned long>(items, items + value.count);
}

std::optional<std::string> X11Connection::Bytes(Window window, Atom property, long maxBytes,
                                                Atom* type) {
  Property value{x};
  if (!Read(x, display_, window, property, (maxBytes + 3) / 4, 8, value)) return std::nullopt;
  *type = value.type;
  const auto* bytes = reinterpret_cast<const char*>(value.data);
  return std::string(bytes,
                     std::min<unsigned long>(value.count, static_cast<unsigned long>(maxBytes)));
}

void X11Connection::SendToRoot(Window window, AtomId message, const long (&data)[5]) {
  xlib::Event event{};
  event.client.type = xlib::kClientMessage;
  event.client.window = window;
  event.client.message_type = atoms_[message];
  event.client.format = 32;
  std::copy(std::begin(data), std::end(data), event.client.data);
  x.XSendEvent(display_, root_, 0, xlib::kSubstructureRedirectMask | xlib::kSubstructureNotifyMask,
               &event);
}

}  // namespace ombrix_addon
