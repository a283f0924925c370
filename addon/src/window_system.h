// The operating-system side of GuiTool: top-level windows of the desktop,
// addressed by their 64-bit handle values. Every member may be called from
// any thread. One class for every platform: the build links
// platform/win/win_window_system.cc or platform/posix/posix_window_system.cc.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ombrix_addon {

class WindowSystem {
 public:
  using Handle = uint64_t;
  // The raw 44-byte WINDOWPLACEMENT, its first word being its own length.
  static constexpr size_t kPlacementSize = 44;
  using Placement = std::array<uint8_t, kPlacementSize>;

  struct Window {
    Handle handle;
    std::string title;  // UTF-8
  };

  struct Activation {
    bool ok = false;
    const char* tier = "";  // "direct", "alt" or "attach"
    uint32_t lastError = 0;
  };

  // The desktop's window system, set up at first use and never destroyed:
  // workers may outlive statics.
  static WindowSystem& Platform();

  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;

  // Visible windows with a non-empty title, top to bottom.
  std::vector<Window> VisibleTitledWindows();
  // 0 when no window is in the foreground.
  Handle Foreground();
  bool BringToForeground(Handle window);
  bool ReadPlacement(Handle window, Placement& placement);
  bool WritePlacement(Handle window, const Placement& placement);
  bool Exists(Handle window);
  bool Minimized(Handle window);
  bool ShownInAltTab(Handle window);
  bool Show(Handle window, int32_t command);
  bool OpenWithShell(const std::string& target);
  // 0 when the window does not exist.
  uint32_t ProcessOf(Handle window);
  std::optional<std::string> ProcessImagePath(uint32_t processId);
  bool AllowForeground(uint32_t processId);
  // The calling thread's last error.
  uint32_t LastError();
  // Blocks: runs on a worker thread, never on the JavaScript thread.
  Activation Activate(Handle window);

 private:
  // What a platform keeps beyond the operating system's own state; null
  // where it keeps nothing.
  struct Impl;
  explicit WindowSystem(Impl* impl) : impl_(impl) {}

  Impl* const impl_;
};

}  // namespace ombrix_addon
