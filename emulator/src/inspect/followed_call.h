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
  FollowedCallback(uint64_t id, std::string op, SharedPtr<CallbackItf<Arg>> inner)
      : id_(id), op_(std::move(op)), started_(SteadyMs()), inner_(std::move(inner)) {}

  ~FollowedCallback() override {
    Json end = Json::MakeObject({{"dir", "tool"},
                                 {"id", id_},
                                 {"op", op_},
                                 {"ms", SteadyMs() - started_},
                                 {"results", results_}});
    if (results_ == 0) end.Set("dropped", true);
    end.Set("result", std::move(last_));
    Publish("call.end", std::move(end));
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
  uint64_t id_;
  std::string op_;
  double started_;
  SharedPtr<CallbackItf<Arg>> inner_;
  std::mutex mutex_;  // a hostile SDK may deliver twice at once
  uint32_t results_ = 0;
  Json last_;
};

// `callback`, followed by the page while one watches.
template <class Arg>
SharedPtr<CallbackItf<Arg>> Follow(const char* op, const Json& args,
                                   SharedPtr<CallbackItf<Arg>> callback) {
  if (!Watched() || !callback) return callback;
  const uint64_t id = NextCallId();
  Publish("call.start",
          Json::MakeObject({{"dir", "tool"}, {"id", id}, {"op", op}, {"args", args}}));
  return SharedPtr<CallbackItf<Arg>>(new FollowedCallback<Arg>(id, op, std::move(callback)));
}

}  // namespace quelt::ombrix::emu::inspect
