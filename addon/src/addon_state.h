// State the module keeps per JavaScript environment (main thread, each worker).
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <napi.h>

#include "js_channel.h"

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

  // setImmediate as it was when the module loaded; empty where the runtime
  // has none.
  Napi::Function SetImmediate() const {
    return setImmediate_.IsEmpty() ? Napi::Function() : setImmediate_.Value();
  }

  // relay(promise, cell): calls settle(cell, fulfilled, value) when the
  // promise settles. Made once, around the first `settle` given
  // (js_call_bridge.cc), so that a call passes nothing it could look up.
  Napi::Function Relay(Napi::Env env, Napi::Function::Callback settle);

  // The channel every tool result of one kind (its resource name) crosses
  // on; it keeps the event loop alive while results are outstanding.
  const std::shared_ptr<JsChannel>& ResultChannel(Napi::Env env, const char* resourceName);

  // `name` as a property key made once: reading a property by a key the
  // engine has seen is cheaper than by a C string, which is made into a
  // JavaScript string and looked up in the engine's string table each time.
  // `name` must be a string with static storage (a literal, a field table's).
  Napi::Value Key(Napi::Env env, const char* name);

 private:
  explicit AddonState(Napi::Env env);

  Napi::FunctionReference promise_;
  Napi::FunctionReference setImmediate_;
  Napi::FunctionReference relay_;
  std::unordered_map<std::string, Napi::FunctionReference> constructors_;
  std::unordered_map<std::string, Napi::FunctionReference> functions_;
  std::vector<std::pair<std::string, std::shared_ptr<JsChannel>>> resultChannels_;
  // Keys live in one array; a name's index is found by its address.
  Napi::ObjectReference keys_;
  std::unordered_map<const char*, uint32_t> keyIndex_;
};

// `object[name]` and `name in object`, through the environment's key for
// `name` (which must have static storage).
Napi::Value GetByKey(Napi::Object object, const char* name);
bool HasByKey(Napi::Object object, const char* name);

}  // namespace ombrix_addon
