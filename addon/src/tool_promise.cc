#include "tool_promise.h"

namespace ombrix_addon {

Napi::Value RejectedPromise(Napi::Env env, const char* code, const char* message) {
  auto deferred = Napi::Promise::Deferred::New(env);
  deferred.Reject(CodedError(env, code, message).Value());
  return deferred.Promise();
}

namespace {

void Wire(Napi::Env env, Napi::Value signal,
          const sdk::SharedPtr<sdk::OperationHandleItf>& handle) {
  Napi::Object target = signal.As<Napi::Object>();
  if (!target.Has("aborted") || !target.Has("addEventListener")) return;
  if (target.Get("aborted").ToBoolean().Value()) {
    if (handle) handle->Cancel();
    return;
  }
  // The handler owns a copy of the handle for as long as the signal keeps it.
  Napi::Function handler = Napi::Function::New(
      env,
      [handle](const Napi::CallbackInfo& info) -> Napi::Value {
        if (handle) handle->Cancel();
        return info.Env().Undefined();
      },
      "abortHandler");
  Napi::Value addEventListener = target.Get("addEventListener");
  if (addEventListener.IsFunction()) {
    addEventListener.As<Napi::Function>().Call(target, {Napi::String::New(env, "abort"), handler});
  }
}

}  // namespace

void WireAbortSignal(Napi::Env env, Napi::Value signal,
                     sdk::SharedPtr<sdk::OperationHandleItf> handle) {
  if (!signal.IsObject()) return;  // functions count as objects
  // The operation has started. The signal's getters, Proxy traps and
  // addEventListener are the application's: if one throws, the caller gets
  // that exception instead of a Promise, so nothing may go on running.
  try {
    Wire(env, signal, handle);
  } catch (...) {
    try {
      if (handle) handle->Cancel();
    } catch (...) {  // the application's exception is the one its caller sees
    }
    throw;
  }
}

}  // namespace ombrix_addon
