// How every asynchronous SDK operation runs: in loopback mode its work runs on
// a pool thread and the result is delivered from there; in scripted mode the
// call is captured for the test to complete. Either way the callback is
// invoked on an SDK thread, never inline, unless hostile mode chooses
// otherwise (hostile/hostile.h).
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "hostile/hostile_callback.h"
#include "inspect/followed_call.h"
#include "loopback/cancel.h"
#include "ombrix/callback.h"
#include "ombrix_addon/records.h"
#include "runtime/log.h"
#include "runtime/task_pool.h"
#include "scripted/call_log.h"
#include "scripted/faults.h"
#include "support/record_json.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

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

// Who delivers a long operation's result when hostile mode may deliver it
// inside Cancel(): the worker that computed it, or a Cancel() waiting for it.
class Handover {
 public:
  // The worker: delivers, unless a Cancel() is waiting to do it.
  void Finish(std::function<void()> deliver);
  // Cancel(), after setting the flag: waits a while for the result and
  // delivers it on the calling thread.
  void DeliverHere();

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  bool waiting_ = false;
  bool finished_ = false;
  std::function<void()> deliver_;
};

// The handle of a cancellable operation.
class OperationHandle final : public OperationHandleItf {
 public:
  OperationHandle(std::string op, std::shared_ptr<loopback::CancelFlag> flag, uint64_t scriptedId,
                  std::shared_ptr<Handover> handover = nullptr)
      : op_(std::move(op)),
        flag_(std::move(flag)),
        scriptedId_(scriptedId),
        handover_(std::move(handover)) {}
  // The application may keep a handle long after its result, and cancel it
  // then: a finished operation has nothing to stop, and says nothing.
  void Cancel() override {
    const bool live =
        scriptedId_ ? CallLog::Shared().MarkCancelled(scriptedId_) : flag_ && !flag_->IsFinished();
    if (!live) return;
    EMU_LOG(LogLevel::kInfo, "operation", "%s cancelled", op_.c_str());
    if (flag_) flag_->Set();
    if (handover_ && hostile::Roll(hostile::Habit::kInline)) handover_->DeliverHere();
  }

 private:
  std::string op_;
  std::shared_ptr<loopback::CancelFlag> flag_;
  uint64_t scriptedId_;
  std::shared_ptr<Handover> handover_;
};

// How long an operation's work may take. Hostile mode may do a quick one
// inline, on the caller's thread inside the call; a long one (which the
// caller may cancel meanwhile) only ever runs on a worker, but its result may
// be delivered inside Cancel().
enum class Work { kQuick, kLong };

// What hostile mode does instead of starting an operation (besides throwing,
// as every fault site may): keep the callback, dropping it, holding it for
// ever, or dropping it because the tool's client is gone. True when the
// operation is not to start.
template <class Arg>
bool HostileRefusal(const ToolContext& context, const char* op,
                    const SharedPtr<CallbackItf<Arg>>& callback) {
  using hostile::Habit;
  if (!hostile::Enabled()) return false;
  if ((context.ClientGone() && hostile::Roll(Habit::kClientGone)) || hostile::Roll(Habit::kDrop)) {
    EMU_LOG(LogLevel::kInfo, "hostile", "%s: callback dropped unanswered", op);
    TaskPool::Hostile().Post([callback] {});  // released on an SDK thread
    return true;
  }
  if (hostile::Roll(Habit::kNever)) {
    EMU_LOG(LogLevel::kInfo, "hostile", "%s: callback held, never invoked", op);
    hostile::Hold(std::make_shared<SharedPtr<CallbackItf<Arg>>>(callback));
    return true;
  }
  return false;
}

// Starts `op`. `work(cancel)` computes the loopback result on a pool thread.
// An injected fault at `op` makes it throw, or drop the callback unanswered
// and return no handle.
template <class Arg, class Compute>
SharedPtr<OperationHandleItf> Perform(const ToolContext& context, const char* op, Json args,
                                      SharedPtr<CallbackItf<Arg>> callback, Compute work,
                                      Work kind = Work::kQuick) {
  if (!callback || ApplyFault(op) || HostileRefusal(context, op, callback)) {
    return SharedPtr<OperationHandleItf>();
  }
  callback = hostile::Wrap(inspect::Follow(
      "tool", op,
      [&args] {
        return Json::MakeObject({{"args", args}});
      },
      std::move(callback)));
  if (context.mode == Mode::kScripted) {
    uint64_t id = CallLog::Shared().Capture(op, std::move(args), [callback](const Json& record) {
      ScriptedDelivery<Arg>::Deliver(*callback.get(), record);
    });
    return SharedPtr<OperationHandleItf>(new OperationHandle(op, nullptr, id));
  }
  EMU_LOG(LogLevel::kInfo, "operation", "%s %s", op, args.Dump().c_str());
  auto cancel = std::make_shared<loopback::CancelFlag>();
  if (kind == Work::kQuick && hostile::Roll(hostile::Habit::kInline)) {
    auto result = work(*cancel);
    cancel->Finish();  // before the delivery, after which the caller may cancel
    DeliverValue(*callback.get(), std::move(result));
    return SharedPtr<OperationHandleItf>(new OperationHandle(op, cancel, 0));
  }
  std::shared_ptr<Handover> handover =
      kind == Work::kLong && hostile::Enabled() ? std::make_shared<Handover>() : nullptr;
  TaskPool::Blocking().Post([callback, cancel, handover, work = std::move(work)]() {
    auto result = work(*cancel);
    cancel->Finish();  // before the delivery, after which the caller may cancel
    if (!handover) return DeliverValue(*callback.get(), std::move(result));
    handover->Finish([callback, result] { DeliverValue(*callback.get(), result); });
  });
  return SharedPtr<OperationHandleItf>(new OperationHandle(op, cancel, 0, std::move(handover)));
}

}  // namespace quelt::ombrix::emu
