// Control-surface entry points for driving the JavaScript-backed services.
#include <thread>

#include "drivers/audit_driver.h"
#include "drivers/chat_driver.h"
#include "drivers/drive_log.h"
#include "drivers/notification_driver.h"
#include "client/client.h"
#include "drivers/drive_support.h"
#include "drivers/workspace_driver.h"
#include "inspect/feed.h"
#include "ombrix_emu/control.h"
#include "tools/account_tool.h"

namespace quelt::ombrix::emu {

namespace {

// Client observer events and account token renewals: each drive reports {}
// once every event it sent has been delivered (or dropped with its client).
Json EventDrive(const std::string& op, const Json& args, int listener) {
  Change made = BeginChange(op, listener, Json::MakeObject({}));
  if (op == "tokenUpdated") {
    EmitAccountTokenUpdated(args["mcp"].AsBool(), args["token"].AsString(), made.finished);
    return made.started;
  }
  std::string error = SendClientEvent(op, args, args["client"], made.finished);
  return error.empty() ? made.started : DriveError(error);
}

Json DriveService(const std::string& service, const std::string& op, const Json& args,
                  int listener) {
  if (service == "chat") return chat::Drive(op, args, listener);
  if (service == "notification") return notification::Drive(op, args, listener);
  if (service == "audit") return audit::Drive(op, args, listener);
  if (service == "workspace") return workspace::Drive(op, args, listener);
  if (service == "events") return EventDrive(op, args, listener);
  return Json::MakeObject({{"error", "unknown service " + service}});
}

}  // namespace

int AddDriveListener(std::function<void(uint64_t)> listener) {
  return DriveLog::Shared().AddListener(std::move(listener));
}

void RemoveDriveListener(int token) { DriveLog::Shared().RemoveListener(token); }

void AddJsThread() { DriveLog::Shared().AddJsThread(std::this_thread::get_id()); }

void RemoveJsThread() { DriveLog::Shared().RemoveJsThread(std::this_thread::get_id()); }

std::string Drive(const std::string& service, const std::string& op, const std::string& argsJson,
                  int listener) {
  Json args;
  try {
    args = argsJson.empty() ? Json::MakeObject({}) : Json::Parse(argsJson);
  } catch (const std::exception& e) {
    return Json::MakeObject({{"error", e.what()}}).Dump();
  }
  Json started = DriveService(service, op, args, listener);
  // The page learns which service a drive went to and with what; its ids
  // (a stream, a confirmation) too.
  if (inspect::Watched() && started.Has("drive")) {
    Json shown = started;
    shown.Set("dir", "js");
    shown.Set("id", started["drive"]);
    shown.Set("service", service);
    shown.Set("args", args);
    inspect::Publish("call.args", std::move(shown));
  }
  return started.Dump();
}

std::string DriveReport(uint64_t drive) { return DriveLog::Shared().Get(drive).Dump(); }

uint64_t DriveDuplicates() { return DriveLog::Shared().Duplicates(); }

std::string Inspect(const std::string& kind, uint64_t id) {
  if (kind == "stream") return chat::StreamEvents(id).Dump();
  if (kind == "confirm") return chat::ConfirmRequests(id).Dump();
  if (kind == "observer") return chat::ObserverEvents(id).Dump();
  if (kind == "notificationObserver") return notification::ObserverEvents(id).Dump();
  if (kind == "auditObserver") return audit::ObserverEvents(id).Dump();
  return "null";
}

bool CancelToolCall(uint64_t stream, uint32_t index) { return chat::CancelToolCall(stream, index); }

bool AnswerConfirm(uint64_t confirm, uint32_t request, const std::string& responseJson) {
  return chat::AnswerConfirm(confirm, request, responseJson);
}

std::function<std::string()> ChatStorm(int threads, int calls, const std::string& argsJson) {
  std::function<Json()> storm = chat::Storm(threads, calls, Json::Parse(argsJson));
  return [storm] { return storm().Dump(); };
}

std::string Clients() { return ClientsJson().Dump(); }

}  // namespace quelt::ombrix::emu
