#include "scripted/faults.h"

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>

#include "hostile/hostile.h"
#include "runtime/log.h"

namespace quelt::ombrix::emu {

namespace {
struct Faults {
  std::mutex mutex;
  std::map<std::string, std::deque<Fault>> queued;
  // Most calls pass fault sites with nothing queued: they need not lock.
  std::atomic<int> count{0};
};
Faults& TheFaults() {
  static Faults* faults = new Faults;
  return *faults;
}
}  // namespace

void InjectFault(const std::string& site, Fault fault) {
  Faults& faults = TheFaults();
  std::lock_guard<std::mutex> lock(faults.mutex);
  faults.queued[site].push_back(fault);
  faults.count.fetch_add(1);
}

Fault TakeFault(const std::string& site) {
  Faults& faults = TheFaults();
  if (faults.count.load() == 0) return Fault::kNone;
  std::lock_guard<std::mutex> lock(faults.mutex);
  auto found = faults.queued.find(site);
  if (found == faults.queued.end() || found->second.empty()) return Fault::kNone;
  Fault fault = found->second.front();
  found->second.pop_front();
  faults.count.fetch_sub(1);
  return fault;
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
