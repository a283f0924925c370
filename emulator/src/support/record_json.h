// Records to and from JSON, driven by the contract's field tables. Reading is
// lenient: a missing or mistyped key leaves the field at its default.
#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "ombrix_addon/record_fields.h"
#include "support/json.h"

namespace quelt::ombrix::emu {

using ombrix_records::ForEachField;
using ombrix_records::IsRecord;

// Saturating double → integer (NaN gives 0); plain casts would be undefined.
template <class Int>
Int ToInteger(double value) {
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(std::numeric_limits<Int>::min())) {
    return std::numeric_limits<Int>::min();
  }
  if (value >= static_cast<double>(std::numeric_limits<Int>::max())) {
    return std::numeric_limits<Int>::max();
  }
  return static_cast<Int>(value);
}

inline Json MessageJson(const char* message) { return message ? Json(message) : Json(); }

// { code, errorMessage } of any result record (a null message stays null).
template <class Record>
Json OutcomeJson(const Record& record) {
  return Json::MakeObject({{"code", static_cast<uint32_t>(record.code)},
                           {"errorMessage", MessageJson(record.errorMessage)}});
}

inline Json ToJson(bool value) { return Json(value); }
inline Json ToJson(int32_t value) { return Json(value); }
inline Json ToJson(int64_t value) { return Json(value); }
inline Json ToJson(uint64_t value) { return Json(value); }
inline Json ToJson(const std::string& value) { return Json(value); }
template <class E>
std::enable_if_t<std::is_enum<E>::value, Json> ToJson(E value) {
  return Json(static_cast<double>(static_cast<std::underlying_type_t<E>>(value)));
}
template <class R>
std::enable_if_t<IsRecord<R>::value, Json> ToJson(const R& record);
template <class T>
Json ToJson(const std::vector<T>& items) {
  Json::Array array;
  for (const T& item : items) array.push_back(ToJson(item));
  return Json(std::move(array));
}
template <class R>
std::enable_if_t<IsRecord<R>::value, Json> ToJson(const R& record) {
  Json object = Json::MakeObject({});
  ForEachField<R>([&](const auto& field) { object.Set(field.name, ToJson(record.*field.member)); });
  return object;
}

inline void Read(const Json& json, bool* out) {
  if (json.IsBool()) *out = json.AsBool();
}
inline void Read(const Json& json, std::string* out) {
  if (json.IsString()) *out = json.AsString();
}
template <class N>
std::enable_if_t<std::is_integral<N>::value && !std::is_same<N, bool>::value> Read(const Json& json,
                                                                                   N* out) {
  if (json.IsNumber()) *out = ToInteger<N>(json.AsNumber());
}
template <class E>
std::enable_if_t<std::is_enum<E>::value> Read(const Json& json, E* out) {
  if (json.IsNumber()) *out = static_cast<E>(ToInteger<std::underlying_type_t<E>>(json.AsNumber()));
}
template <class R>
std::enable_if_t<IsRecord<R>::value> Read(const Json& json, R* out);
template <class T>
void Read(const Json& json, std::vector<T>* out) {
  if (!json.IsArray()) return;
  out->clear();
  for (const Json& item : json.AsArray()) {
    T value{};
    Read(item, &value);
    out->push_back(std::move(value));
  }
}
template <class R>
std::enable_if_t<IsRecord<R>::value> Read(const Json& json, R* out) {
  if (!json.IsObject()) return;
  ForEachField<R>([&](const auto& field) { Read(json[field.name], &(out->*field.member)); });
}

template <class R>
R FromJson(const Json& json) {
  R record{};
  Read(json, &record);
  return record;
}

}  // namespace quelt::ombrix::emu
