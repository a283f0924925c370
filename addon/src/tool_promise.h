// The one mechanism by which every asynchronous tool method turns an SDK
// result into a settled Promise, and by which an AbortSignal cancels it.
//
// Per call: a Deferred and a one-use JsChannel (its resource name tells the
// callback kind), owned by a PromiseCallback handed to the SDK. The SDK thread
// copies the result into a ResultDelivery, posts it and releases the channel;
// the JavaScript thread converts it (js_convert.h) and settles the Promise.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <napi.h>

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
  std::string text;
};

// The heap record that crosses to the JavaScript thread.
template <class R>
class ResultDelivery final : public JsTask {
 public:
  ResultDelivery(Napi::Promise::Deferred deferred, R result)
      : deferred_(deferred), result_(std::move(result)), hasResult_(true) {}
  ResultDelivery(Napi::Promise::Deferred deferred, DeliveryError error)
      : deferred_(deferred), error_(std::move(error)), hasResult_(false) {}

  void Run(Napi::Env env, Napi::Function) override {
    if (hasResult_) {
      deferred_.Resolve(ToJs(env, result_));
    } else {
      deferred_.Reject(CodedError(env, error_.code, error_.text).Value());
    }
  }

 private:
  Napi::Promise::Deferred deferred_;
  R result_{};
  DeliveryError error_{};
  bool hasResult_;
};

template <class Arg>
class PromiseCallback final : public sdk::CallbackItf<Arg> {
 public:
  using Result = typename Captured<Arg>::Type;

  PromiseCallback(Napi::Promise::Deferred deferred, std::shared_ptr<JsChannel> channel)
      : deferred_(deferred), channel_(std::move(channel)) {}

  // An SDK that drops the callback unanswered would otherwise leave the
  // Promise pending and its channel holding the event loop for ever.
  ~PromiseCallback() override { Reject(code::kNoResult, "The SDK dropped the operation without a result"); }

  void OnResult(Arg result) override {
    Deliver(std::make_unique<ResultDelivery<Result>>(deferred_, Captured<Arg>::Copy(result)));
  }

  void Reject(const char* code, std::string message) {
    Deliver(std::make_unique<ResultDelivery<Result>>(deferred_, DeliveryError{code, std::move(message)}));
  }

  // The call threw instead of starting: its caller sees that error, so the
  // Promise nobody holds must not reject too.
  void Abandon() {
    if (!delivered_.exchange(true)) channel_->Release();
  }

 private:
  // At most once, whatever the SDK does.
  void Deliver(std::unique_ptr<JsTask> delivery) {
    if (delivered_.exchange(true)) return;
    channel_->Post(std::move(delivery));
    channel_->Release();
  }

  Napi::Promise::Deferred deferred_;
  std::shared_ptr<JsChannel> channel_;
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
void WireAbortSignal(Napi::Env env, Napi::Value signal, sdk::SharedPtr<sdk::OperationHandleItf> handle);

constexpr const char* kToolNotInitialized = "Tool is not initialized";

// The common sequence: the member test, then Deferred, channel and callback,
// then `call(tool, callback)`.
template <class Arg, class Itf, class Call>
Napi::Value StartToolCall(Napi::Env env, const sdk::SharedPtr<Itf>& tool, const char* notInitialized,
                          const char* resourceName, bool relock, Napi::Value signal, Call&& call) {
  if (!tool) return RejectedPromise(env, code::kNotInitialized, notInitialized);
  auto deferred = Napi::Promise::Deferred::New(env);
  auto* callback = new PromiseCallback<Arg>(deferred, JsChannel::Create(env, resourceName));
  sdk::SharedPtr<sdk::CallbackItf<Arg>> owned(callback);
  using Returned = decltype(call(*tool.get(), owned));
  try {
    if constexpr (std::is_void<Returned>::value) {
      sdk::SharedPtr<Itf> target = tool;
      if (relock) target = sdk::WeakPtr<Itf>(tool).lock();  // the tool may be gone by now
      if (target) {
        call(*target.get(), owned);
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

// Operations without cancellation: the tool is re-locked right before the call.
template <class Arg, class Itf, class Call>
Napi::Value RelockedCall(Napi::Env env, const sdk::SharedPtr<Itf>& tool, const char* resourceName,
                         Call&& call) {
  return StartToolCall<Arg>(env, tool, kToolNotInitialized, resourceName, true, env.Undefined(),
                            std::forward<Call>(call));
}

// Operations that call through the member they tested; `call` returns the
// operation handle when the operation is cancellable.
template <class Arg, class Itf, class Call>
Napi::Value DirectCall(Napi::Env env, const sdk::SharedPtr<Itf>& tool, const char* notInitialized,
                       const char* resourceName, Napi::Value signal, Call&& call) {
  return StartToolCall<Arg>(env, tool, notInitialized, resourceName, false, signal,
                            std::forward<Call>(call));
}

}  // namespace ombrix_addon
