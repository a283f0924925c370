// Control-surface entry points of the inspector page's feed.
#include "drivers/chat_driver.h"
#include "drivers/drive_log.h"
#include "inspect/feed.h"
#include "ombrix_emu/control.h"
#include "scripted/faults.h"

namespace quelt::ombrix::emu {

void WatchInspector(std::function<void()> wake) { inspect::Watch(std::move(wake)); }

void UnwatchInspector() { inspect::Unwatch(); }

std::string DrainInspector() { return inspect::Drain(); }

std::string InspectorState() {
  return Json::MakeObject({{"sites", Json::Parse(FaultSitesJson())},
                           {"faults", ArmedFaults()},
                           {"drives", DriveLog::Shared().Pending()},
                           {"chat", chat::HeldState()}})
      .Dump();
}

}  // namespace quelt::ombrix::emu
