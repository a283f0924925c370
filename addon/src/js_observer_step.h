// Handing an application service its observer object. On the JavaScript
// thread the service's "setObserver" is called with what `make` builds (null
// when there is nothing to build), provided the service has such a function;
// a service without one is simply not told. The return value is ignored.
#pragma once

#include <functional>
#include <memory>

#include <napi.h>

#include "js_target.h"

namespace ombrix_addon {

class JsObserverStep final : public JsTask {
 public:
  using Make = std::function<Napi::Value(Napi::Env)>;

  // Any thread: queues the step on the target's channel.
  static void Post(const std::shared_ptr<JsTarget>& target, Make make);

  void Run(Napi::Env env, Napi::Function) override;

 private:
  JsObserverStep(std::shared_ptr<JsTarget> target, Make make)
      : target_(std::move(target)), make_(std::move(make)) {}

  std::shared_ptr<JsTarget> target_;
  Make make_;
};

}  // namespace ombrix_addon
