// The operating-system side of GuiTool: top-level windows of the desktop,
// addressed by their 64-bit handle values. Stateless; every member may be
// called from any thread.
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

  virtual ~WindowSystem();

  // Visible windows with a non-empty title, top to bottom.
  virtual std::vector<Window> VisibleTitledWindows() = 0;
  // 0 when no window is in the foreground.
  virtual Handle Foreground() = 0;
  virtual bool BringToForeground(Handle window) = 0;
  virtual bool ReadPlacement(Handle window, Placement& placement) = 0;
  virtual bool WritePlacement(Handle window, const Placement& placement) = 0;
  virtual bool Exists(Handle window) = 0;
  virtual bool Minimized(Handle window) = 0;
  virtual bool ShownInAltTab(Handle window) = 0;
  virtual bool Show(Handle window, int32_t command) = 0;
  virtual bool OpenWithShell(const std::string& target) = 0;
  // 0 when the window does not exist.
  virtual uint32_t ProcessOf(Handle window) = 0;
  virtual std::optional<std::string> ProcessImagePath(uint32_t processId) = 0;
  virtual bool AllowForeground(uint32_t processId) = 0;
  // The calling thread's last error.
  virtual uint32_t LastError() = 0;
  // Blocks: runs on a worker thread, never on the JavaScript thread.
  virtual Activation Activate(Handle window) = 0;
};

// The window system of the platform the module is built for.
WindowSystem& PlatformWindowSystem();

}  // namespace ombrix_addon
