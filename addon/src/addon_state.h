// State the module keeps per JavaScript environment (main thread, each worker).
#pragma once

#include <string>
#include <unordered_map>

#include <napi.h>

namespace ombrix_addon {

class AddonState {
 public:
  // Created on first use and freed with the environment.
  static AddonState& Get(Napi::Env env);

  // Class constructors live here rather than in process-wide slots, so a worker
  // that loaded the module and exited leaves no dead constructor behind.
  void SetConstructor(const std::string& className, Napi::Function constructor);
  Napi::Function Constructor(Napi::Env env, const std::string& className) const;

  // Functions made once per environment and shared by many objects (the
  // stream and confirm objects' methods), created on first use.
  Napi::Function SharedFunction(Napi::Env env, const std::string& name,
                                Napi::Function::Callback callback);

  // The Promise constructor as it was when the module loaded (the state is
  // created during module initialisation), whatever the application later
  // does to the global.
  Napi::Function PromiseConstructor() const { return promise_.Value(); }

 private:
  explicit AddonState(Napi::Env env);

  Napi::FunctionReference promise_;
  std::unordered_map<std::string, Napi::FunctionReference> constructors_;
  std::unordered_map<std::string, Napi::FunctionReference> functions_;
};

}  // namespace ombrix_addon
