// Creates and destroys top-level windows in a process of its own, as told on
// stdin, one command a line:
//   create <exStyle> <style> <owner hwnd> <visible 0|1> <title…>   answers the hwnd
//   destroy <hwnd>                                                 answers 1 or 0
//   lock <hwnd> alt|always   its own thread refuses to activate the window,
//                            until an Alt key press or for good; answers 1 or 0
//   unlock                   ends the lock; answers 1
//   sync                     answers 1 once the windows' thread has handled
//                            every message sent to it before
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

// The lock stands in for the foreground lock that Wine lacks: the window's
// own thread refuses its activation, so the asynchronous activation that
// SetForegroundWindow asks of that thread never lands. In "alt" mode the
// first Alt key press lifts the lock and activates the window from the
// keyboard hook, which SendInput waits for, so it has landed when the Alt
// tap returns. A thread sharing the window's input activates it itself,
// which no hook of this thread sees.
HWND g_locked = nullptr;
HHOOK g_activationHook = nullptr;
HHOOK g_keyboardHook = nullptr;

LRESULT CALLBACK RefuseActivation(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_ACTIVATE && g_locked && reinterpret_cast<HWND>(wParam) == g_locked) return 1;
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK AltLifts(int code, WPARAM wParam, LPARAM lParam) {
  const DWORD key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lParam)->vkCode;
  const bool alt = key == VK_MENU || key == VK_LMENU || key == VK_RMENU;
  if (code == HC_ACTION && alt && (wParam == WM_SYSKEYDOWN || wParam == WM_KEYDOWN) && g_locked) {
    const HWND window = g_locked;
    g_locked = nullptr;
    SetForegroundWindow(window);
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

void Unlock() {
  if (g_keyboardHook) UnhookWindowsHookEx(g_keyboardHook);
  if (g_activationHook) UnhookWindowsHookEx(g_activationHook);
  g_keyboardHook = g_activationHook = nullptr;
  g_locked = nullptr;
}

// Runs on the windows' thread: thread hooks belong to the thread that sets
// them, and a low-level hook is called through its setter's message loop.
bool Lock(HWND window, bool untilAlt) {
  Unlock();
  g_activationHook = SetWindowsHookExW(WH_CBT, RefuseActivation, nullptr, GetCurrentThreadId());
  if (untilAlt) {
    g_keyboardHook = SetWindowsHookExW(WH_KEYBOARD_LL, AltLifts, GetModuleHandleW(nullptr), 0);
  }
  if (!g_activationHook || (untilAlt && !g_keyboardHook)) {
    Unlock();
    return false;
  }
  g_locked = window;
  return true;
}

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
  if (command == "lock") {
    uint64_t window = 0;
    std::string until;
    in >> window >> until;
    if (until != "alt" && until != "always") return "0";
    bool locked = false;
    windows.Run([&] { locked = Lock(ToHwnd(window), until == "alt"); });
    return locked ? "1" : "0";
  }
  if (command == "unlock") {
    windows.Run(Unlock);
    return "1";
  }
  if (command == "sync") {
    windows.Run([] {});  // sent messages are handled before posted ones
    return "1";
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
