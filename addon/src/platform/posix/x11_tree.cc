#include "platform/posix/x11_tree.h"

#include <utility>

namespace ombrix_addon::x11 {

namespace {

// Frames nest clients a few levels deep; a manager's own panels hold many
// windows, none of them a client.
constexpr int kClientDepth = 4;

bool HasWmState(X11Connection& c, Window window) {
  return !c.Items(window, c.atom(X11Connection::kWmState)).empty();
}

}  // namespace

std::vector<Window> Children(X11Connection& c, Window window) {
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  if (!c.x.XQueryTree(c.display(), window, &root, &parent, &children, &count)) return {};
  std::vector<Window> list(children, children + count);
  if (children) c.x.XFree(children);
  return list;
}

Window TopLevelOf(X11Connection& c, Window window) {
  for (;;) {
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!c.x.XQueryTree(c.display(), window, &root, &parent, &children, &count)) return 0;
    if (children) c.x.XFree(children);
    if (parent == root || parent == 0) return window;
    window = parent;
  }
}

// Breadth first, as the nearest client is the one the frame was made for.
Window ClientIn(X11Connection& c, Window topLevel) {
  std::vector<Window> level{topLevel};
  for (int depth = 0; depth < kClientDepth && !level.empty(); ++depth) {
    std::vector<Window> next;
    for (const Window window : level) {
      if (HasWmState(c, window)) return window;
      for (const Window child : Children(c, window)) next.push_back(child);
    }
    level = std::move(next);
  }
  return 0;
}

}  // namespace ombrix_addon::x11
