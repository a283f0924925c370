// Base of the tool classes: a tagged ObjectWrap holding its SDK tool. The
// member starts empty, is filled by the client's factory right after
// construction and is released when the wrapper is finalized.
#pragma once

#include <initializer_list>
#include <utility>

#include <napi.h>

#include "addon_state.h"
#include "ombrix/shared_ptr.h"
#include "tagged_wrap.h"

namespace ombrix_addon {

template <class T, class Itf>
class ToolWrap : public TaggedWrap<T> {
 public:
  using TaggedWrap<T>::TaggedWrap;

  // A new instance of this environment's class, holding `tool`.
  static Napi::Object NewInstance(Napi::Env env, quelt::ombrix::SharedPtr<Itf> tool) {
    Napi::Object instance = AddonState::Get(env).Constructor(env, T::kClassName).New({});
    T::FromValue(instance)->tool_ = std::move(tool);
    return instance;
  }

 protected:
  // Defines the class and keeps its constructor; the class is not exported.
  static void Register(Napi::Env env,
                       std::initializer_list<Napi::ClassPropertyDescriptor<T>> members) {
    AddonState::Get(env).SetConstructor(T::kClassName, T::DefineClass(env, T::kClassName, members));
  }

  quelt::ombrix::SharedPtr<Itf> tool_;
};

}  // namespace ombrix_addon
