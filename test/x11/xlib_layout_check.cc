// Compiled where X11's headers are installed: the module's own Xlib
// declarations must lay out and number everything as <X11/Xlib.h> does.
// Ours first: Xlib's headers define Bool and Status as macros.
#include "platform/posix/xlib_api.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstddef>

namespace xlib = ombrix_addon::xlib;

#define SAME_FIELD(ours, theirs, ourField, theirField)                      \
  static_assert(offsetof(ours, ourField) == offsetof(theirs, theirField) && \
                    sizeof(ours::ourField) == sizeof(theirs::theirField),   \
                #ourField)

static_assert(sizeof(xlib::ErrorEvent) == sizeof(XErrorEvent), "XErrorEvent");
SAME_FIELD(xlib::ErrorEvent, XErrorEvent, display, display);
SAME_FIELD(xlib::ErrorEvent, XErrorEvent, error_code, error_code);

static_assert(sizeof(xlib::WindowAttributes) == sizeof(XWindowAttributes), "XWindowAttributes");
SAME_FIELD(xlib::WindowAttributes, XWindowAttributes, width, width);
SAME_FIELD(xlib::WindowAttributes, XWindowAttributes, height, height);
SAME_FIELD(xlib::WindowAttributes, XWindowAttributes, map_state, map_state);
SAME_FIELD(xlib::WindowAttributes, XWindowAttributes, override_redirect, override_redirect);

SAME_FIELD(xlib::ClientMessageEvent, XClientMessageEvent, window, window);
SAME_FIELD(xlib::ClientMessageEvent, XClientMessageEvent, message_type, message_type);
SAME_FIELD(xlib::ClientMessageEvent, XClientMessageEvent, format, format);
SAME_FIELD(xlib::ClientMessageEvent, XClientMessageEvent, data, data.l);
SAME_FIELD(xlib::UnmapEvent, XUnmapEvent, event, event);
SAME_FIELD(xlib::UnmapEvent, XUnmapEvent, window, window);
SAME_FIELD(xlib::UnmapEvent, XUnmapEvent, from_configure, from_configure);
static_assert(sizeof(xlib::Event) == sizeof(XEvent), "XEvent");
static_assert(sizeof(xlib::TextProperty) == sizeof(XTextProperty), "XTextProperty");
SAME_FIELD(xlib::TextProperty, XTextProperty, value, value);
SAME_FIELD(xlib::TextProperty, XTextProperty, encoding, encoding);
SAME_FIELD(xlib::TextProperty, XTextProperty, format, format);
SAME_FIELD(xlib::TextProperty, XTextProperty, nitems, nitems);

static_assert(xlib::kBadWindow == BadWindow && xlib::kBadMatch == BadMatch &&
                  xlib::kBadDrawable == BadDrawable && xlib::kUnmapNotify == UnmapNotify &&
                  xlib::kClientMessage == ClientMessage && xlib::kIsViewable == IsViewable &&
                  xlib::kIsUnmapped == IsUnmapped && xlib::kRevertToParent == RevertToParent &&
                  xlib::kPropModeReplace == PropModeReplace && xlib::kSuccess == Success &&
                  xlib::kSubstructureNotifyMask == SubstructureNotifyMask &&
                  xlib::kSubstructureRedirectMask == SubstructureRedirectMask,
              "constants");
static_assert(xlib::kAtomAtom == XA_ATOM && xlib::kCardinalAtom == XA_CARDINAL &&
                  xlib::kStringAtom == XA_STRING && xlib::kWindowAtom == XA_WINDOW &&
                  xlib::kWmClientMachineAtom == XA_WM_CLIENT_MACHINE &&
                  xlib::kWmHintsAtom == XA_WM_HINTS && xlib::kWmNameAtom == XA_WM_NAME &&
                  xlib::kWmTransientForAtom == XA_WM_TRANSIENT_FOR,
              "predefined atoms");
