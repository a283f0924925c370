// How every asynchronous SDK operation runs: in loopback mode its work runs on
// a pool thread and the result is delivered from there; in scripted mode the
// call is captured for the test to complete. Either way the callback is
// invoked on an SDK thread, never inline.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "loopback/cancel.h"
#include "ombrix/callback.h"
#include "ombrix_addon/records.h"
#include "runtime/log.h"
#include "runtime/task_pool.h"
#include "scripted/call_log.h"
#include "scripted/faults.h"
#include "support/record_json.h"
#include "tools/mode.h"

namespace quelt {
namespace ombrix {
namespace emu {

// Turns a scripted completion record into the callback's argument.
template <class Arg>
struct ScriptedDelivery;

template <class R>
struct ScriptedDelivery<const R&> {
  static void Deliver(CallbackItf<const R&>& callback, const Json& record) {
    callback.OnResult(FromJson<R>(record));
  }
};

template <>
struct ScriptedDelivery<const char*> {
  // A string is delivered as is; anything else as a null pointer.
  static void Deliver(CallbackItf<const char*>& callback, const Json& record) {
    callback.OnResult(record.IsString() ? record.AsString().c_str() : nullptr);
  }
};

template <>
struct ScriptedDelivery<SharedPtr<RemoteDeviceListItf>> {
  // An array of device records is delivered as a list; anything else as an
  // empty pointer.
  static void Deliver(CallbackItf<SharedPtr<RemoteDeviceListItf>>& callback, const Json& record) {
    SharedPtr<RemoteDeviceListItf> list;
    if (record.IsArray()) {
      list = SharedPtr<RemoteDeviceListItf>(new ombrix_records::RemoteDeviceList(
          FromJson<std::vector<ombrix_records::RemoteDeviceData>>(record)));
    }
    callback.OnResult(list);
  }
};

// Hands a loopback result to the callback.
template <class R>
void DeliverValue(CallbackItf<const R&>& callback, const R& value) {
  callback.OnResult(value);
}
inline void DeliverValue(CallbackItf<const char*>& callback, const std::string& value) {
  callback.OnResult(value.c_str());
}
inline void DeliverValue(CallbackItf<SharedPtr<RemoteDeviceListItf>>& callback,
                         std::vector<ombrix_records::RemoteDeviceData> devices) {
  callback.OnResult(
      SharedPtr<RemoteDeviceListItf>(new ombrix_records::RemoteDeviceList(std::move(devices))));
}

// The handle of a cancellable operation.
class OperationHandle final : public OperationHandleItf {
 public:
  OperationHandle(std::string op, std::shared_ptr<loopback::CancelFlag> flag, uint64_t scriptedId)
      : op_(std::move(op)), flag_(std::move(flag)), scriptedId_(scriptedId) {}
  void Cancel() override {
    EMU_LOG(LogLevel::kInfo, "operation", "%s cancelled", op_.c_str());
    if (flag_) flag_->Set();
    if (scriptedId_) CallLog::Shared().MarkCancelled(scriptedId_);
  }

 private:
  std::string op_;
  std::shared_ptr<loopback::CancelFlag> flag_;
  uint64_t scriptedId_;
};

// Starts `op`. `work(cancel)` computes the loopback result on a pool thread.
// An injected fault at `op` makes it throw, or drop the callback unanswered
// and return no handle.
template <class Arg, class Work>
SharedPtr<OperationHandleItf> Perform(Mode mode, const char* op, Json args,
                                      SharedPtr<CallbackItf<Arg>> callback, Work work) {
  if (!callback || ApplyFault(op)) return SharedPtr<OperationHandleItf>();
  if (mode == Mode::kScripted) {
    uint64_t id = CallLog::Shared().Capture(op, std::move(args), [callback](const Json& record) {
      ScriptedDelivery<Arg>::Deliver(*callback.get(), record);
    });
    return SharedPtr<OperationHandleItf>(new OperationHandle(op, nullptr, id));
  }
  EMU_LOG(LogLevel::kInfo, "operation", "%s %s", op, args.Dump().c_str());
  auto cancel = std::make_shared<loopback::CancelFlag>();
  TaskPool::Blocking().Post([callback, cancel, work = std::move(work)]() {
    DeliverValue(*callback.get(), work(*cancel));
  });
  return SharedPtr<OperationHandleItf>(new OperationHandle(op, cancel, 0));
}

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
