// JavaScript objects to the owning record forms (ombrix_records::…Data), driven by the
// contract's field tables. Reading is lenient: a key is read only when present
// and of the expected JavaScript type, otherwise the field keeps its default;
// nothing here throws for a shape error.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <napi.h>

#include "addon_state.h"
#include "ombrix_addon/record_fields.h"

namespace ombrix_addon {

// How 64-bit integers are accepted: the chat records take a BigInt or a
// number; the notification and audit records a number only.
enum class Int64Form { kNumberOrBigInt, kNumber };

template <Int64Form kForm>
struct JsReader {
  static void Read(Napi::Value value, std::string* out) {
    if (value.IsString()) *out = value.As<Napi::String>().Utf8Value();
  }
  static void Read(Napi::Value value, bool* out) {
    if (value.IsBoolean()) *out = value.As<Napi::Boolean>().Value();
  }
  static void Read(Napi::Value value, int64_t* out) {
    if (kForm == Int64Form::kNumberOrBigInt && value.IsBigInt()) {
      bool lossless = false;  // a value that does not fit is truncated
      *out = value.As<Napi::BigInt>().Int64Value(&lossless);
    } else if (value.IsNumber()) {
      *out = value.As<Napi::Number>().Int64Value();
    }
  }
  template <class E>
  static std::enable_if_t<std::is_enum<E>::value> Read(Napi::Value value, E* out) {
    if (value.IsNumber()) *out = static_cast<E>(value.As<Napi::Number>().Uint32Value());
  }
  template <class R>
  static std::enable_if_t<ombrix_records::IsRecord<R>::value> Read(Napi::Value value, R* out) {
    if (!value.IsObject()) return;
    Napi::Object object = value.As<Napi::Object>();
    ombrix_records::ForEachField<R>([&](const auto& field) {
      // A missing key reads as undefined, which no field accepts.
      Read(GetByKey(object, field.name), &(out->*field.member));
    });
  }
  // Elements of the wrong type are skipped: the list may come out shorter.
  template <class T>
  static void Read(Napi::Value value, std::vector<T>* out) {
    if (!value.IsArray()) return;
    Napi::Array array = value.As<Napi::Array>();
    out->reserve(array.Length());
    for (uint32_t i = 0; i < array.Length(); ++i) {
      Napi::Value element = array.Get(i);
      if (!Accepts<T>(element)) continue;
      T item{};
      Read(element, &item);
      out->push_back(std::move(item));
    }
  }

 private:
  template <class T>
  static bool Accepts(Napi::Value element) {
    if constexpr (std::is_same<T, std::string>::value) {
      return element.IsString();
    } else {
      return element.IsObject();
    }
  }
};

template <class Data, Int64Form kForm = Int64Form::kNumberOrBigInt>
Data FromJs(Napi::Value value) {
  Data data{};
  JsReader<kForm>::Read(value, &data);
  return data;
}

}  // namespace ombrix_addon
