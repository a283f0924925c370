#include "platform/win/window_activation.h"

namespace ombrix_addon {

namespace {

constexpr DWORD kAltTapSettleMs = 30;

// A window minimised from the maximised state comes back maximised.
void RestoreIfMinimized(HWND window) {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  if (GetWindowPlacement(window, &placement)) {
    if (placement.showCmd != SW_SHOWMINIMIZED && !IsIconic(window)) return;
    ShowWindow(window, (placement.flags & WPF_RESTORETOMAXIMIZED) ? SW_SHOWMAXIMIZED : SW_RESTORE);
  } else if (IsIconic(window)) {
    ShowWindow(window, SW_RESTORE);
  }
}

// SetForegroundWindow's own result is not trusted: only the outcome counts.
bool ForegroundAttempt(HWND window) {
  SetForegroundWindow(window);
  return GetForegroundWindow() == window;
}

bool AfterAltTap(HWND window) {
  INPUT keys[2] = {};
  for (INPUT& key : keys) {
    key.type = INPUT_KEYBOARD;
    key.ki.wVk = VK_MENU;
  }
  keys[1].ki.dwFlags = KEYEVENTF_KEYUP;
  SendInput(2, keys, sizeof(INPUT));
  Sleep(kAltTapSettleMs);
  return ForegroundAttempt(window);
}

bool WithAttachedInput(HWND window) {
  const HWND foreground = GetForegroundWindow();
  const DWORD self = GetCurrentThreadId();
  const DWORD target = GetWindowThreadProcessId(window, nullptr);
  const DWORD foregroundThread = foreground ? GetWindowThreadProcessId(foreground, nullptr) : 0;
  if (target == 0) return false;  // the window is gone

  // Both may name the same thread; each attach is tried all the same.
  const bool attachedForeground = foregroundThread != 0 && foregroundThread != self &&
                                  AttachThreadInput(self, foregroundThread, TRUE);
  const bool attachedTarget = target != self && AttachThreadInput(self, target, TRUE);
  BringWindowToTop(window);
  const bool ok = ForegroundAttempt(window);
  if (attachedTarget) AttachThreadInput(self, target, FALSE);
  if (attachedForeground) AttachThreadInput(self, foregroundThread, FALSE);
  return ok;
}

}  // namespace

WindowSystem::Activation ActivateTiered(HWND window) {
  // Foreground rules apply to threads with a message queue: make one.
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
  RestoreIfMinimized(window);

  if (ForegroundAttempt(window)) return {true, "direct", 0};
  if (AfterAltTap(window)) return {true, "alt", 0};
  const bool ok = WithAttachedInput(window);
  const DWORD lastError = ::GetLastError();  // the tier's last failing call, detaches included
  return ok ? WindowSystem::Activation{true, "attach", 0}
            : WindowSystem::Activation{false, "attach", static_cast<uint32_t>(lastError)};
}

}  // namespace ombrix_addon
