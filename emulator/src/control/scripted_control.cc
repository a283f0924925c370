// Control-surface entry points for scripted mode and fault injection.
#include <cstring>

#include "client/client.h"
#include "ombrix_emu/control.h"
#include "runtime/control_block.h"
#include "runtime/worker_thread.h"
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
// A JSON array of names as a list for a message: "a, b, c".
std::string ListText(const std::string& arrayJson) {
  std::string text;
  const Json names = Json::Parse(arrayJson);
  for (const Json& name : names.AsArray()) {
    text += (text.empty() ? "" : ", ") + name.AsString();
  }
  return text;
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

std::string InjectFault(const std::string& site, const std::string& kind) {
  Fault fault = kind == "empty" ? Fault::kEmpty : kind == "throw" ? Fault::kThrow : Fault::kNone;
  if (fault == Fault::kNone) {
    return "unknown fault kind \"" + kind + "\" (valid kinds: empty, throw)";
  }
  if (!InjectFault(site, fault)) {
    return "unknown fault site \"" + site + "\" (valid sites: " + ListText(FaultSitesJson()) + ")";
  }
  return "";
}

std::string InjectWeakLockFailure(const std::string& typeLabel) {
  Json types = Json(Json::Array());
  for (int i = 0; i < detail::kTypeCount; ++i) {
    if (typeLabel == detail::g_typeLabels[i]) {
      detail::g_failNextLock[i].fetch_add(1);
      return "";
    }
    types.Push(Json(detail::g_typeLabels[i]));
  }
  return "unknown contract type \"" + typeLabel + "\" (valid types: " + ListText(types.Dump()) +
         ")";
}

int ClearFaults() {
  int cleared = ClearInjectedFaults() + ClearThreadCreateFailures();
  for (int i = 0; i < detail::kTypeCount; ++i) cleared += detail::g_failNextLock[i].exchange(0);
  return cleared;
}

}  // namespace quelt::ombrix::emu
