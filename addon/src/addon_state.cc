#include "addon_state.h"

namespace ombrix_addon {

AddonState& AddonState::Get(Napi::Env env) {
  AddonState* state = env.GetInstanceData<AddonState>();
  if (!state) {
    state = new AddonState();
    env.SetInstanceData(state);
  }
  return *state;
}

void AddonState::SetConstructor(const std::string& className, Napi::Function constructor) {
  constructors_[className] = Napi::Persistent(constructor);
}

Napi::Function AddonState::Constructor(Napi::Env env, const std::string& className) const {
  auto found = constructors_.find(className);
  if (found == constructors_.end()) {
    throw Napi::Error::New(env, "class " + className + " is not registered");
  }
  return found->second.Value();
}

}  // namespace ombrix_addon
