// Reading the outcome keys ("code", "errorMessage") of a service's fulfilment
// object, and the "… not returned" answer for anything that is not an object.
#pragma once

#include <string>
#include <vector>

#include <napi.h>

#include "addon_state.h"
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
  if (HasByKey(object, "code")) {
    Napi::Value code = GetByKey(object, "code");
    if (rule == CodeRule::kPresentElseSuccess || code.IsNumber()) {
      outcome.code = static_cast<sdk::ResultCode>(RequireNumber(code));
    }
  }
  if (HasByKey(object, "errorMessage")) {
    Napi::Value message = GetByKey(object, "errorMessage");
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

// The getInfo answer of the session families. A missing "code" is success
// and one that is not a number fails the read itself; a failure code keeps a
// string "errorMessage", else "Operation failed"; success needs an "info"
// object, which `take(info, &outcome)` puts into the record. `warn`, when
// given, is told "getInfo: " and the message of each malformed answer.
template <class Record, class Take>
typename PendingJsCall<Record>::Convert InfoResult(std::string notReturned, Take take,
                                                   void (*warn)(const std::string&) = nullptr) {
  return [notReturned, take, warn](Napi::Env, Napi::Value value) {
    auto malformed = [warn](const std::string& message) {
      if (warn) warn("getInfo: " + message);
      return Failure<Record>(message);
    };
    if (!value.IsObject()) return malformed(notReturned);
    Napi::Object result = value.As<Napi::Object>();
    Outcome<Record> outcome = Success<Record>();
    if (HasByKey(result, "code")) {
      outcome.code = static_cast<sdk::ResultCode>(RequireNumber(GetByKey(result, "code")));
    }
    if (outcome.code != sdk::ResultCode::kSuccess) {
      Napi::Value message =
          HasByKey(result, "errorMessage") ? GetByKey(result, "errorMessage") : Napi::Value();
      outcome.message =
          message.IsString() ? message.As<Napi::String>().Utf8Value() : "Operation failed";
      return outcome;
    }
    if (!HasByKey(result, "info") || !GetByKey(result, "info").IsObject()) {
      return malformed("Info not found in result");
    }
    take(GetByKey(result, "info"), &outcome);
    return outcome;
  };
}

// An adapter made by `make(env, object)` over the object under `key`, or an
// empty pointer when there is none.
template <class Itf, class Make>
sdk::SharedPtr<Itf> AdapterAt(Napi::Env env, Napi::Object result, const char* key, Make make) {
  if (!HasByKey(result, key)) return sdk::SharedPtr<Itf>();
  Napi::Value value = GetByKey(result, key);
  return value.IsObject() ? sdk::SharedPtr<Itf>(make(env, value)) : sdk::SharedPtr<Itf>();
}

// One adapter per object element of the array under `key`, in array order;
// other elements are skipped.
template <class Itf, class Make>
std::vector<sdk::SharedPtr<Itf>> AdaptersAt(Napi::Env env, Napi::Object result, const char* key,
                                            Make make) {
  std::vector<sdk::SharedPtr<Itf>> adapters;
  if (!HasByKey(result, key) || !GetByKey(result, key).IsArray()) return adapters;
  Napi::Array array = GetByKey(result, key).As<Napi::Array>();
  for (uint32_t i = 0; i < array.Length(); ++i) {
    Napi::Value element = array.Get(i);
    if (element.IsObject()) adapters.emplace_back(make(env, element));
  }
  return adapters;
}

}  // namespace ombrix_addon
