#include "js_call_bridge.h"

#include <exception>

#include "addon_state.h"
#include "errors.h"
#include "module_log.h"

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

Napi::Value Ignore(const Napi::CallbackInfo& info) { return info.Env().Undefined(); }

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

void ReportSdkCallbackThrew(const std::string& method, const char* what) {
  ModuleLog(sdk::LogLevel::kError, "JSCallBridge", "addon/src/js_call_bridge", __LINE__, "Deliver",
            method + ": the SDK's result callback threw: " + what);
}

uint32_t RequireNumber(Napi::Value value) {
  if (!value.IsNumber()) throw ConversionFailure{"A number was expected"};
  return value.As<Napi::Number>().Uint32Value();
}

void Enqueue(std::shared_ptr<PendingJsCallBase> call, JsTarget& target) {
  target.Post(std::make_unique<QueuedCall>(std::move(call)));
}

void PendingJsCallBase::Run(Napi::Env env) {
  Napi::Object object = target_->Object(env);
  if (!object.Has(method_)) {
    if (rules_.lenientMethod) return Succeed();
    Warn(method_ + " method not found on JS object");
    return Fail(method_ + " method not found");
  }
  Napi::Value member = object.Get(method_);
  if (!member.IsFunction()) {
    if (rules_.singleMethodCheck) {
      Warn(method_ + " method not found on JS object");
      return Fail(method_ + " method not found");
    }
    return Fail(method_ + " is not a function");
  }

  Napi::Value result;
  try {
    std::vector<napi_value> arguments = Arguments(env);
    result = member.As<Napi::Function>().Call(object, arguments);
  } catch (const Napi::Error& error) {
    return Fail(ReasonMessage(error.Value()));
  }
  if (!result.IsPromise()) {
    if (rules_.lenientMethod) return Succeed();
    Warn(method_ + " did not return a Promise");
    return Fail(method_ + " did not return a Promise");
  }

  // Both handlers share the call; whichever runs delivers, and the call is
  // released when the last handler is.
  std::shared_ptr<PendingJsCallBase> self = shared_from_this();
  Napi::Function onFulfilled = Napi::Function::New(env, [self](const Napi::CallbackInfo& info) {
    try {
      self->Fulfilled(info.Env(), info.Length() > 0 ? info[0] : info.Env().Undefined());
    } catch (const ConversionFailure& failure) {
      RaiseUnhandled(info.Env(), Napi::TypeError::New(info.Env(), failure.message).Value());
    } catch (const Napi::Error&) {
      self->Fail("Unknown error");  // the answer cannot be read: a getter or Proxy trap threw
    } catch (const std::exception& error) {
      self->Fail(error.what());
    }
  });
  Napi::Function onRejected = Napi::Function::New(env, [self](const Napi::CallbackInfo& info) {
    self->Fail(info.Length() > 0 ? ReasonMessage(info[0]) : "Unknown error");
  });
  Napi::Object promise = result.As<Napi::Object>();
  Napi::Value derived = promise.Get("then").As<Napi::Function>().Call(promise, {onFulfilled});
  promise.Get("catch").As<Napi::Function>().Call(promise, {onRejected});
  // The promise "then" returns rejects too when the service rejects: with the
  // rejection already answered. The fulfilment handler never throws, so that
  // is the only way it rejects, and one function shared by every call
  // settles it.
  if (derived.IsObject()) {
    Napi::Object then = derived.As<Napi::Object>();
    Napi::Value catchMethod = then.Get("catch");
    if (catchMethod.IsFunction()) {
      catchMethod.As<Napi::Function>().Call(
          then, {AddonState::Get(env).SharedFunction(env, "answeredRejection", Ignore)});
    }
  }
}

}  // namespace ombrix_addon
