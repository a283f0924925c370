#include "window_thread.h"

namespace ombrix_test {

namespace {

constexpr wchar_t kClassName[] = L"OmbrixTestWindow";
constexpr UINT kRunWork = WM_APP + 1;

struct Work {
  const std::function<void()>* body;
  HANDLE done;
};

// The "alt" activation tier taps Alt, which would put the window in front
// into its menu loop; that modal loop drops the thread's posted work.
LRESULT CALLBACK TestWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_SYSCOMMAND && (wParam & 0xfff0) == SC_KEYMENU) return 0;
  return DefWindowProcW(window, message, wParam, lParam);
}

ATOM RegisterTestClass() {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = TestWindowProc;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kClassName;
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  return RegisterClassW(&windowClass);
}

}  // namespace

std::wstring Widen(const std::string& utf8) {
  if (utf8.empty()) return std::wstring();
  const int size = static_cast<int>(utf8.size());
  std::wstring wide(
      static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

WindowThread::WindowThread() {
  HANDLE started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  thread_ = std::thread(&WindowThread::Loop, this, started);
  WaitForSingleObject(started, INFINITE);
  CloseHandle(started);
}

WindowThread::~WindowThread() {
  PostThreadMessageW(threadId_, WM_QUIT, 0, 0);
  thread_.join();
}

void WindowThread::Loop(HANDLE started) {
  static const ATOM registered = RegisterTestClass();
  (void)registered;
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // the queue must exist before work is posted
  threadId_ = GetCurrentThreadId();
  SetEvent(started);
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (!message.hwnd && message.message == kRunWork) {
      auto* work = reinterpret_cast<Work*>(message.lParam);
      (*work->body)();
      SetEvent(work->done);
      continue;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void WindowThread::Run(const std::function<void()>& body) {
  Work work{&body, CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  PostThreadMessageW(threadId_, kRunWork, 0, reinterpret_cast<LPARAM>(&work));
  WaitForSingleObject(work.done, INFINITE);
  CloseHandle(work.done);
}

HWND WindowThread::Create(const WindowSpec& spec) {
  HWND window = nullptr;
  Run([&] {
    window = CreateWindowExW(spec.exStyle, kClassName, spec.title.c_str(), spec.style, 40, 40, 320,
                             200, spec.owner, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (window && spec.visible) ShowWindow(window, SW_SHOWNORMAL);
  });
  return window;
}

bool WindowThread::Destroy(HWND window) {
  bool destroyed = false;
  Run([&] { destroyed = DestroyWindow(window) != FALSE; });
  return destroyed;
}

}  // namespace ombrix_test
