// A tool operation as the inspector page follows it: a start event when the
// SDK takes the callback, an end event when the SDK lets go of it, with the
// last result it delivered (none: dropped unanswered) and how long it held it.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "inspect/feed.h"
#include "ombrix/callback.h"
#include "ombrix/result.h"
#include "ombrix/types.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu::inspect {

template <class Arg>
struct Described;
template <class R>
struct Described<const R&> {
  static Json Of(const R& record) { return ToJson(record); }
};
template <>
struct Described<const OperationResult&> {
  static Json Of(const OperationResult& result) { return OutcomeJson(result); }
};
template <>
struct Described<const char*> {
  static Json Of(const char* text) { return Json(text); }
};
template <>
struct Described<SharedPtr<RemoteDeviceListItf>> {
  static Json Of(const SharedPtr<RemoteDeviceListItf>& list) {
    return list ? Json::MakeObject({{"devices", list->GetCount()}}) : Json();
  }
};

template <class Arg>
class FollowedCallback final : public CallbackItf<Arg> {
 public:
  FollowedCallback(const char* dir, Json id, std::string op, SharedPtr<CallbackItf<Arg>> inner)
      : dir_(dir),
        id_(std::move(id)),
        op_(std::move(op)),
        started_(SteadyMs()),
        inner_(std::move(inner)) {}

  ~FollowedCallback() override {
    Json details = Json::MakeObject({{"results", results_}});
    if (results_ == 0) details.Set("dropped", true);
    details.Set("result", std::move(last_));
    ShowCallEnd(dir_, id_, op_, started_, std::move(details));
  }

  void OnResult(Arg value) override {
    if (Watched()) {
      Json described = Described<Arg>::Of(value);
      std::lock_guard<std::mutex> lock(mutex_);
      ++results_;
      last_ = std::move(described);
    }
    inner_->OnResult(value);
  }

 private:
  const char* dir_;
  Json id_;
  std::string op_;
  double started_;
  SharedPtr<CallbackItf<Arg>> inner_;
  std::mutex mutex_;  // a hostile SDK may deliver twice at once
  uint32_t results_ = 0;
  Json last_;
};

// `callback`, followed by the page while one watches (see ShowCallStart);
// `details()` describes the call, and runs only then. `idPrefix` keeps the
// ids of calls of one kind apart from another's that count from 1 in the
// same direction.
template <class Arg, class Details>
SharedPtr<CallbackItf<Arg>> Follow(const char* dir, const std::string& op, Details details,
                                   SharedPtr<CallbackItf<Arg>> callback,
                                   const char* idPrefix = nullptr) {
  if (!Watched() || !callback) return callback;
  const uint64_t number = NextCallId();
  Json id = idPrefix ? Json(idPrefix + std::to_string(number)) : Json(number);
  ShowCallStart(dir, id, op, details());
  return SharedPtr<CallbackItf<Arg>>(
      new FollowedCallback<Arg>(dir, std::move(id), op, std::move(callback)));
}

}  // namespace quelt::ombrix::emu::inspect
