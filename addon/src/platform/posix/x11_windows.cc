#include "platform/posix/x11_windows.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/posix/thread_error.h"

namespace ombrix_addon::x11 {

namespace {

using xlib::Atom;

// WINDOWPLACEMENT as 32-bit fields.
enum PlacementField {
  kLength,
  kFlags,
  kShowCommand,
  kMinX,
  kMinY,
  kMaxX,
  kMaxY,
  kLeft,
  kTop,
  kRight,
  kBottom,
  kFields
};
static_assert(kFields * sizeof(int32_t) == WindowSystem::kPlacementSize, "placement layout");
constexpr int32_t kRestoreToMaximized = 2;  // WPF_RESTORETOMAXIMIZED

// Windows show commands.
enum ShowCommand : int32_t {
  kHide = 0,
  kShowNormal = 1,
  kShowMinimized = 2,
  kShowMaximized = 3,
  kMinimize = 6,
  kShowMinNoActive = 7,
  kRestore = 9,
  kForceMinimize = 11,
};

// ICCCM WM_STATE values.
constexpr unsigned long kNormalState = 1;
constexpr unsigned long kIconicState = 3;
// EWMH source indication of a pager or task switcher, honoured over
// focus-stealing prevention.
constexpr long kSourcePager = 2;
constexpr long kStaticGravity = 10;
// _MOTIF_WM_HINTS: flags, functions, decorations, ...
constexpr unsigned long kMotifDecorationsFlag = 2;
constexpr unsigned long kMotifDecorAll = 1;
constexpr unsigned long kMotifDecorTitle = 8;

constexpr size_t kTitleUnits = 255;
constexpr long kTitleBytes = 1024;  // 255 UTF-16 units take at most 765 UTF-8 bytes

bool Has(const std::vector<unsigned long>& items, Atom atom) {
  return std::find(items.begin(), items.end(), atom) != items.end();
}

std::vector<unsigned long> States(X11Connection& c, Window window) {
  return c.Items(window, c.atom(X11Connection::kNetWmState));
}

bool Maximized(const std::vector<unsigned long>& states, X11Connection& c) {
  return Has(states, c.atom(X11Connection::kNetWmStateMaximizedVert)) &&
         Has(states, c.atom(X11Connection::kNetWmStateMaximizedHorz));
}

bool IsMinimizeCommand(int32_t command) {
  return command == kShowMinimized || command == kMinimize || command == kShowMinNoActive ||
         command == kForceMinimize;
}

std::string Latin1ToUtf8(const std::string& text) {
  std::string utf8;
  for (const unsigned char byte : text) {
    if (byte < 0x80) {
      utf8 += static_cast<char>(byte);
    } else {
      utf8 += static_cast<char>(0xC0 | (byte >> 6));
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

// Whole characters only: one beyond four UTF-8 bytes takes two UTF-16 units.
std::string CutToUtf16Units(const std::string& text, size_t units) {
  size_t used = 0;
  size_t end = 0;
  while (end < text.size()) {
    const unsigned char lead = static_cast<unsigned char>(text[end]);
    const size_t bytes = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    const size_t width = bytes == 4 ? 2 : 1;
    if (used + width > units) break;
    used += width;
    end += std::min(bytes, text.size() - end);
  }
  return text.substr(0, end);
}

std::string LocalHostName() {
  char name[256] = {};
  return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

void SetMaximized(X11Connection& c, Window window, bool maximized) {
  c.SendToRoot(
      window, X11Connection::kNetWmState,
      {maximized ? 1 : 0, static_cast<long>(c.atom(X11Connection::kNetWmStateMaximizedVert)),
       static_cast<long>(c.atom(X11Connection::kNetWmStateMaximizedHorz)), kSourcePager, 0});
}

void Iconify(X11Connection& c, Window window) {
  c.SendToRoot(window, X11Connection::kWmChangeState,
               {static_cast<long>(kIconicState), 0, 0, 0, 0});
}

// ICCCM withdrawal: the unmap plus a synthetic UnmapNotify for the manager.
void Withdraw(X11Connection& c, Window window) {
  c.x.XUnmapWindow(c.display(), window);
  xlib::Event event{};
  event.unmap.type = xlib::kUnmapNotify;
  event.unmap.event = c.root();
  event.unmap.window = window;
  c.x.XSendEvent(c.display(), c.root(), 0,
                 xlib::kSubstructureRedirectMask | xlib::kSubstructureNotifyMask, &event);
}

// X sizes are 15-bit and never empty.
bool Sizable(const int32_t (&fields)[kFields]) {
  const int64_t width = int64_t{fields[kRight]} - fields[kLeft];
  const int64_t height = int64_t{fields[kBottom]} - fields[kTop];
  return width >= 1 && height >= 1 && width <= 0x7FFF && height <= 0x7FFF;
}

// The rectangle is the client area's: frames differ by window manager and by
// state (a maximised window may lose its borders), so a frame rectangle read
// in one state would not give the same window in another.
void MoveResize(X11Connection& c, Window window, const int32_t (&fields)[kFields]) {
  const long width = fields[kRight] - fields[kLeft];
  const long height = fields[kBottom] - fields[kTop];
  if (c.Supports(X11Connection::kNetMoveResizeWindow)) {
    // Static gravity (x and y are the client's own), all four present, from a pager.
    const long flags = kStaticGravity | (0xF << 8) | (kSourcePager << 12);
    c.SendToRoot(window, X11Connection::kNetMoveResizeWindow,
                 {flags, fields[kLeft], fields[kTop], width, height});
  } else {  // no window manager, so no frame
    c.x.XMoveResizeWindow(c.display(), window, fields[kLeft], fields[kTop],
                          static_cast<unsigned>(width), static_cast<unsigned>(height));
  }
}

}  // namespace

bool Exists(X11Connection& c, WindowSystem::Handle handle) {
  if (handle == 0 || handle > 0xFFFFFFFFu) {
    SetThreadError(ESRCH);
    return false;
  }
  xlib::WindowAttributes attributes{};
  return c.x.XGetWindowAttributes(c.display(), static_cast<Window>(handle), &attributes) != 0;
}

std::vector<Window> TopFirst(X11Connection& c) {
  std::vector<Window> windows;
  if (c.Supports(X11Connection::kNetClientListStacking)) {
    windows = c.Items(c.root(), c.atom(X11Connection::kNetClientListStacking));
    std::reverse(windows.begin(), windows.end());  // listed bottom first
    return windows;
  }
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  if (!c.x.XQueryTree(c.display(), c.root(), &root, &parent, &children, &count)) return {};
  for (unsigned int i = count; i-- > 0;) {
    xlib::WindowAttributes attributes{};
    if (c.x.XGetWindowAttributes(c.display(), children[i], &attributes) &&
        !attributes.override_redirect && attributes.map_state == xlib::kIsViewable) {
      windows.push_back(children[i]);
    }
  }
  if (children) c.x.XFree(children);
  return windows;
}

std::string Title(X11Connection& c, Window window) {
  const Atom utf8 = c.atom(X11Connection::kUtf8String);
  Atom type = 0;
  const auto name = c.Bytes(window, c.atom(X11Connection::kNetWmName), kTitleBytes, &type);
  if (name && type == utf8 && !name->empty()) return CutToUtf16Units(*name, kTitleUnits);
  // ICCCM's WM_NAME is Latin-1 unless a client marks it UTF-8.
  const auto legacy = c.Bytes(window, xlib::kWmNameAtom, kTitleBytes, &type);
  if (!legacy) return {};
  return CutToUtf16Units(type == utf8 ? *legacy : Latin1ToUtf8(*legacy), kTitleUnits);
}

bool Shown(X11Connection& c, Window window) {
  const std::vector<unsigned long> state = c.Items(window, c.atom(X11Connection::kWmState));
  if (!state.empty()) return state[0] == kNormalState || state[0] == kIconicState;
  xlib::WindowAttributes attributes{};  // not managed: shown when mapped
  return c.x.XGetWindowAttributes(c.display(), window, &attributes) &&
         attributes.map_state == xlib::kIsViewable;
}

bool Iconic(X11Connection& c, Window window) {
  const std::vector<unsigned long> state = c.Items(window, c.atom(X11Connection::kWmState));
  return (!state.empty() && state[0] == kIconicState) ||
         Has(States(c, window), c.atom(X11Connection::kNetWmStateHidden));
}

bool InAltTab(X11Connection& c, Window window) {
  if (!Shown(c, window)) return false;
  // An owned window is represented by its owner.
  const std::vector<unsigned long> owner = c.Items(window, xlib::kWmTransientForAtom);
  if (!owner.empty() && owner[0] != 0 && owner[0] != window) return false;
  // No title bar: asked for by Motif hints without the title decoration
  // (with "all" set, the other bits name what is left out).
  const std::vector<unsigned long> motif = c.Items(window, c.atom(X11Connection::kMotifWmHints));
  if (motif.size() >= 3 && (motif[0] & kMotifDecorationsFlag)) {
    const unsigned long decorations = motif[2];
    const bool titled = (decorations & kMotifDecorAll) ? !(decorations & kMotifDecorTitle)
                                                       : (decorations & kMotifDecorTitle) != 0;
    if (!titled) return false;
  }
  // The tool windows: skipped by the taskbar, or of a type other than normal
  // and dialog (the first listed type is the one that counts).
  if (Has(States(c, window), c.atom(X11Connection::kNetWmStateSkipTaskbar))) return false;
  const std::vector<unsigned long> types = c.Items(window, c.atom(X11Connection::kNetWmWindowType));
  return types.empty() || types[0] == c.atom(X11Connection::kNetWmWindowTypeNormal) ||
         types[0] == c.atom(X11Connection::kNetWmWindowTypeDialog);
}

void ReadPlacement(X11Connection& c, Window window, WindowSystem::Placement& placement) {
  xlib::WindowAttributes attributes{};
  c.x.XGetWindowAttributes(c.display(), window, &attributes);
  int x = 0;
  int y = 0;
  Window child = 0;
  c.x.XTranslateCoordinates(c.display(), window, c.root(), 0, 0, &x, &y, &child);
  const bool iconic = Iconic(c, window);
  const bool maximized = Maximized(States(c, window), c);
  const int32_t fields[kFields] = {static_cast<int32_t>(WindowSystem::kPlacementSize),
                                   iconic && maximized ? kRestoreToMaximized : 0,
                                   iconic      ? kShowMinimized
                                   : maximized ? kShowMaximized
                                               : kShowNormal,
                                   -1,
                                   -1,
                                   -1,
                                   -1,  // no minimised or maximised position of its own
                                   x,
                                   y,
                                   x + attributes.width,
                                   y + attributes.height};
  std::memcpy(placement.data(), fields, sizeof fields);
}

bool WritePlacement(X11Connection& c, Window window, const WindowSystem::Placement& placement) {
  int32_t fields[kFields];
  std::memcpy(fields, placement.data(), sizeof fields);
  const int32_t command = fields[kShowCommand];
  const bool minimize = IsMinimizeCommand(command);
  const bool maximize =
      command == kShowMaximized || (minimize && (fields[kFlags] & kRestoreToMaximized));
  // EWMH keeps no size to restore to: a maximised placement's rectangle is not applied.
  if (!maximize && !Sizable(fields)) {
    SetThreadError(EINVAL);
    return false;
  }
  SetMaximized(c, window, maximize);
  if (!maximize) MoveResize(c, window, fields);
  if (command == kHide) {
    Withdraw(c, window);
  } else if (minimize) {
    Iconify(c, window);
  } else {
    c.x.XMapWindow(c.display(), window);
  }
  return true;
}

bool Show(X11Connection& c, Window window, int32_t command) {
  const bool wasShown = Shown(c, window);
  if (command == kHide) {
    Withdraw(c, window);
  } else if (IsMinimizeCommand(command)) {
    Iconify(c, window);
  } else if (command == kShowMaximized) {
    SetMaximized(c, window, true);
    c.x.XMapWindow(c.display(), window);
  } else if ((command == kShowNormal || command == kRestore) && !Iconic(c, window)) {
    SetMaximized(c, window, false);
  } else {
    // Mapping a minimised window restores it, to the maximised state if it was.
    c.x.XMapWindow(c.display(), window);
  }
  return wasShown;
}

void RestoreIfIconic(X11Connection& c, Window window) {
  if (Iconic(c, window)) c.x.XMapWindow(c.display(), window);
}

uint32_t ProcessOf(X11Connection& c, Window window) {
  const std::vector<unsigned long> pid = c.Items(window, c.atom(X11Connection::kNetWmPid));
  if (pid.empty()) {
    SetThreadError(ENOENT);
    return 0;
  }
  // The id is one of the machine the client runs on.
  Atom type = 0;
  const auto machine = c.Bytes(window, xlib::kWmClientMachineAtom, 256, &type);
  if (machine && *machine != LocalHostName()) {
    SetThreadError(EREMOTE);
    return 0;
  }
  return static_cast<uint32_t>(pid[0]);
}

Window Active(X11Connection& c) {
  if (c.Supports(X11Connection::kNetActiveWindow)) {
    const std::vector<unsigned long> active =
        c.Items(c.root(), c.atom(X11Connection::kNetActiveWindow));
    return active.empty() ? 0 : active[0];
  }
  Window focus = 0;
  int revert = 0;
  c.x.XGetInputFocus(c.display(), &focus, &revert);
  return focus > 1 && focus != c.root() ? focus : 0;  // 0 is None, 1 PointerRoot
}

void RequestActive(X11Connection& c, Window window) {
  c.SendToRoot(window, X11Connection::kNetActiveWindow,
               {kSourcePager, 0 /* CurrentTime */, 0, 0, 0});
}

void RaiseAndFocus(X11Connection& c, Window window) {
  c.x.XRaiseWindow(c.display(), window);
  c.x.XSetInputFocus(c.display(), window, xlib::kRevertToParent, 0 /* CurrentTime */);
}

}  // namespace ombrix_addon::x11
