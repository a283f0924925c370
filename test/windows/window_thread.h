// Test windows, owned by a thread of their own that pumps their messages, so
// they answer cross-thread calls (ShowWindow, placement, activation) while the
// creating program does something else.
#pragma once

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <functional>
#include <string>
#include <thread>

namespace ombrix_test {

struct WindowSpec {
  std::wstring title;
  HWND owner = nullptr;
  DWORD style = WS_OVERLAPPEDWINDOW;
  DWORD exStyle = 0;
  bool visible = true;
};

class WindowThread {
 public:
  WindowThread();
  ~WindowThread();
  WindowThread(const WindowThread&) = delete;
  WindowThread& operator=(const WindowThread&) = delete;

  // Null when the window could not be created.
  HWND Create(const WindowSpec& spec);
  bool Destroy(HWND window);
  // Runs `work` on the window thread and waits for it.
  void Run(const std::function<void()>& work);

 private:
  void Loop(HANDLE started);

  std::thread thread_;
  DWORD threadId_ = 0;
};

std::wstring Widen(const std::string& utf8);

}  // namespace ombrix_test
