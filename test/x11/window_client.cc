// Test program: an X11 client that owns top-level windows for the GuiTool
// suite, as another application would. It reads commands, one a line:
//   create type=normal|dialog|utility owner=<id> skip=0|1 decor=0|1 name=net|wm visible=0|1
//          input=0|1 override=0|1 title=<rest>
//     -> the new window's id, once the window manager manages it (at once when hidden)
//   destroy <id> -> 1
// and ends at the end of its input. `window_client --wait-wm` instead waits
// for an EWMH window manager on DISPLAY (exit 0) or gives up (exit 1).
#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/xlib_api.h"

namespace {

namespace xlib = ombrix_addon::xlib;

const xlib::Api* x = nullptr;
xlib::Display* display = nullptr;
xlib::Window root = 0;

xlib::Atom Intern(const std::string& name) {
  char* names[] = {const_cast<char*>(name.c_str())};
  xlib::Atom atom = 0;
  x->XInternAtoms(display, names, 1, 0, &atom);
  return atom;
}

bool HasProperty(xlib::Window window, const char* name) {
  xlib::Atom type = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  x->XGetWindowProperty(display, window, Intern(name), 0, 1, 0, 0, &type, &format, &count, &after,
                        &data);
  if (data) x->XFree(data);
  return type != 0;
}

// Polls: the test waits for windows, so this program may too.
bool WaitFor(xlib::Window window, const char* property) {
  for (int i = 0; i < 1000; ++i) {
    if (HasProperty(window, property)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

void SetText(xlib::Window window, xlib::Atom property, xlib::Atom type, const std::string& text) {
  x->XChangeProperty(display, window, property, type, 8, xlib::kPropModeReplace,
                     reinterpret_cast<const unsigned char*>(text.data()),
                     static_cast<int>(text.size()));
}

void SetLongs(xlib::Window window, xlib::Atom property, xlib::Atom type,
              const std::vector<long>& items) {
  x->XChangeProperty(display, window, property, type, 32, xlib::kPropModeReplace,
                     reinterpret_cast<const unsigned char*>(items.data()),
                     static_cast<int>(items.size()));
}

std::string Utf8ToLatin1(const std::string& text) {
  std::string latin1;
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if ((c == 0xC2 || c == 0xC3) && i + 1 < text.size()) {
      latin1 += static_cast<char>(((c & 0x03) << 6) | (text[++i] & 0x3F));
    } else {
      latin1 += static_cast<char>(c);
    }
  }
  return latin1;
}

// XSetWindowAttributes of <X11/Xlib.h>; the module itself never sets any.
struct SetWindowAttributes {
  unsigned long background_pixmap, background_pixel, border_pixmap, border_pixel;
  int bit_gravity, win_gravity, backing_store;
  unsigned long backing_planes, backing_pixel;
  int save_under;
  long event_mask, do_not_propagate_mask;
  int override_redirect;
  unsigned long colormap, cursor;
};

// override=1: a window no manager manages, as menus and tooltips are.
void SetOverrideRedirect(xlib::Window window) {
  using Change = int (*)(xlib::Display*, xlib::Window, unsigned long, SetWindowAttributes*);
  void* library = dlopen("libX11.so.6", RTLD_NOW | RTLD_NOLOAD);
  const auto change = reinterpret_cast<Change>(dlsym(library, "XChangeWindowAttributes"));
  SetWindowAttributes attributes{};
  attributes.override_redirect = 1;
  change(display, window, 1L << 9 /* CWOverrideRedirect */, &attributes);
}

xlib::Window Create(const std::map<std::string, std::string>& options, const std::string& title) {
  const xlib::Window window =
      x->XCreateSimpleWindow(display, root, 100, 100, 320, 200, 0, 0, 0xFFFFFF);
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  SetText(window, xlib::kWmClientMachineAtom, xlib::kStringAtom, host);
  SetLongs(window, Intern("_NET_WM_PID"), xlib::kCardinalAtom, {static_cast<long>(getpid())});
  // input=0: a window that never takes the keyboard focus (and has no WM_TAKE_FOCUS).
  SetLongs(window, xlib::kWmHintsAtom, xlib::kWmHintsAtom,
           {1 /* InputHint */, options.at("input") == "1", 0, 0, 0, 0, 0, 0, 0});
  if (options.at("name") == "net") {
    SetText(window, Intern("_NET_WM_NAME"), Intern("UTF8_STRING"), title);
  } else {
    SetText(window, xlib::kWmNameAtom, xlib::kStringAtom, Utf8ToLatin1(title));
  }
  std::string type = options.at("type");
  for (char& c : type) c = static_cast<char>(toupper(c));
  SetLongs(window, Intern("_NET_WM_WINDOW_TYPE"), xlib::kAtomAtom,
           {static_cast<long>(Intern("_NET_WM_WINDOW_TYPE_" + type))});
  if (options.at("skip") == "1") {
    SetLongs(window, Intern("_NET_WM_STATE"), xlib::kAtomAtom,
             {static_cast<long>(Intern("_NET_WM_STATE_SKIP_TASKBAR"))});
  }
  const long owner = std::stol(options.at("owner"));
  if (owner) SetLongs(window, xlib::kWmTransientForAtom, xlib::kWindowAtom, {owner});
  if (options.at("decor") == "0") {
    const xlib::Atom motif = Intern("_MOTIF_WM_HINTS");
    SetLongs(window, motif, motif, {2 /* decorations */, 0, 0, 0, 0});
  }
  if (options.at("override") == "1") {
    SetOverrideRedirect(window);
    x->XMapWindow(display, window);
  } else if (options.at("visible") == "1") {
    x->XMapWindow(display, window);
    x->XSync(display, 0);
    if (!WaitFor(window, "WM_STATE")) return 0;
  }
  x->XSync(display, 0);
  return window;
}

void Answer(const std::string& line) {
  std::istringstream words(line);
  std::string command;
  words >> command;
  if (command == "destroy") {
    xlib::Window window = 0;
    words >> window;
    x->XDestroyWindow(display, window);
    x->XSync(display, 0);
    std::cout << 1 << std::endl;
    return;
  }
  std::map<std::string, std::string> options;
  std::string word;
  while (words >> word && word.rfind("title=", 0) != 0) {
    const size_t equals = word.find('=');
    options[word.substr(0, equals)] = word.substr(equals + 1);
  }
  const size_t title = line.find("title=");
  std::cout << Create(options, title == std::string::npos ? "" : line.substr(title + 6))
            << std::endl;
}

// Drains events (none are selected; the window manager may still send some).
void Drain() {
  xlib::Event event;
  while (x->XPending(display) > 0) x->XNextEvent(display, &event);
}

}  // namespace

int main(int argc, char** argv) {
  x = xlib::Load();
  display = x ? x->XOpenDisplay(nullptr) : nullptr;
  if (!display) {
    std::cerr << "window_client: no X display" << std::endl;
    return 2;
  }
  root = x->XDefaultRootWindow(display);
  if (argc > 1 && std::string(argv[1]) == "--wait-wm")
    return WaitFor(root, "_NET_SUPPORTING_WM_CHECK") ? 0 : 1;

  pollfd sources[2] = {{0, POLLIN, 0}, {x->XConnectionNumber(display), POLLIN, 0}};
  std::string pending;
  for (;;) {
    Drain();
    if (poll(sources, 2, -1) < 0) continue;
    if (!(sources[0].revents & (POLLIN | POLLHUP))) continue;
    char buffer[4096];
    const ssize_t length = read(0, buffer, sizeof buffer);
    if (length <= 0) return 0;
    pending.append(buffer, static_cast<size_t>(length));
    for (size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1)) {
      Answer(pending.substr(0, end));
    }
  }
}
