// WindowSystem where the module has no window-system backend: no window is
// ever found and nothing is done. Failed calls record ENOSYS as the calling
// thread's last error. Process image paths are real on Linux. The X11 backend
// builds on it.
#pragma once

#include "window_system.h"

namespace ombrix_addon {

class PosixWindowSystem : public WindowSystem {
 public:
  std::vector<Window> VisibleTitledWindows() override;
  Handle Foreground() override;
  bool BringToForeground(Handle window) override;
  bool ReadPlacement(Handle window, Placement& placement) override;
  bool WritePlacement(Handle window, const Placement& placement) override;
  bool Exists(Handle window) override;
  bool Minimized(Handle window) override;
  bool ShownInAltTab(Handle window) override;
  bool Show(Handle window, int32_t command) override;
  bool OpenWithShell(const std::string& target) override;
  uint32_t ProcessOf(Handle window) override;
  std::optional<std::string> ProcessImagePath(uint32_t processId) override;
  bool AllowForeground(uint32_t processId) override;
  uint32_t LastError() override;
  Activation Activate(Handle window) override;
};

}  // namespace ombrix_addon
