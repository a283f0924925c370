#include "addon_state.h"

#include <exception>

#include "errors.h"

namespace ombrix_addon {

AddonState& AddonState::Get(Napi::Env env) {
  AddonState* state = env.GetInstanceData<AddonState>();
  if (!state) {
    state = new AddonState(env);
    env.SetInstanceData(state);
  }
  return *state;
}

AddonState::AddonState(Napi::Env env)
    : promise_(Napi::Persistent(env.Global().Get("Promise").As<Napi::Function>())) {}

void AddonState::SetConstructor(const std::string& className, Napi::Function constructor) {
  constructors_[className] = Napi::Persistent(constructor);
}

Napi::Function AddonState::Constructor(Napi::Env env, const std::string& className) const {
  auto found = constructors_.find(className);
  if (found == constructors_.end()) {
    throw CodedError(env, code::kInternal, "class " + className + " is not registered");
  }
  return found->second.Value();
}

Napi::Function AddonState::SharedFunction(Napi::Env env, const std::string& name,
                                          Napi::Function::Callback callback) {
  auto found = functions_.find(name);
  if (found != functions_.end()) return found->second.Value();
  // These functions call the SDK (a stream's or a requester's operations),
  // which may throw: its exception becomes a JavaScript one.
  Napi::Function function = Napi::Function::New(
      env,
      [callback](const Napi::CallbackInfo& info) -> Napi::Value {
        try {
          return callback(info);
        } catch (const Napi::Error&) {
          throw;
        } catch (const std::exception& e) {
          throw CodedError(info.Env(), code::kSdkFailure, e.what());
        }
      },
      name);
  functions_[name] = Napi::Persistent(function);
  return function;
}

}  // namespace ombrix_addon
