// The pieces every service driver is made of: starting a drive on an SDK
// thread, and describing what its callback received.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "client/client.h"
#include "drivers/drive_log.h"
#include "drivers/held_objects.h"
#include "hostile/hostile.h"
#include "ombrix/result.h"
#include "runtime/task_pool.h"
#include "support/json.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu {

inline Json DriveError(const std::string& text) { return Json::MakeObject({{"error", text}}); }

// The id of a held object a drive names; none when it names none.
inline std::optional<uint64_t> HeldId(const Json& value) {
  if (!value.IsNumber()) return std::nullopt;
  return ToInteger<uint64_t>(value.AsNumber());
}

// The service `member` (`what`, for messages) of the client a drive names in
// its "client" argument (see SelectClient); null, with the drive's `error`,
// when there is no such client or it has no such service.
template <class Itf>
SharedPtr<Itf> ClientService(const Json& args, SharedPtr<Itf> ClientServices::*member,
                             const std::string& what, Json* error) {
  std::string problem;
  std::optional<ClientServices> client = SelectClient(args["client"], &problem);
  SharedPtr<Itf> service = client ? (*client).*member : SharedPtr<Itf>();
  if (!service) *error = DriveError(client ? client->name + " has no " + what : problem);
  return service;
}

// What a drive acts on: the object `held` keeps under the id in the drive's
// `key` argument, or, without one, the client's service as ClientService.
template <class Itf>
SharedPtr<Itf> HeldOrClientService(const Held<SharedPtr<Itf>>& held, const Json& args,
                                   const char* key, SharedPtr<Itf> ClientServices::*member,
                                   const std::string& what, Json* error) {
  std::optional<uint64_t> id = HeldId(args[key]);
  if (!id) return ClientService(args, member, what, error);
  SharedPtr<Itf> found = held.Find(*id);
  if (!found) *error = DriveError("no " + what + " " + std::to_string(*id));
  return found;
}

// A change of SDK state that is made on other threads. Its drive (`started`:
// { drive }) reports `result` once the last copy of `finished` is gone: each
// task making the change holds one, so the report says the change is made.
struct Change {
  Json started;
  std::shared_ptr<void> finished;
};

inline Change BeginChange(const std::string& op, int listener, Json result) {
  uint64_t drive = DriveLog::Shared().Begin(op, listener);
  return Change{Json::MakeObject({{"drive", drive}}),
                std::shared_ptr<void>(
                    nullptr, [drive, result](void*) { DriveLog::Shared().Report(drive, result); })};
}

// Makes `change` on an SDK thread (or where hostile mode delivers); the drive
// reports `result` once it is made. Returns { drive }.
inline Json StartChange(const std::string& op, int listener, std::function<void()> change,
                        Json result) {
  Change made = BeginChange(op, listener, std::move(result));
  std::function<void()> run = [change = std::move(change), finished = made.finished]() mutable {
    change();
    finished.reset();
  };
  made.finished.reset();
  if (!hostile::Deliver(run, true)) TaskPool::Quick().Post(std::move(run));
  return made.started;
}

// The items of an SDK list, each described by `describe`; null for no list.
template <class List, class Describe>
Json ListJson(const List& list, Describe describe) {
  if (!list) return Json();
  Json items = Json(Json::Array());
  for (uint32_t i = 0; i < list->GetCount(); ++i) items.Push(describe(list->GetItem(i)));
  return items;
}

// Starts an asynchronous drive: `call(callback)` runs on an SDK thread, and
// the callback's record, described by `describe`, becomes the drive's report.
// Returns { drive }.
template <class Record, class Call, class Describe>
Json StartDrive(const std::string& op, int listener, Call call, Describe describe) {
  uint64_t drive = DriveLog::Shared().Begin(op, listener);
  SharedPtr<CallbackItf<const Record&>> callback(new DriveCallback<Record>(drive, describe));
  if (hostile::Roll(hostile::Habit::kNullArgs)) {  // the contract allows a call without one
    DriveLog::Shared().Report(drive, Json::MakeObject({{"noCallback", true}}));
    callback = SharedPtr<CallbackItf<const Record&>>();
  }
  std::function<void()> start = [call, callback] { call(callback); };
  if (!hostile::Deliver(start, true)) TaskPool::Quick().Post(std::move(start));
  return Json::MakeObject({{"drive", drive}});
}

// An OperationResult drive.
template <class Call>
Json StartOperation(const std::string& op, int listener, Call call) {
  return StartDrive<OperationResult>(op, listener, call,
                                     [](const OperationResult& r) { return OutcomeJson(r); });
}

// The text argument of a drive: a string, or null for a null pointer (which
// hostile mode may pass for any text).
struct TextArg {
  explicit TextArg(const Json& value)
      : isNull(!value.IsString() || hostile::Roll(hostile::Habit::kNullArgs)),
        text(value.IsString() ? value.AsString() : "") {}
  const char* get() const { return isNull ? nullptr : text.c_str(); }
  bool isNull;
  std::string text;
};

}  // namespace quelt::ombrix::emu
