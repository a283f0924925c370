// The one mechanism by which the SDK calls a JavaScript service: an SDK thread
// builds a PendingJsCall and queues it; on the JavaScript thread the named
// method is called and must return a Promise, whose outcome becomes the SDK
// result record, delivered through the SDK's callback on the JavaScript thread.
//
// Delivery is at most once. A synchronous throw from the method, from its
// lookup or from the returned Promise's "then" is delivered like a rejection
// (code 8 with the thrown error's message). A service's rejection is an
// answer, not an error of the application's: it is not re-raised as an
// unhandled rejection (which would end the process), while an exception thrown
// by the module's own fulfilment handler still is. A Promise that never
// settles delivers nothing; its handlers own the call, so the call (and the
// SDK callback it holds) is released when they are garbage-collected or the
// environment ends. A settled one lets go of the call at once. The handlers
// are made by one small JavaScript relay per environment around a cell that
// owns the call: one object with a finalizer per call, and plain closures,
// instead of two native functions. Adapters that must always answer set
// `abandonedMessage`, delivered when an unanswered call is released.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <napi.h>

#include "js_target.h"
#include "ombrix/callback.h"
#include "ombrix/enums.h"

namespace ombrix_addon {

namespace sdk = quelt::ombrix;

// A request's outcome before it becomes the SDK record.
template <class Record>
struct Outcome {
  sdk::ResultCode code = sdk::ResultCode::kErrorOperationFailed;
  std::string message;
  Record extras{};                // the record's own fields; code and message are ignored
  std::shared_ptr<void> storage;  // what the extras' pointers borrow from
};

template <class Record>
Outcome<Record> Success() {
  Outcome<Record> outcome;
  outcome.code = sdk::ResultCode::kSuccess;
  return outcome;
}

template <class Record>
Outcome<Record> Failure(std::string message) {
  Outcome<Record> outcome;
  outcome.message = std::move(message);
  return outcome;
}

// How an adapter family departs from the common rules, built by name:
// `BridgeRules().NotFoundForNonFunction().WarnWith(f)`.
struct BridgeRules {
  // One "<method> method not found" for a missing or non-function member,
  // instead of a separate "<method> is not a function".
  constexpr BridgeRules NotFoundForNonFunction() const {
    BridgeRules rules = *this;
    rules.singleMethodCheck = true;
    return rules;
  }
  // A missing method, or a method that returns no Promise, counts as success.
  constexpr BridgeRules MissingMethodSucceeds() const {
    BridgeRules rules = *this;
    rules.lenientMethod = true;
    return rules;
  }
  // Delivered when a call is released unanswered (failed queueing included).
  constexpr BridgeRules AnswerAbandonedWith(const char* message) const {
    BridgeRules rules = *this;
    rules.abandonedMessage = message;
    return rules;
  }
  // Told each method-lookup and non-Promise failure (with " on JS object"
  // appended for a missing method).
  constexpr BridgeRules WarnWith(void (*function)(const std::string& text)) const {
    BridgeRules rules = *this;
    rules.warn = function;
    return rules;
  }

  // Read by the bridge; set through the named rules above.
  bool singleMethodCheck = false;
  bool lenientMethod = false;
  const char* abandonedMessage = nullptr;
  void (*warn)(const std::string& text) = nullptr;
};

// "Unknown error" unless the reason is a string or has a string "message"
// (reading it may run a getter or a Proxy trap, which may throw: "Unknown
// error" too).
std::string ReasonMessage(Napi::Value reason);

// An answer that fails its own conversion by design (a "code" that is not a
// number where no type test is made): the request stays unanswered and the
// application sees the conversion error as an unhandled rejection. Every
// other failure while reading an answer, such as a getter or Proxy trap of the
// application's object that throws, answers code 8.
struct ConversionFailure {
  std::string message;
};
// The value of a key read without a type test, as a number.
uint32_t RequireNumber(Napi::Value value);

// Runs the SDK's callback. What it throws is the SDK's failure, not the
// application's: it is logged through the SDK logger and goes no further.
void ReportSdkCallbackThrew(const char* method, const char* what);
template <class Invoke>
void GuardSdkCallback(const char* method, Invoke&& invoke) {
  try {
    invoke();
  } catch (const std::exception& e) {
    ReportSdkCallbackThrew(method, e.what());
  } catch (...) {
    ReportSdkCallbackThrew(method, "an exception that is not a std::exception");
  }
}

class PendingJsCallBase : public std::enable_shared_from_this<PendingJsCallBase> {
 public:
  virtual ~PendingJsCallBase() = default;
  // The JavaScript-thread step.
  void Run(Napi::Env env);
  // JavaScript thread: the service's Promise settled.
  void Settled(Napi::Env env, bool fulfilled, Napi::Value value);

 protected:
  // `method` is a literal: it is also the property key.
  PendingJsCallBase(std::shared_ptr<JsTarget> target, const char* method, const BridgeRules& rules)
      : target_(std::move(target)), method_(method), rules_(rules) {}

  virtual std::vector<napi_value> Arguments(Napi::Env env) = 0;
  virtual void Fulfilled(Napi::Env env, Napi::Value value) = 0;
  virtual void Fail(std::string message) = 0;
  virtual void Succeed() = 0;

  std::shared_ptr<JsTarget> target_;
  const char* method_;
  BridgeRules rules_;

 private:
  void Call(Napi::Env env);
  void Warn(const std::string& text) const {
    if (rules_.warn) rules_.warn(text);
  }
};

template <class Record>
class PendingJsCall final : public PendingJsCallBase {
 public:
  using Callback = sdk::SharedPtr<sdk::CallbackItf<const Record&>>;
  using Arguments_ = std::function<std::vector<napi_value>(Napi::Env)>;
  // Turns the fulfilment value (undefined when there is none) into the outcome.
  using Convert = std::function<Outcome<Record>(Napi::Env, Napi::Value)>;

  PendingJsCall(std::shared_ptr<JsTarget> target, const char* method, Arguments_ arguments,
                Convert convert, Callback callback, const BridgeRules& rules)
      : PendingJsCallBase(std::move(target), method, rules),
        arguments_(std::move(arguments)),
        convert_(std::move(convert)),
        callback_(std::move(callback)) {}

  ~PendingJsCall() override {
    if (rules_.abandonedMessage) Deliver(Failure<Record>(rules_.abandonedMessage));
  }

  void Deliver(const Outcome<Record>& outcome) {
    if (!callback_) return;  // delivered already
    Callback callback = std::move(callback_);
    Record record = outcome.extras;
    record.code = outcome.code;
    record.errorMessage = outcome.message.empty() ? nullptr : outcome.message.c_str();
    GuardSdkCallback(method_, [&] { callback->OnResult(record); });
  }

 private:
  std::vector<napi_value> Arguments(Napi::Env env) override { return arguments_(env); }
  void Fulfilled(Napi::Env env, Napi::Value value) override { Deliver(convert_(env, value)); }
  void Fail(std::string message) override { Deliver(Failure<Record>(std::move(message))); }
  void Succeed() override { Deliver(Success<Record>()); }

  Arguments_ arguments_;
  Convert convert_;
  Callback callback_;
};

// The argument lists most operations pass: none, or one text copied now
// (a null pointer becomes "").
inline std::vector<napi_value> NoArguments(Napi::Env) { return {}; }
inline std::function<std::vector<napi_value>(Napi::Env)> TextArgument(const char* text) {
  std::string copy = text ? text : "";
  return
      [copy](Napi::Env env) -> std::vector<napi_value> { return {Napi::String::New(env, copy)}; };
}

// SDK side: queues the call on its adapter's channel and returns at once. If
// the channel is closed the call is released here, on the calling thread.
void Enqueue(std::shared_ptr<PendingJsCallBase> call, JsTarget& target);

// A request without a callback still runs its JavaScript step; its outcome
// goes nowhere.
template <class Record>
void CallJs(const std::shared_ptr<JsTarget>& target, const char* method,
            typename PendingJsCall<Record>::Arguments_ arguments,
            typename PendingJsCall<Record>::Convert convert,
            typename PendingJsCall<Record>::Callback callback, const BridgeRules& rules) {
  Enqueue(std::make_shared<PendingJsCall<Record>>(target, method, std::move(arguments),
                                                  std::move(convert), std::move(callback), rules),
          *target);
}

}  // namespace ombrix_addon
