// SDK values to JavaScript. Records become plain objects whose keys follow the
// record's field table; 64-bit integers become numbers (never BigInt).
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <napi.h>

#include "addon_state.h"

#include "ombrix_addon/record_fields.h"

namespace ombrix_addon {

inline Napi::Value ToJs(Napi::Env env, bool value) { return Napi::Boolean::New(env, value); }
inline Napi::Value ToJs(Napi::Env env, const std::string& value) {
  return Napi::String::New(env, value);
}
inline Napi::Value ToJs(Napi::Env env, int32_t value) { return Napi::Number::New(env, value); }
inline Napi::Value ToJs(Napi::Env env, int64_t value) {
  return Napi::Number::New(env, static_cast<double>(value));
}
inline Napi::Value ToJs(Napi::Env env, uint64_t value) {
  return Napi::Number::New(env, static_cast<double>(value));
}
template <class E>
std::enable_if_t<std::is_enum<E>::value, Napi::Value> ToJs(Napi::Env env, E value) {
  return Napi::Number::New(env, static_cast<double>(static_cast<std::underlying_type_t<E>>(value)));
}
template <class R>
std::enable_if_t<ombrix_records::IsRecord<R>::value, Napi::Value> ToJs(Napi::Env env,
                                                                       const R& record);
template <class T>
Napi::Value ToJs(Napi::Env env, const std::vector<T>& items) {
  Napi::Array array = Napi::Array::New(env, items.size());
  for (uint32_t i = 0; i < items.size(); ++i) array.Set(i, ToJs(env, items[i]));
  return array;
}
template <class R>
std::enable_if_t<ombrix_records::IsRecord<R>::value, Napi::Value> ToJs(Napi::Env env,
                                                                       const R& record) {
  Napi::Object object = Napi::Object::New(env);
  AddonState& state = AddonState::Get(env);
  ombrix_records::ForEachField<R>([&](const auto& field) {
    object.Set(state.Key(env, field.name), ToJs(env, record.*field.member));
  });
  return object;
}

}  // namespace ombrix_addon
