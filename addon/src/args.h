// Argument checks shared by the wrappers. Optional arguments of the wrong type
// silently take their defaults.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>

#include <napi.h>

#include "errors.h"

namespace ombrix_addon {

// TypeError `message` unless the leading arguments have exactly `types`.
inline void RequireArgs(const Napi::CallbackInfo& info, std::initializer_list<napi_valuetype> types,
                        const char* message) {
  bool ok = info.Length() >= types.size();
  size_t index = 0;
  for (napi_valuetype type : types) {
    if (!ok) break;
    ok = info[index++].Type() == type;
  }
  if (!ok) throw ArgumentError(info.Env(), message);
}

// The name of parameter `index` in a signature text "Expected (name: type, …)".
std::string ParameterName(const char* signature, size_t index);

// A string bound for the SDK, which takes C strings: an embedded NUL would cut
// it short, so it is refused as Node's own fs refuses one, naming `name`.
std::string SdkString(Napi::Value value, const std::string& name);

// Argument `index` (already checked to be a string) for the SDK; `signature`
// names it when it is refused.
inline std::string StringArg(const Napi::CallbackInfo& info, size_t index, const char* signature) {
  return SdkString(info[index], ParameterName(signature, index));
}

// The leading `N` arguments, which must be strings (TypeError `signature`
// otherwise), for the SDK: `auto [device, path] = StringArgs<2>(info, "Expected (…)")`.
template <size_t N>
std::array<std::string, N> StringArgs(const Napi::CallbackInfo& info, const char* signature) {
  bool ok = info.Length() >= N;
  for (size_t i = 0; ok && i < N; ++i) ok = info[i].IsString();
  if (!ok) throw ArgumentError(info.Env(), signature);
  std::array<std::string, N> values;
  for (size_t i = 0; i < N; ++i) values[i] = StringArg(info, i, signature);
  return values;
}

inline int32_t OptionalInt32(const Napi::CallbackInfo& info, size_t index, int32_t fallback) {
  return info.Length() > index && info[index].IsNumber()
             ? info[index].As<Napi::Number>().Int32Value()
             : fallback;
}

inline bool OptionalBool(const Napi::CallbackInfo& info, size_t index, bool fallback) {
  return info.Length() > index && info[index].IsBoolean() ? info[index].As<Napi::Boolean>().Value()
                                                          : fallback;
}

}  // namespace ombrix_addon
