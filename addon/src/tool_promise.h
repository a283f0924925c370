// The one mechanism by which every asynchronous tool method turns an SDK
// result into a settled Promise, and by which an AbortSignal cancels it.
//
// Per call: a Deferred, owned by a PromiseCallback handed to the SDK. The SDK
// thread copies the result into a ResultDelivery and posts it on the
// environment's result channel for the callback's kind (its resource name);
// the JavaScript thread converts it (js_convert.h) and settles the Promise.
// Each outstanding call holds that channel, so the event loop stays alive
// exactly while calls are outstanding, as a thread-safe function per call
// would keep it.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <napi.h>

#include "addon_state.h"
#include "errors.h"
#include "js_channel.h"
#include "js_convert.h"
#include "ombrix/callback.h"
#include "ombrix/remote_control.h"

namespace ombrix_addon {

namespace sdk = quelt::ombrix;

// What a callback argument becomes once copied off the SDK thread. Wrappers
// with their own argument types add specialisations.
template <class Arg>
struct Captured;
template <class R>
struct Captured<const R&> {
  using Type = R;
  static R Copy(const R& result) { return result; }
};
template <>
struct Captured<const char*> {
  using Type = std::string;
  static std::string Copy(const char* text) { return text ? text : ""; }
};

// A delivery without a result: the Promise rejects with this code and text. A
// type of its own, so that string results stay distinct from it.
struct DeliveryError {
  const char* code;
  const char* text;  // a literal
};

// How a call's Promise is settled, on the JavaScript thread. By default
// through its Deferred: a result resolves it in its JavaScript form, a
// delivery error rejects it with a coded Error. Requests with other rules
// bring their own `Handle` and steps.
struct ResolveWithResult {
  using Handle = Napi::Promise::Deferred;
  template <class R>
  static void Resolve(Napi::Env env, Handle& deferred, const R& result) {
    deferred.Resolve(ToJs(env, result));
  }
  static void Reject(Napi::Env env, Handle& deferred, const DeliveryError& error) {
    deferred.Reject(CodedError(env, error.code, error.text).Value());
  }
  // The call threw as it started and its caller saw that: nobody holds the
  // Promise, which is resolved quietly only so that Node frees the Deferred.
  static void Abandon(Handle& deferred) { deferred.Resolve(deferred.Env().Undefined()); }
};

// The heap record that crosses to the JavaScript thread.
template <class R, class Settle = ResolveWithResult>
class ResultDelivery final : public JsTask {
 public:
  using Handle = typename Settle::Handle;
  ResultDelivery(JsChannel* channel, Handle handle, R result)
      : channel_(channel),
        handle_(std::move(handle)),
        result_(std::move(result)),
        hasResult_(true) {}
  ResultDelivery(JsChannel* channel, Handle handle, DeliveryError error)
      : channel_(channel),
        handle_(std::move(handle)),
        error_(std::move(error)),
        hasResult_(false) {}

  // Run only by the channel it names, which is alive meanwhile.
  void Run(Napi::Env env, Napi::Function) override {
    channel_->Unhold();
    if (hasResult_) {
      Settle::Resolve(env, handle_, result_);
    } else {
      Settle::Reject(env, handle_, error_);
    }
  }

 private:
  JsChannel* channel_;
  Handle handle_;
  R result_{};
  DeliveryError error_{};
  bool hasResult_;
};

template <class Arg, class Settle = ResolveWithResult>
class PromiseCallback final : public sdk::CallbackItf<Arg> {
 public:
  using Result = typename Captured<Arg>::Type;

  using Handle = typename Settle::Handle;

  // JavaScript thread. `unanswered` is how the Promise rejects when the SDK
  // lets go of the callback without invoking it.
  PromiseCallback(Handle handle, std::shared_ptr<JsChannel> channel,
                  DeliveryError unanswered = {code::kNoResult,
                                              "The SDK dropped the operation without a result"})
      : handle_(std::move(handle)),
        channel_(std::move(channel)),
        unanswered_(std::move(unanswered)) {
    channel_->Hold();
  }

  // An SDK that drops the callback unanswered would otherwise leave the
  // Promise pending and its channel holding the event loop for ever.
  ~PromiseCallback() override { Reject(unanswered_.code, unanswered_.text); }

  void OnResult(Arg result) override {
    if (!Claim()) return;
    channel_->Post(std::make_unique<ResultDelivery<Result, Settle>>(channel_.get(), handle_,
                                                                    Captured<Arg>::Copy(result)));
  }

  void Reject(const char* code, const char* message) {
    if (!Claim()) return;
    channel_->Post(std::make_unique<ResultDelivery<Result, Settle>>(channel_.get(), handle_,
                                                                    DeliveryError{code, message}));
  }

  // JavaScript thread. The call threw instead of starting: its caller sees
  // that error, so the Promise nobody holds must not reject too.
  void Abandon() {
    if (!Claim()) return;
    channel_->Unhold();
    Settle::Abandon(handle_);
  }

 private:
  // True for the first delivery only, whatever the SDK does.
  bool Claim() { return !delivered_.exchange(true); }

  Handle handle_;
  std::shared_ptr<JsChannel> channel_;
  DeliveryError unanswered_;
  std::atomic<bool> delivered_{false};
};

// The record a method resolves with when its tool died between the check and
// the call: zero values, "success" false, the transfer's "errorCode" 99.
template <class R>
R DestroyedRecord() {
  R record{};
  record.errorMessage = "Tool has been destroyed";
  if constexpr (std::is_same<R, sdk::FileTransferStatus>::value) {
    record.errorCode = sdk::FileTransferErrorCode::kUnknownError;
  }
  return record;
}

template <class R>
void ReportDestroyed(PromiseCallback<const R&>& callback) {
  callback.OnResult(DestroyedRecord<R>());
}
// Values without a record to carry the failure reject instead.
template <class Arg>
void ReportDestroyed(PromiseCallback<Arg>& callback) {
  callback.Reject(code::kToolDestroyed, "Tool has been destroyed");
}

Napi::Value RejectedPromise(Napi::Env env, const char* code, const char* message);

// Cancels `handle` when `signal` (anything AbortSignal-like) aborts.
void WireAbortSignal(Napi::Env env, Napi::Value signal,
                     sdk::SharedPtr<sdk::OperationHandleItf> handle);

constexpr const char* kToolNotInitialized = "Tool is not initialized";

// Which tool the SDK operation is called on.
enum class CallTarget {
  // The member tested, as it was then.
  kTestedMember,
  // A WeakPtr of it locked right before the call: a tool destroyed in
  // between resolves "Tool has been destroyed" without calling the SDK.
  kRelockedTool,
};

// The common sequence: the member test, then Deferred and callback, then
// `call(tool, callback)`; a returned operation handle is wired to `signal`.
template <class Arg, class Itf, class Call>
Napi::Value StartToolCall(Napi::Env env, const sdk::SharedPtr<Itf>& tool,
                          const char* notInitialized, const char* resourceName, CallTarget target,
                          Napi::Value signal, Call&& call) {
  if (!tool) return RejectedPromise(env, code::kNotInitialized, notInitialized);
  auto deferred = Napi::Promise::Deferred::New(env);
  auto* callback =
      new PromiseCallback<Arg>(deferred, AddonState::Get(env).ResultChannel(env, resourceName));
  sdk::SharedPtr<sdk::CallbackItf<Arg>> owned(callback);
  using Returned = decltype(call(*tool.get(), owned));
  try {
    if constexpr (std::is_void<Returned>::value) {
      sdk::SharedPtr<Itf> current = tool;
      if (target == CallTarget::kRelockedTool) current = sdk::WeakPtr<Itf>(tool).lock();
      if (current) {
        call(*current.get(), owned);
      } else {
        ReportDestroyed(*callback);
      }
    } else {
      WireAbortSignal(env, signal, call(*tool.get(), owned));
    }
  } catch (...) {
    callback->Abandon();
    throw;
  }
  return deferred.Promise();
}

// Operations without cancellation whose tool may be destroyed meanwhile.
template <class Arg, class Itf, class Call>
Napi::Value CallUnlessDestroyed(Napi::Env env, const sdk::SharedPtr<Itf>& tool,
                                const char* resourceName, Call&& call) {
  return StartToolCall<Arg>(env, tool, kToolNotInitialized, resourceName, CallTarget::kRelockedTool,
                            env.Undefined(), std::forward<Call>(call));
}

// Operations called through the member tested; `call` returns the operation
// handle when the operation is cancellable by `signal`.
template <class Arg, class Itf, class Call>
Napi::Value CallCancellable(Napi::Env env, const sdk::SharedPtr<Itf>& tool,
                            const char* notInitialized, const char* resourceName,
                            Napi::Value signal, Call&& call) {
  return StartToolCall<Arg>(env, tool, notInitialized, resourceName, CallTarget::kTestedMember,
                            signal, std::forward<Call>(call));
}

}  // namespace ombrix_addon
