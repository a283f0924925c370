// The pieces every service driver is made of: starting a drive on an SDK
// thread, and describing what its callback received.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "drivers/drive_log.h"
#include "hostile/hostile.h"
#include "ombrix/result.h"
#include "runtime/task_pool.h"
#include "support/json.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu {

inline Json MessageJson(const char* message) { return message ? Json(message) : Json(); }

inline Json DriveError(const std::string& text) { return Json::MakeObject({{"error", text}}); }

// The id of a held object a drive names; none when it names none.
inline std::optional<uint64_t> HeldId(const Json& value) {
  if (!value.IsNumber()) return std::nullopt;
  return ToInteger<uint64_t>(value.AsNumber());
}

// The error of a drive whose object (`what`) was found neither under its id
// nor, without one, in the newest client.
inline Json MissingError(const std::string& what, std::optional<uint64_t> id) {
  return DriveError(id ? "no " + what + " " + std::to_string(*id)
                       : "the newest client has no " + what);
}

// { code, errorMessage } of any result record (a null message stays null).
template <class Record>
Json OutcomeJson(const Record& record) {
  return Json::MakeObject({{"code", static_cast<uint32_t>(record.code)},
                           {"errorMessage", MessageJson(record.errorMessage)}});
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
