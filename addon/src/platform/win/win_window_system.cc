// WindowSystem over the Win32 user-interface, shell and process interfaces.
#include "window_system.h"

#include <cstring>
#include <new>

#include "platform/win/utf16.h"
#include "platform/win/win_api.h"
#include "platform/win/window_activation.h"

#include <shellapi.h>

namespace ombrix_addon {

namespace {

static_assert(sizeof(WINDOWPLACEMENT) == WindowSystem::kPlacementSize,
              "placements cross as the raw structure");
static_assert(sizeof(TITLEBARINFO) == 44, "title bar info size");

constexpr int kTitleCapacity = 256;  // at most 255 characters are kept

HWND ToHwnd(WindowSystem::Handle handle) {
  return reinterpret_cast<HWND>(static_cast<uintptr_t>(handle));
}

WindowSystem::Handle FromHwnd(HWND window) {
  return static_cast<WindowSystem::Handle>(reinterpret_cast<uintptr_t>(window));
}

struct TitledWindows {
  std::vector<std::pair<HWND, std::wstring>> found;
  bool outOfMemory = false;
};

// Nothing may unwind through EnumWindows: an allocation failure is carried out.
BOOL CALLBACK CollectTitledWindow(HWND window, LPARAM param) {
  auto* windows = reinterpret_cast<TitledWindows*>(param);
  if (windows->outOfMemory || !IsWindowVisible(window)) return TRUE;
  wchar_t title[kTitleCapacity];
  const int length = GetWindowTextW(window, title, kTitleCapacity);
  if (length <= 0) return TRUE;
  try {
    windows->found.emplace_back(window, std::wstring(title, static_cast<size_t>(length)));
  } catch (const std::bad_alloc&) {
    windows->outOfMemory = true;
  }
  return TRUE;
}

}  // namespace

// No state of its own: Win32 keeps it all.
WindowSystem& WindowSystem::Platform() {
  static WindowSystem* windows = new WindowSystem(nullptr);
  return *windows;
}

std::vector<WindowSystem::Window> WindowSystem::VisibleTitledWindows() {
  TitledWindows windows;
  EnumWindows(CollectTitledWindow, reinterpret_cast<LPARAM>(&windows));
  if (windows.outOfMemory) throw std::bad_alloc();
  std::vector<Window> records;
  records.reserve(windows.found.size());
  for (const auto& [window, title] : windows.found) {
    records.push_back({FromHwnd(window), Utf16ToUtf8(title.data(), title.size())});
  }
  return records;
}

WindowSystem::Handle WindowSystem::Foreground() { return FromHwnd(GetForegroundWindow()); }

bool WindowSystem::BringToForeground(Handle window) {
  return SetForegroundWindow(ToHwnd(window)) != FALSE;
}

bool WindowSystem::ReadPlacement(Handle window, Placement& placement) {
  WINDOWPLACEMENT native{};
  native.length = sizeof native;
  if (!GetWindowPlacement(ToHwnd(window), &native)) return false;
  std::memcpy(placement.data(), &native, sizeof native);
  return true;
}

bool WindowSystem::WritePlacement(Handle window, const Placement& placement) {
  WINDOWPLACEMENT native;
  std::memcpy(&native, placement.data(), sizeof native);  // passed on unchanged
  return SetWindowPlacement(ToHwnd(window), &native) != FALSE;
}

bool WindowSystem::Exists(Handle window) { return IsWindow(ToHwnd(window)) != FALSE; }

bool WindowSystem::Minimized(Handle window) { return IsIconic(ToHwnd(window)) != FALSE; }

// Whether the task switcher would list the window.
bool WindowSystem::ShownInAltTab(Handle handle) {
  const HWND window = ToHwnd(handle);
  if (!IsWindowVisible(window)) return false;

  // From the root owner, follow last active popups while they are hidden; a
  // visible popup ends the walk on its owner.
  HWND walk = GetAncestor(window, GA_ROOTOWNER);
  for (;;) {
    const HWND popup = GetLastActivePopup(walk);
    if (popup == walk || IsWindowVisible(popup)) break;
    walk = popup;
  }
  if (walk != window) return false;

  TITLEBARINFO titleBar{};
  titleBar.cbSize = sizeof titleBar;
  if (GetTitleBarInfo(window, &titleBar) && (titleBar.rgstate[0] & STATE_SYSTEM_INVISIBLE)) {
    return false;
  }
  const LONG extendedStyle = GetWindowLongW(window, GWL_EXSTYLE);
  return (extendedStyle & WS_EX_APPWINDOW) || !(extendedStyle & WS_EX_TOOLWINDOW);
}

bool WindowSystem::Show(Handle window, int32_t command) {
  return ShowWindow(ToHwnd(window), command) != FALSE;
}

bool WindowSystem::OpenWithShell(const std::string& target) {
  std::wstring wideTarget;
  if (!Utf8ToUtf16(target, wideTarget)) return false;
  const HINSTANCE result =
      ShellExecuteW(nullptr, L"open", wideTarget.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  // Values above 32 mean success; the rest are error codes.
  return static_cast<int64_t>(reinterpret_cast<intptr_t>(result)) > 32;
}

uint32_t WindowSystem::ProcessOf(Handle window) {
  DWORD processId = 0;
  GetWindowThreadProcessId(ToHwnd(window), &processId);
  return processId;
}

std::optional<std::string> WindowSystem::ProcessImagePath(uint32_t processId) {
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
  if (!process) return std::nullopt;
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  const BOOL ok = QueryFullProcessImageNameW(process, 0, path, &length);
  CloseHandle(process);
  if (!ok) return std::nullopt;
  return Utf16ToUtf8(path, length);
}

bool WindowSystem::AllowForeground(uint32_t processId) {
  return AllowSetForegroundWindow(processId) != FALSE;
}

uint32_t WindowSystem::LastError() { return static_cast<uint32_t>(GetLastError()); }

WindowSystem::Activation WindowSystem::Activate(Handle window) {
  return ActivateTiered(ToHwnd(window));
}

}  // namespace ombrix_addon
