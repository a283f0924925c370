// Reading the outcome keys ("code", "errorMessage") of a service's fulfilment
// object, and the "… not returned" answer for anything that is not an object.
#pragma once

#include <string>

#include <napi.h>

#include "js_call_bridge.h"

namespace ombrix_addon {

// What an object without a usable "code" means, per service family.
enum class CodeRule {
  kNumberElseFailure,   // read when a number; otherwise ERROR_OPERATION_FAILED
  kNumberElseSuccess,   // read when a number; otherwise SUCCESS
  kPresentElseSuccess,  // read when present, without a type test (a non-number
                        // throws the Node-API conversion error); otherwise SUCCESS
};

template <class Record>
Outcome<Record> ReadOutcome(Napi::Object object, CodeRule rule) {
  Outcome<Record> outcome;
  outcome.code = rule == CodeRule::kNumberElseFailure ? sdk::ResultCode::kErrorOperationFailed
                                                      : sdk::ResultCode::kSuccess;
  if (object.Has("code")) {
    Napi::Value code = object.Get("code");
    if (rule == CodeRule::kPresentElseSuccess || code.IsNumber()) {
      outcome.code = static_cast<sdk::ResultCode>(code.As<Napi::Number>().Uint32Value());
    }
  }
  if (object.Has("errorMessage")) {
    Napi::Value message = object.Get("errorMessage");
    if (message.IsString()) outcome.message = message.As<Napi::String>().Utf8Value();
  }
  return outcome;
}

// A converter for records that need an object: anything else fails with
// "<recordName> not returned"; an object goes through `read`.
template <class Record, class Read>
typename PendingJsCall<Record>::Convert ObjectResult(const char* recordName, Read read) {
  std::string notReturned = std::string(recordName) + " not returned";
  return [notReturned, read](Napi::Env env, Napi::Value value) {
    if (!value.IsObject()) return Failure<Record>(notReturned);
    return read(env, value.As<Napi::Object>());
  };
}

// The plain OperationResult converter of a family.
inline PendingJsCall<sdk::OperationResult>::Convert OperationResultOf(CodeRule rule) {
  return ObjectResult<sdk::OperationResult>(
      "OperationResult", [rule](Napi::Env, Napi::Object object) {
        return ReadOutcome<sdk::OperationResult>(object, rule);
      });
}

}  // namespace ombrix_addon
