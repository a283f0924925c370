// Top-level windows of an X11 desktop through the window manager conventions
// (EWMH, ICCCM), in the terms GuiTool uses on Windows: "visible" is managed
// (normal or minimised), the owner is WM_TRANSIENT_FOR, placements are the
// Windows WINDOWPLACEMENT layout. Failures not raised as X errors set the
// thread's last error.
#pragma once

#include <string>
#include <vector>

#include "platform/posix/x11_connection.h"
#include "window_system.h"

namespace ombrix_addon::x11 {

using Window = X11Connection::Window;

// Handles beyond 32 bits, and 0, name no X window.
bool Exists(X11Connection& c, WindowSystem::Handle handle);
// Clients top first (the root's children when no window manager lists them).
std::vector<Window> TopFirst(X11Connection& c);
// UTF-8, cut to 255 UTF-16 units as on Windows; empty when untitled.
std::string Title(X11Connection& c, Window window);
bool Shown(X11Connection& c, Window window);
bool Iconic(X11Connection& c, Window window);
bool InAltTab(X11Connection& c, Window window);
void ReadPlacement(X11Connection& c, Window window, WindowSystem::Placement& placement);
// False without a request when the rectangle is empty.
bool WritePlacement(X11Connection& c, Window window, const WindowSystem::Placement& placement);
// A Windows show command; returns whether the window was shown before.
bool Show(X11Connection& c, Window window, int32_t command);
// Restores a minimised window, to the maximised state if it was.
void RestoreIfIconic(X11Connection& c, Window window);
// 0 when the window names no process of this machine.
uint32_t ProcessOf(X11Connection& c, Window window);
// 0 when no window is active.
Window Active(X11Connection& c);
// Asks the window manager, as a pager or task switcher would.
void RequestActive(X11Connection& c, Window window);
// What an activation changes, to put back when it fails.
struct Desktop {
  Window active = 0;
  Window focus = 0;
  unsigned long desktop = 0;
};
Desktop Remember(X11Connection& c);
void Restore(X11Connection& c, const Desktop& state);
// Raises the window and gives it the input focus without the window manager.
void RaiseAndFocus(X11Connection& c, Window window);

}  // namespace ombrix_addon::x11
