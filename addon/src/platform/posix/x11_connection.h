// One connection to the X server named by DISPLAY, with the atoms the window
// queries need. A connection is used by one thread at a time. X errors of its
// requests are recorded, never fatal; a lost server marks it lost instead of
// ending the process.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/xlib_api.h"

namespace ombrix_addon {

class X11Connection {
 public:
  using Window = xlib::Window;
  using Atom = xlib::Atom;

  // Interned at open, in this order.
  enum AtomId {
    kNetSupported,
    kNetSupportingWmCheck,
    kNetClientList,
    kNetClientListStacking,
    kNetCurrentDesktop,
    kNetWmDesktop,
    kNetActiveWindow,
    kNetWmName,
    kUtf8String,
    kNetWmPid,
    kNetWmState,
    kNetWmStateHidden,
    kNetWmStateMaximizedVert,
    kNetWmStateMaximizedHorz,
    kNetWmStateSkipTaskbar,
    kNetWmWindowType,
    kNetWmWindowTypeNormal,
    kNetWmWindowTypeDialog,
    kNetMoveResizeWindow,
    kWmState,
    kWmChangeState,
    kMotifWmHints,
    kAtomCount
  };

  // Null when DISPLAY is unset or no server answers there.
  static std::unique_ptr<X11Connection> Open(const xlib::Api& api);
  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  // Routes the X errors of this thread's requests on this connection to it
  // while alive; another display's errors go to the handlers installed before.
  class Use {
   public:
    explicit Use(X11Connection& connection);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
  };

  const xlib::Api& x;
  xlib::Display* display() const { return display_; }
  Window root() const { return root_; }
  Atom atom(AtomId id) const { return atoms_[id]; }
  bool lost() const { return lost_; }
  // Whether the window manager lists the atom in _NET_SUPPORTED.
  bool Supports(AtomId id) const;
  // Follows the window manager, which may start after the connection, leave
  // or be replaced: what Supports() answers is re-read when it changes.
  void Refresh();

  // Waits for the requests so far; returns the last X error code they (or
  // earlier unclaimed requests) raised and forgets it; 0 when none.
  unsigned char Sync();

  // The format-32 items of a property (any type); empty when unset.
  std::vector<unsigned long> Items(Window window, Atom property);
  // The bytes of a format-8 property and its type, at most maxBytes of them.
  std::optional<std::string> Bytes(Window window, Atom property, long maxBytes, Atom* type);
  // Sends a client message about `window` to the root window, where the
  // window manager listens.
  void SendToRoot(Window window, AtomId message, const long (&data)[5]);

 private:
  X11Connection(const xlib::Api& api, xlib::Display* display);
  static int OnError(xlib::Display* display, xlib::ErrorEvent* error);
  static int OnIOError(xlib::Display* display);
  static void OnLost(xlib::Display* display, void* self);

  xlib::Display* const display_;
  const Window root_;
  Atom atoms_[kAtomCount] = {};
  Window manager_ = 0;  // its _NET_SUPPORTING_WM_CHECK window
  std::vector<unsigned long> supported_;
  unsigned char error_ = 0;
  bool lost_ = false;
};

}  // namespace ombrix_addon
