// Creates and destroys top-level windows in a process of its own, as told on
// stdin, one command a line:
//   create <exStyle> <style> <owner hwnd> <visible 0|1> <title…>   answers the hwnd
//   destroy <hwnd>                                                 answers 1 or 0
// Numbers are decimal; the title is UTF-8 and may be empty. It exits at the
// end of stdin. `window_host warmup` creates one window and exits, which
// starts the desktop before the tests run. `window_host opened <document>`
// is what a test registers as a document type's program: it writes
// `<document>.opened` and exits.
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include "window_thread.h"

using ombrix_test::WindowSpec;
using ombrix_test::WindowThread;

namespace {

HWND ToHwnd(uint64_t value) { return reinterpret_cast<HWND>(static_cast<uintptr_t>(value)); }

uint64_t FromHwnd(HWND window) { return reinterpret_cast<uintptr_t>(window); }

std::string Answer(WindowThread& windows, const std::string& line) {
  std::istringstream in(line);
  std::string command;
  in >> command;
  if (command == "create") {
    WindowSpec spec;
    uint64_t owner = 0;
    int visible = 1;
    in >> spec.exStyle >> spec.style >> owner >> visible;
    std::string title;
    if (in.peek() == ' ') in.get();
    std::getline(in, title);
    spec.owner = ToHwnd(owner);
    spec.visible = visible != 0;
    spec.title = ombrix_test::Widen(title);
    return std::to_string(FromHwnd(windows.Create(spec)));
  }
  if (command == "destroy") {
    uint64_t window = 0;
    in >> window;
    return windows.Destroy(ToHwnd(window)) ? "1" : "0";
  }
  return "unknown command";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::string(argv[1]) == "opened") {
    std::FILE* marker = std::fopen((std::string(argv[2]) + ".opened").c_str(), "w");
    return marker && std::fclose(marker) == 0 ? 0 : 1;
  }
  WindowThread windows;
  if (argc > 1 && std::string(argv[1]) == "warmup") {
    return windows.Destroy(windows.Create(WindowSpec{L"warm-up"})) ? 0 : 1;
  }
  std::string line;
  while (std::getline(std::cin, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::printf("%s\n", Answer(windows, line).c_str());
    std::fflush(stdout);
  }
  return 0;
}
