// Control-surface entry points for scripted mode and fault injection.
#include <cstring>

#include "client/client.h"
#include "ombrix_emu/control.h"
#include "runtime/control_block.h"
#include "scripted/call_log.h"
#include "scripted/faults.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

namespace {
bool ParseRecord(const std::string& text, Json* out) {
  try {
    *out = Json::Parse(text);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}
}  // namespace

bool SetMode(const std::string& mode) {
  if (mode == "loopback") {
    SetDefaultMode(Mode::kLoopback);
  } else if (mode == "scripted") {
    SetDefaultMode(Mode::kScripted);
  } else {
    return false;
  }
  return true;
}

std::string GetMode() { return ModeName(DefaultMode()); }

std::string PendingCalls() { return CallLog::Shared().Pending().Dump(); }

bool CompleteCall(uint64_t id, const std::string& recordJson) {
  Json record;
  return ParseRecord(recordJson, &record) && CallLog::Shared().Complete(id, record);
}

bool DropCall(uint64_t id) { return CallLog::Shared().Drop(id); }

bool SetAutoComplete(const std::string& op, const std::string& recordJson) {
  Json record;
  if (!recordJson.empty() && !ParseRecord(recordJson, &record)) return false;
  CallLog::Shared().SetAutoComplete(op, record);
  return true;
}

bool InjectFault(const std::string& site, const std::string& kind) {
  if (kind == "empty") {
    InjectFault(site, Fault::kEmpty);
  } else if (kind == "throw") {
    InjectFault(site, Fault::kThrow);
  } else {
    return false;
  }
  return true;
}

bool InjectWeakLockFailure(const std::string& typeLabel) {
  for (int i = 0; i < detail::kTypeCount; ++i) {
    if (typeLabel == detail::g_typeLabels[i]) {
      detail::g_failNextLock[i].fetch_add(1);
      return true;
    }
  }
  return false;
}

}  // namespace quelt::ombrix::emu
