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

// XQueryTree's answer, the parent 0 when it is the root; false for a window
// that is gone.
bool Query(X11Connection& c, Window window, Window* parent, std::vector<Window>* children) {
  Window root = 0;
  Window* list = nullptr;
  unsigned int count = 0;
  if (!c.x.XQueryTree(c.display(), window, &root, parent, &list, &count)) return false;
  if (children) children->assign(list, list + count);
  if (list) c.x.XFree(list);
  if (*parent == root) *parent = 0;
  return true;
}

}  // namespace

std::vector<Window> Children(X11Connection& c, Window window) {
  Window parent = 0;
  std::vector<Window> children;
  Query(c, window, &parent, &children);
  return children;
}

Window TopLevelOf(X11Connection& c, Window window) {
  for (Window parent = 0;; window = parent) {
    if (!Query(c, window, &parent, nullptr)) return 0;
    if (parent == 0) return window;  // its parent is the root
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
