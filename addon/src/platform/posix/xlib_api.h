// The few Xlib types and functions the X11 backend (and its test client)
// uses, declared here and resolved from libX11.so.6 at run time: neither
// building nor installing the module needs X11 development files, and a
// machine without X11 still loads it. Layouts are those of <X11/Xlib.h>
// (test/x11/xlib_layout_check.cc compares them where the headers exist).
#pragma once

namespace ombrix_addon::xlib {

struct Display;  // opaque
using XID = unsigned long;
using Window = XID;
using Atom = unsigned long;
using Time = unsigned long;
using Bool = int;
using Status = int;

struct ErrorEvent {
  int type;
  Display* display;
  XID resourceid;
  unsigned long serial;
  unsigned char error_code;
  unsigned char request_code;
  unsigned char minor_code;
};

struct WindowAttributes {
  int x, y;
  int width, height;
  int border_width;
  int depth;
  void* visual;
  Window root;
  int c_class;  // "class" in C
  int bit_gravity;
  int win_gravity;
  int backing_store;
  unsigned long backing_planes;
  unsigned long backing_pixel;
  Bool save_under;
  XID colormap;
  Bool map_installed;
  int map_state;
  long all_event_masks;
  long your_event_mask;
  long do_not_propagate_mask;
  Bool override_redirect;
  void* screen;
};

struct ClientMessageEvent {
  int type;
  unsigned long serial;
  Bool send_event;
  Display* display;
  Window window;
  Atom message_type;
  int format;
  long data[5];
};

struct UnmapEvent {
  int type;
  unsigned long serial;
  Bool send_event;
  Display* display;
  Window event;
  Window window;
  Bool from_configure;
};

struct TextProperty {
  unsigned char* value;
  Atom encoding;
  int format;
  unsigned long nitems;
};

union Event {
  int type;
  ClientMessageEvent client;
  UnmapEvent unmap;
  long pad[24];
};

using ErrorHandler = int (*)(Display*, ErrorEvent*);
using IOErrorHandler = int (*)(Display*);
using IOErrorExitHandler = void (*)(Display*, void*);

constexpr int kSuccess = 0;
constexpr unsigned char kBadWindow = 3;
constexpr unsigned char kBadMatch = 8;
constexpr unsigned char kBadDrawable = 9;
constexpr int kUnmapNotify = 18;
constexpr int kClientMessage = 33;
constexpr int kIsUnmapped = 0;
constexpr int kIsViewable = 2;
constexpr int kRevertToParent = 2;
constexpr int kPropModeReplace = 0;
constexpr long kSubstructureNotifyMask = 1L << 19;
constexpr long kSubstructureRedirectMask = 1L << 20;
// Predefined atoms.
constexpr Atom kAtomAtom = 4;
constexpr Atom kCardinalAtom = 6;
constexpr Atom kStringAtom = 31;
constexpr Atom kWindowAtom = 33;
constexpr Atom kWmClientMachineAtom = 36;
constexpr Atom kWmHintsAtom = 35;
constexpr Atom kWmNameAtom = 39;
constexpr Atom kWmTransientForAtom = 68;

#define OMBRIX_XLIB_FUNCTIONS(X)                                                                  \
  X(Display*, XOpenDisplay, (const char*))                                                        \
  X(int, XCloseDisplay, (Display*))                                                               \
  X(Window, XDefaultRootWindow, (Display*))                                                       \
  X(int, XConnectionNumber, (Display*))                                                           \
  X(ErrorHandler, XSetErrorHandler, (ErrorHandler))                                               \
  X(IOErrorHandler, XSetIOErrorHandler, (IOErrorHandler))                                         \
  X(void, XSetIOErrorExitHandler, (Display*, IOErrorExitHandler, void*))                          \
  X(Status, XInternAtoms, (Display*, char**, int, Bool, Atom*))                                   \
  X(int, XGetWindowProperty,                                                                      \
    (Display*, Window, Atom, long, long, Bool, Atom, Atom*, int*, unsigned long*, unsigned long*, \
     unsigned char**))                                                                            \
  X(int, XChangeProperty, (Display*, Window, Atom, Atom, int, int, const unsigned char*, int))    \
  X(int, XFree, (void*))                                                                          \
  X(Status, XGetWindowAttributes, (Display*, Window, WindowAttributes*))                          \
  X(Bool, XTranslateCoordinates, (Display*, Window, Window, int, int, int*, int*, Window*))       \
  X(Status, XQueryTree, (Display*, Window, Window*, Window*, Window**, unsigned int*))            \
  X(Status, XSendEvent, (Display*, Window, Bool, long, Event*))                                   \
  X(int, XSync, (Display*, Bool))                                                                 \
  X(int, XFlush, (Display*))                                                                      \
  X(int, XPending, (Display*))                                                                    \
  X(int, XNextEvent, (Display*, Event*))                                                          \
  X(Window, XCreateSimpleWindow,                                                                  \
    (Display*, Window, int, int, unsigned, unsigned, unsigned, unsigned long, unsigned long))     \
  X(int, XDestroyWindow, (Display*, Window))                                                      \
  X(int, XMapWindow, (Display*, Window))                                                          \
  X(int, XUnmapWindow, (Display*, Window))                                                        \
  X(int, XRaiseWindow, (Display*, Window))                                                        \
  X(int, XMoveResizeWindow, (Display*, Window, int, int, unsigned, unsigned))                     \
  X(int, XSetInputFocus, (Display*, Window, int, Time))                                           \
  X(int, XGetInputFocus, (Display*, Window*, int*))                                               \
  X(int, Xutf8TextPropertyToTextList, (Display*, const TextProperty*, char***, int*))             \
  X(void, XFreeStringList, (char**))

struct Api {
#define OMBRIX_XLIB_MEMBER(result, name, parameters) result(*name) parameters = nullptr;
  OMBRIX_XLIB_FUNCTIONS(OMBRIX_XLIB_MEMBER)
#undef OMBRIX_XLIB_MEMBER
};

// Loaded once; null when libX11.so.6 is missing or too old (no
// XSetIOErrorExitHandler, so a lost server would end the process).
const Api* Load();

}  // namespace ombrix_addon::xlib
