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

 private:
  std::unordered_map<std::string, Napi::FunctionReference> constructors_;
};

}  // namespace ombrix_addon
