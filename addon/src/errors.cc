#include "errors.h"

namespace ombrix_addon {

namespace {

Napi::Error WithCode(Napi::Error error, const char* code) {
  error.Set("code", Napi::String::New(error.Env(), code));
  return error;
}

}  // namespace

Napi::Error CodedError(Napi::Env env, const char* code, const std::string& message) {
  return WithCode(Napi::Error::New(env, message), code);
}

Napi::Error CodedTypeError(Napi::Env env, const char* code, const std::string& message) {
  return WithCode(Napi::TypeError::New(env, message), code);
}

Napi::Error CodedRangeError(Napi::Env env, const char* code, const std::string& message) {
  return WithCode(Napi::RangeError::New(env, message), code);
}

}  // namespace ombrix_addon
