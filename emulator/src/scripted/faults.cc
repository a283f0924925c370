#include "scripted/faults.h"

#include <array>
#include <atomic>
#include <deque>
#include <mutex>
#include <stdexcept>

#include "hostile/hostile.h"
#include "inspect/feed.h"
#include "runtime/log.h"
#include "support/json.h"

namespace quelt::ombrix::emu {

namespace {

constexpr const char* kSites[] = {
    // Factories and SetLogger.
    "CreateOmbrixClient", "CreateAccountTool", "CreateRemoteFileTransferTool",
    "CreateRemoteControlTool", "CreateRemoteFileTool", "CreateRemoteShellTool",
    "CreateFernwickManager", "SetLogger",
    // Tool operations.
    "ReadFile", "WriteFile", "ReplaceInFile", "SearchInFile", "FindFilesByName", "ListDirectory",
    "ExecuteShell", "GetAccountId", "GetAccountDescription", "GenerateAccountToken",
    "GenerateMcpToken", "GetLocalDeviceId", "GetLocalDeviceName", "GetRemoteDeviceList",
    "DownloadFile", "UploadFile", "ConnectToDeviceWithUI", "DisconnectFromDevice",
    "GetDeviceLockScreenStatus", "ListTools", "CallTool", "GetFernwickWorkspace",
    // What the SDK's stream, confirmation and drive callbacks are told.
    "OnChunk", "OnToolCall", "OnTodos", "OnUsage", "OnEnd", "RequestConfirm", "DriveCallback"};
constexpr size_t kSiteCount = sizeof(kSites) / sizeof(kSites[0]);

// The index of `site` in kSites; kSiteCount when it is not there.
size_t SiteIndex(const std::string& site) {
  size_t i = 0;
  while (i < kSiteCount && site != kSites[i]) ++i;
  return i;
}

const char* KindName(Fault fault) { return fault == Fault::kThrow ? "throw" : "empty"; }

// Arming, striking and clearing, to a page that watches.
void Show(const char* what, const std::string& site, Fault fault) {
  if (!inspect::Watched()) return;
  inspect::Publish("fault",
                   Json::MakeObject({{"event", what}, {"site", site}, {"fault", KindName(fault)}}));
}

struct Faults {
  std::mutex mutex;
  std::array<std::deque<Fault>, kSiteCount> queued;
  // Most calls pass fault sites with nothing queued: they need not lock.
  std::atomic<int> count{0};
};

Faults& TheFaults() {
  static Faults* faults = new Faults;
  return *faults;
}

}  // namespace

std::string FaultSitesJson() {
  Json sites = Json(Json::Array());
  for (const char* site : kSites) sites.Push(Json(site));
  return sites.Dump();
}

bool InjectFault(const std::string& site, Fault fault) {
  const size_t index = SiteIndex(site);
  if (index == kSiteCount) return false;
  Faults& faults = TheFaults();
  std::lock_guard<std::mutex> lock(faults.mutex);
  faults.queued[index].push_back(fault);
  faults.count.fetch_add(1);
  Show("armed", site, fault);
  return true;
}

Json ArmedFaults() {
  Faults& faults = TheFaults();
  Json armed = Json(Json::Array());
  std::lock_guard<std::mutex> lock(faults.mutex);
  for (size_t i = 0; i < kSiteCount; ++i) {
    for (Fault fault : faults.queued[i]) {
      armed.Push(Json::MakeObject({{"site", kSites[i]}, {"fault", KindName(fault)}}));
    }
  }
  return armed;
}

Fault TakeFault(const std::string& site) {
  const size_t index = SiteIndex(site);
  if (index == kSiteCount) throw std::logic_error("fault site " + site + " is not listed");
  Faults& faults = TheFaults();
  if (faults.count.load() == 0) return Fault::kNone;
  std::lock_guard<std::mutex> lock(faults.mutex);
  std::deque<Fault>& queued = faults.queued[index];
  if (queued.empty()) return Fault::kNone;
  Fault fault = queued.front();
  queued.pop_front();
  faults.count.fetch_sub(1);
  Show("struck", site, fault);
  return fault;
}

int ClearInjectedFaults() {
  Faults& faults = TheFaults();
  std::lock_guard<std::mutex> lock(faults.mutex);
  for (std::deque<Fault>& queued : faults.queued) queued.clear();
  const int cleared = faults.count.exchange(0);
  if (cleared > 0 && inspect::Watched()) {
    inspect::Publish("fault", Json::MakeObject({{"event", "cleared"}, {"count", cleared}}));
  }
  return cleared;
}

bool ApplyFault(const std::string& site) {
  switch (TakeFault(site)) {
    case Fault::kNone:
      hostile::MaybeThrow(site.c_str());  // every fault site may throw in hostile mode
      return false;
    case Fault::kEmpty:
      EMU_LOG(LogLevel::kWarning, "faults", "%s returns empty (injected)", site.c_str());
      return true;
    case Fault::kThrow:
      EMU_LOG(LogLevel::kWarning, "faults", "%s throws (injected)", site.c_str());
      throw std::runtime_error(site + ": injected failure");
  }
  return false;
}

}  // namespace quelt::ombrix::emu
