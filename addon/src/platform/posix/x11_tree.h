// The window tree as a window manager arranges it: a reparenting manager puts
// each client into a frame of its own, a child of the root, whose place among
// the root's children is the client's place in the stacking order.
#pragma once

#include <vector>

#include "platform/posix/x11_connection.h"

namespace ombrix_addon::x11 {

using Window = X11Connection::Window;

// Bottom first; empty for a window that is gone.
std::vector<Window> Children(X11Connection& c, Window window);
// The child of the root that holds the window (its frame, or the window
// itself when nothing reparented it); 0 for a window that is gone.
Window TopLevelOf(X11Connection& c, Window window);
// The client in a child of the root, as ICCCM tools find it: the window
// itself or the nearest descendant carrying WM_STATE; 0 when none does.
Window ClientIn(X11Connection& c, Window topLevel);

}  // namespace ombrix_addon::x11
