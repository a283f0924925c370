// Argument checks shared by the wrappers. Optional arguments of the wrong type
// silently take their defaults.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

#include <napi.h>

#include "errors.h"

namespace ombrix_addon {

// TypeError `message` unless there are at least `count` arguments, all strings.
inline void RequireStrings(const Napi::CallbackInfo& info, size_t count, const char* message) {
  bool ok = info.Length() >= count;
  for (size_t i = 0; ok && i < count; ++i) ok = info[i].IsString();
  if (!ok) throw ArgumentError(info.Env(), message);
}

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

inline std::string StringArg(const Napi::CallbackInfo& info, size_t index) {
  return info[index].As<Napi::String>().Utf8Value();
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
