#include "js_call_bridge.h"

#include <exception>

#include "addon_state.h"
#include "errors.h"
#include "module_log.h"
#include "owned_external.h"

namespace ombrix_addon {

namespace {

class QueuedCall final : public JsTask {
 public:
  explicit QueuedCall(std::shared_ptr<PendingJsCallBase> call) : call_(std::move(call)) {}
  void Run(Napi::Env env, Napi::Function) override { call_->Run(env); }

 private:
  std::shared_ptr<PendingJsCallBase> call_;
};

// A failure of the module's own fulfilment handler (a result it cannot
// convert) reaches the application as an unhandled rejection, without passing
// through the derived promise that answered rejections also go to.
void RaiseUnhandled(Napi::Env env, Napi::Value reason) {
  Napi::Promise::Deferred::New(env).Reject(reason);
}

using CallCell = std::shared_ptr<PendingJsCallBase>;

// settle(cell, fulfilled, value), called by the relay's handlers only.
Napi::Value SettleJsCall(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 3 || !info[0].IsExternal()) return env.Undefined();
  CallCell* cell = info[0].As<Napi::External<CallCell>>().Data();
  if (!cell || !*cell) return env.Undefined();
  // A promise settles once: the call is let go now rather than when the
  // handlers are collected, which may be never in a process with nothing
  // left to do, and the call holds its adapter's channel, which holds the loop.
  CallCell call = std::move(*cell);
  call->Settled(env, info[1].ToBoolean().Value(), info[2]);
  return env.Undefined();
}

}  // namespace

std::string ReasonMessage(Napi::Value reason) {
  try {
    if (reason.IsString()) return reason.As<Napi::String>().Utf8Value();
    if (reason.IsObject()) {
      Napi::Object object = reason.As<Napi::Object>();
      if (object.Has("message")) {
        Napi::Value message = object.Get("message");
        if (message.IsString()) return message.As<Napi::String>().Utf8Value();
      }
    }
  } catch (const Napi::Error&) {  // a throwing getter or Proxy trap; its exception is cleared
  }
  return "Unknown error";
}

void ReportSdkCallbackThrew(const char* method, const char* what) {
  ModuleLog(sdk::LogLevel::kError, "JSCallBridge", "addon/src/js_call_bridge", __LINE__, "Deliver",
            std::string(method) + ": the SDK's result callback threw: " + what);
}

uint32_t RequireNumber(Napi::Value value) {
  if (!value.IsNumber()) throw ConversionFailure{"A number was expected"};
  return value.As<Napi::Number>().Uint32Value();
}

void Enqueue(std::shared_ptr<PendingJsCallBase> call, JsTarget& target) {
  target.Post(std::make_unique<QueuedCall>(std::move(call)));
}

void PendingJsCallBase::Run(Napi::Env env) {
  // The application's code runs at every step: the method's lookup (a getter,
  // a Proxy trap), the method, and the returned Promise's "then" (a subclass,
  // an own property, a patched prototype). Whichever throws, the SDK is
  // answered as for a throwing method; an answer already given stands.
  try {
    Call(env);
  } catch (const Napi::Error& error) {
    Fail(ReasonMessage(error.Value()));
    // Handlers a throwing "then" left attached may own the call until they
    // are collected; answered, it needs its adapter no more, and must not
    // keep it (and the event loop) until then.
    target_.reset();
  }
}

void PendingJsCallBase::Call(Napi::Env env) {
  Napi::Object object = target_->Object(env);
  // Only failures are worded: a call that goes through builds no string.
  auto named = [this](const char* what) { return std::string(method_) + what; };
  if (!HasByKey(object, method_)) {
    if (rules_.lenientMethod) return Succeed();
    Warn(named(" method not found on JS object"));
    return Fail(named(" method not found"));
  }
  Napi::Value member = GetByKey(object, method_);
  if (!member.IsFunction()) {
    if (rules_.singleMethodCheck) {
      Warn(named(" method not found on JS object"));
      return Fail(named(" method not found"));
    }
    return Fail(named(" is not a function"));
  }

  std::vector<napi_value> arguments = Arguments(env);
  Napi::Value result = member.As<Napi::Function>().Call(object, arguments);
  if (!result.IsPromise()) {
    if (rules_.lenientMethod) return Succeed();
    Warn(named(" did not return a Promise"));
    return Fail(named(" did not return a Promise"));
  }

  // Both handlers share the cell; whichever runs delivers, and the call is
  // released when the cell is collected with the handlers.
  // Owned through the environment too: a finalizer still queued when a worker
  // ends may never run, and the call would keep its SDK callback for ever.
  Napi::External<CallCell> cell =
      OwnedExternal(env, std::make_unique<CallCell>(shared_from_this()));
  AddonState::Get(env).Relay(env, SettleJsCall).Call({result, cell});
}

void PendingJsCallBase::Settled(Napi::Env env, bool fulfilled, Napi::Value value) {
  if (!fulfilled) return Fail(ReasonMessage(value));
  try {
    Fulfilled(env, value);
  } catch (const ConversionFailure& failure) {
    RaiseUnhandled(env, Napi::TypeError::New(env, failure.message).Value());
  } catch (const Napi::Error&) {
    Fail("Unknown error");  // the answer cannot be read: a getter or Proxy trap threw
  } catch (const std::exception& error) {
    Fail(error.what());
  }
}

}  // namespace ombrix_addon
