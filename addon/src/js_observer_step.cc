#include "js_observer_step.h"

namespace ombrix_addon {

void JsObserverStep::Post(const std::shared_ptr<JsTarget>& target, Make make) {
  target->Post(std::unique_ptr<JsTask>(new JsObserverStep(target, std::move(make))));
}

void JsObserverStep::Run(Napi::Env env, Napi::Function) {
  Napi::Object service = target_->Object(env);
  if (!service.Has("setObserver")) return;
  Napi::Value setObserver = service.Get("setObserver");
  if (!setObserver.IsFunction()) return;
  Napi::Value observer = make_ ? make_(env) : env.Null();
  setObserver.As<Napi::Function>().Call(service, {observer});
}

}  // namespace ombrix_addon
