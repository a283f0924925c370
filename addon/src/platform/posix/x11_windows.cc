#include "platform/posix/x11_windows.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "platform/posix/thread_error.h"
#include "platform/posix/x11_text.h"
#include "platform/posix/x11_tree.h"

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
constexpr long kNorthWestGravity = 1;
constexpr long kStaticGravity = 10;
constexpr unsigned long kAllDesktops = 0xFFFFFFFF;
// _MOTIF_WM_HINTS: flags, functions, decorations, ...
constexpr unsigned long kMotifDecorationsFlag = 2;
constexpr unsigned long kMotifDecorAll = 1;
constexpr unsigned long kMotifDecorTitle = 8;

constexpr size_t kTitleUnits = 255;
// 255 UTF-16 units take at most 765 bytes of UTF-8 and fewer of the others;
// an invalid byte is one unit.
constexpr long kTitleBytes = 1024;

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

// ICCCM's WM_NAME may be of any text type: STRING is Latin-1, and Xlib
// decodes COMPOUND_TEXT (xterm's titles beyond Latin-1) and the rest.
std::string Decoded(X11Connection& c, const std::string& bytes, Atom type) {
  if (type == c.atom(X11Connection::kUtf8String)) return ValidUtf8(bytes);
  if (type == xlib::kStringAtom) return Latin1ToUtf8(bytes);
  xlib::TextProperty property{reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.c_str())),
                              type, 8, bytes.size()};
  char** list = nullptr;
  int count = 0;
  // A positive status counts characters Xlib could not convert and replaced.
  const int status = c.x.Xutf8TextPropertyToTextList(c.display(), &property, &list, &count);
  std::string text = status >= 0 && list && count > 0 ? ValidUtf8(list[0]) : Latin1ToUtf8(bytes);
  if (list) c.x.XFreeStringList(list);
  return text;
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

struct Point {
  int x = 0;
  int y = 0;
};

// Where the client area's top-left corner is on the screen.
Point ClientOrigin(X11Connection& c, Window window) {
  Point origin;
  Window child = 0;
  c.x.XTranslateCoordinates(c.display(), window, c.root(), 0, 0, &origin.x, &origin.y, &child);
  return origin;
}

// How far the client area lies from the point a move request places. An
// unframed window is placed by its outer corner, past its border. Framed,
// EWMH managers place the frame's outer corner for north-west gravity;
// managers without EWMH that reparent (twm) place the frame's inside corner,
// past the frame's border, and the title bar then follows.
Point RequestOffset(X11Connection& c, Window window, bool ewmh) {
  const Window top = TopLevelOf(c, window);
  xlib::WindowAttributes attributes{};
  if (!top || !c.x.XGetWindowAttributes(c.display(), top, &attributes)) return {};
  if (top == window) return {attributes.border_width, attributes.border_width};
  const Point origin = ClientOrigin(c, window);
  const int frame = ewmh ? 0 : attributes.border_width;
  return {origin.x - attributes.x - frame, origin.y - attributes.y - frame};
}

// The rectangle is the client area's: frames differ by window manager and by
// state (a maximised window may lose its borders), so a frame rectangle read
// in one state would not give the same window in another. The request is
// made for where the frame must go, so that what is read back is what was
// written. A maximised window's frame is not the one it will have, so it is
// placed by its client area directly (static gravity), which openbox and
// fluxbox offset by the border width the client first asked for.
void MoveResize(X11Connection& c, Window window, const int32_t (&fields)[kFields]) {
  const long width = fields[kRight] - fields[kLeft];
  const long height = fields[kBottom] - fields[kTop];
  const bool ewmh = c.Supports(X11Connection::kNetMoveResizeWindow);
  const bool reframed = ewmh && Maximized(States(c, window), c);
  const Point offset = reframed ? Point{} : RequestOffset(c, window, ewmh);
  const long x = fields[kLeft] - offset.x;
  const long y = fields[kTop] - offset.y;
  if (ewmh) {
    // All four present, from a pager.
    const long flags =
        (reframed ? kStaticGravity : kNorthWestGravity) | (0xF << 8) | (kSourcePager << 12);
    c.SendToRoot(window, X11Connection::kNetMoveResizeWindow, {flags, x, y, width, height});
  } else {
    c.x.XMoveResizeWindow(c.display(), window, static_cast<int>(x), static_cast<int>(y),
                          static_cast<unsigned>(width), static_cast<unsigned>(height));
  }
}

unsigned long First(const std::vector<unsigned long>& items, unsigned long otherwise) {
  return items.empty() ? otherwise : items[0];
}

unsigned long CurrentDesktop(X11Connection& c) {
  return First(c.Items(c.root(), c.atom(X11Connection::kNetCurrentDesktop)), kAllDesktops);
}

// The desktop to switch to for the window to be seen; kAllDesktops when none.
unsigned long DesktopToShow(X11Connection& c, Window window) {
  const unsigned long desktop =
      First(c.Items(window, c.atom(X11Connection::kNetWmDesktop)), kAllDesktops);
  const unsigned long current = CurrentDesktop(c);
  return desktop == kAllDesktops || current == kAllDesktops || desktop == current ? kAllDesktops
                                                                                  : desktop;
}

// The manager's list, bottom first.
std::vector<Window> ListedClients(X11Connection& c) {
  return c.Items(c.root(), c.atom(c.Supports(X11Connection::kNetClientListStacking)
                                      ? X11Connection::kNetClientListStacking
                                      : X11Connection::kNetClientList));
}

void SwitchDesktop(X11Connection& c, unsigned long desktop) {
  c.SendToRoot(c.root(), X11Connection::kNetCurrentDesktop,
               {static_cast<long>(desktop), 0 /* CurrentTime */, 0, 0, 0});
}

void AskActive(X11Connection& c, Window window) {
  c.SendToRoot(window, X11Connection::kNetActiveWindow,
               {kSourcePager, 0 /* CurrentTime */, 0, 0, 0});
}

bool MappedUnmanaged(X11Connection& c, Window window) {
  xlib::WindowAttributes attributes{};
  return c.x.XGetWindowAttributes(c.display(), window, &attributes) &&
         !attributes.override_redirect && attributes.map_state == xlib::kIsViewable;
}

// The listed clients top first in the order their frames are stacked on
// screen: some managers update the stacking hint late or never. The hint's
// own order stands where a client's frame is not among the root's children
// (a virtual root), and between clients that share a frame (fluxbox's tabs).
std::vector<Window> ByFrames(X11Connection& c, const std::vector<Window>& listed) {
  std::unordered_map<Window, size_t> height;
  const std::vector<Window> frames = Children(c, c.root());
  for (size_t i = 0; i < frames.size(); ++i) height[frames[i]] = i;
  std::vector<std::pair<size_t, Window>> ranked;
  for (const Window window : listed) {
    const Window top = TopLevelOf(c, window);
    if (!top) continue;  // gone since the list was read
    const auto frame = height.find(top);
    if (frame == height.end()) return {listed.rbegin(), listed.rend()};
    ranked.emplace_back(frame->second, window);
  }
  // Later in the hint is higher, so among equals too.
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<Window> windows;
  for (auto it = ranked.rbegin(); it != ranked.rend(); ++it) windows.push_back(it->second);
  return windows;
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
  if (c.Supports(X11Connection::kNetClientListStacking) ||
      c.Supports(X11Connection::kNetClientList)) {
    return ByFrames(c, ListedClients(c));
  }
  // Without the lists: the clients in the root's children, or a child itself
  // where no manager framed it.
  std::vector<Window> windows;
  const std::vector<Window> children = Children(c, c.root());
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    const Window client = ClientIn(c, *child);
    if (client ? Shown(c, client) : MappedUnmanaged(c, *child)) {
      windows.push_back(client ? client : *child);
    }
  }
  return windows;
}

std::string Title(X11Connection& c, Window window) {
  const Atom utf8 = c.atom(X11Connection::kUtf8String);
  Atom type = 0;
  const auto name = c.Bytes(window, c.atom(X11Connection::kNetWmName), kTitleBytes, &type);
  if (name && type == utf8 && !name->empty()) return CutToUtf16Units(ValidUtf8(*name), kTitleUnits);
  const auto legacy = c.Bytes(window, xlib::kWmNameAtom, kTitleBytes, &type);
  return legacy ? CutToUtf16Units(Decoded(c, *legacy, type), kTitleUnits) : std::string();
}

// WM_STATE is the manager's word, but a client that unmapped itself has
// withdrawn although some managers leave the state Normal (fluxbox).
bool Shown(X11Connection& c, Window window) {
  const std::vector<unsigned long> state = c.Items(window, c.atom(X11Connection::kWmState));
  if (!state.empty() && state[0] == kIconicState) return true;
  xlib::WindowAttributes attributes{};
  if (!c.x.XGetWindowAttributes(c.display(), window, &attributes)) return false;
  if (!state.empty()) return state[0] == kNormalState && attributes.map_state != xlib::kIsUnmapped;
  return attributes.map_state == xlib::kIsViewable;  // not managed: shown when mapped
}

// Managers that speak EWMH mark minimised windows hidden, and some set
// WM_STATE Iconic for windows on other desktops too (openbox, fluxbox).
bool Iconic(X11Connection& c, Window window) {
  if (c.Supports(X11Connection::kNetWmStateHidden)) {
    return Has(States(c, window), c.atom(X11Connection::kNetWmStateHidden));
  }
  const std::vector<unsigned long> state = c.Items(window, c.atom(X11Connection::kWmState));
  return !state.empty() && state[0] == kIconicState && DesktopToShow(c, window) == kAllDesktops;
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

// A window on another desktop is seen only once that desktop is: switched
// to first, as a task switcher does, since not every manager does it itself.
void RequestActive(X11Connection& c, Window window) {
  const unsigned long desktop = DesktopToShow(c, window);
  if (desktop != kAllDesktops) SwitchDesktop(c, desktop);
  AskActive(c, window);
}

Desktop Remember(X11Connection& c) {
  Desktop state;
  state.active = Active(c);
  state.desktop = CurrentDesktop(c);
  int revert = 0;
  c.x.XGetInputFocus(c.display(), &state.focus, &revert);
  return state;
}

void Restore(X11Connection& c, const Desktop& state) {
  if (state.desktop != kAllDesktops && CurrentDesktop(c) != state.desktop) {
    SwitchDesktop(c, state.desktop);
  }
  if (state.focus > 1) {  // 0 is None, 1 PointerRoot
    c.x.XSetInputFocus(c.display(), state.focus, xlib::kRevertToParent, 0 /* CurrentTime */);
  }
  if (state.active && c.Supports(X11Connection::kNetActiveWindow)) AskActive(c, state.active);
}

void RaiseAndFocus(X11Connection& c, Window window) {
  c.x.XRaiseWindow(c.display(), window);
  c.x.XSetInputFocus(c.display(), window, xlib::kRevertToParent, 0 /* CurrentTime */);
}

}  // namespace ombrix_addon::x11
