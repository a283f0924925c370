// ObjectWrap with a type tag checked before every method, so that a method
// borrowed onto a foreign receiver throws instead of misreading memory.
#pragma once

#include <cstdint>
#include <exception>
#include <vector>

#include <napi.h>

#include "errors.h"

namespace ombrix_addon {

// A stable, per-name tag (two FNV-1a hashes), so no two classes share one.
constexpr uint64_t Fnv1a(const char* text, uint64_t hash = 0xcbf29ce484222325ull) {
  return *text ? Fnv1a(text + 1, (hash ^ static_cast<unsigned char>(*text)) * 0x100000001b3ull)
               : hash;
}
constexpr napi_type_tag MakeTypeTag(const char* className) {
  return napi_type_tag{Fnv1a(className), Fnv1a(className, 0x84222325cbf29ce4ull)};
}

// Runs a native callback body, turning C++ exceptions into JS exceptions.
template <class Body>
napi_value GuardedCall(napi_env env, Body&& body) {
  try {
    return body();
  } catch (const Napi::Error& e) {
    e.ThrowAsJavaScriptException();
  } catch (const std::exception& e) {
    CodedError(env, code::kSdkFailure, e.what()).ThrowAsJavaScriptException();
  }
  return nullptr;
}

// T declares `static constexpr const char* kClassName`.
template <class T>
class TaggedWrap : public Napi::ObjectWrap<T> {
 public:
  explicit TaggedWrap(const Napi::CallbackInfo& info) : Napi::ObjectWrap<T>(info) {
    info.This().As<Napi::Object>().TypeTag(Tag());
  }

  // The wrapped instance behind `value`, or null when it is not one of ours.
  static T* FromValue(Napi::Value value) {
    if (!value.IsObject()) return nullptr;
    Napi::Object object = value.As<Napi::Object>();
    if (!object.CheckTypeTag(Tag())) return nullptr;
    return Napi::ObjectWrap<T>::Unwrap(object);
  }

  // Members go on the prototype as plain functions rather than through the
  // class template: the template's receiver check would throw the engine's
  // own, uncoded "Illegal invocation" before Call<M> could throw the coded one.
  static Napi::Function DefineClass(Napi::Env env, const char* name,
                                    const std::vector<Napi::ClassPropertyDescriptor<T>>& members) {
    Napi::Function constructor = Napi::ObjectWrap<T>::DefineClass(env, name, {});
    std::vector<napi_property_descriptor> descriptors;
    descriptors.reserve(members.size());
    for (const Napi::ClassPropertyDescriptor<T>& member : members) {
      descriptors.push_back(static_cast<const napi_property_descriptor&>(member));
    }
    // "constructor" goes last again, where a class template puts it.
    napi_property_descriptor back{};
    back.utf8name = "constructor";
    back.value = constructor;
    back.attributes = static_cast<napi_property_attributes>(napi_writable | napi_configurable);
    descriptors.push_back(back);
    Napi::Object prototype = constructor.Get("prototype").As<Napi::Object>();
    prototype.Delete("constructor");
    NAPI_THROW_IF_FAILED(
        env, napi_define_properties(env, prototype, descriptors.size(), descriptors.data()),
        Napi::Function());
    return constructor;
  }

 protected:
  using Method = Napi::Value (T::*)(const Napi::CallbackInfo&);

  // `name` is a UTF-8 string or a symbol (e.g. Symbol.dispose).
  template <Method M, class Name>
  static Napi::ClassPropertyDescriptor<T> TaggedMethod(Name name) {
    napi_property_descriptor desc = Named(name);
    desc.method = &Call<M>;
    desc.attributes = static_cast<napi_property_attributes>(napi_writable | napi_configurable);
    return Napi::ClassPropertyDescriptor<T>(desc);
  }

  template <Method M>
  static Napi::ClassPropertyDescriptor<T> TaggedGetter(const char* name) {
    napi_property_descriptor desc = Named(name);
    desc.getter = &Call<M>;
    desc.attributes = napi_configurable;
    return Napi::ClassPropertyDescriptor<T>(desc);
  }

 private:
  static napi_property_descriptor Named(const char* name) {
    napi_property_descriptor desc{};
    desc.utf8name = name;
    return desc;
  }
  static napi_property_descriptor Named(Napi::Symbol name) {
    napi_property_descriptor desc{};
    desc.name = name;
    return desc;
  }

  // A function, not a member constant: T is still incomplete where the base
  // class is instantiated.
  static const napi_type_tag* Tag() {
    static constexpr napi_type_tag tag = MakeTypeTag(T::kClassName);
    return &tag;
  }

  template <Method M>
  static napi_value Call(napi_env env, napi_callback_info cbinfo) {
    return GuardedCall(env, [&]() -> napi_value {
      Napi::CallbackInfo info(env, cbinfo);
      T* self = FromValue(info.This());
      if (!self) throw CodedTypeError(env, code::kIllegalInvocation, "Illegal invocation");
      return (self->*M)(info);
    });
  }
};

}  // namespace ombrix_addon
