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
    : promise_(Napi::Persistent(env.Global().Get("Promise").As<Napi::Function>())),
      keys_(Napi::Persistent(Napi::Array::New(env).As<Napi::Object>())) {
  Napi::Value setImmediate = env.Global().Get("setImmediate");
  if (setImmediate.IsFunction())
    setImmediate_ = Napi::Persistent(setImmediate.As<Napi::Function>());
}

Napi::Function AddonState::Relay(Napi::Env env, Napi::Function::Callback settle) {
  if (!relay_.IsEmpty()) return relay_.Value();
  // Plain closures cost far less than a native function each; the handlers
  // never throw, so the promise "then" returns never rejects.
  static const char kSource[] =
      "(function (settle) {\n"
      "  return function relay(promise, cell) {\n"
      "    promise.then(function (value) { settle(cell, true, value); },\n"
      "                 function (reason) { settle(cell, false, reason); });\n"
      "  };\n"
      "})";
  napi_value script = Napi::String::New(env, kSource);
  napi_value factory = nullptr;
  NAPI_THROW_IF_FAILED(env, napi_run_script(env, script, &factory), Napi::Function());
  Napi::Value relay =
      Napi::Function(env, factory).Call({SharedFunction(env, "settleJsCall", settle)});
  relay_ = Napi::Persistent(relay.As<Napi::Function>());
  return relay_.Value();
}

const std::shared_ptr<JsChannel>& AddonState::ResultChannel(Napi::Env env,
                                                            const char* resourceName) {
  for (const auto& entry : resultChannels_) {
    if (entry.first == resourceName) return entry.second;
  }
  resultChannels_.emplace_back(resourceName,
                               JsChannel::Create(env, resourceName, Napi::Function(), nullptr,
                                                 JsChannel::Liveness::kWhileHeld));
  return resultChannels_.back().second;
}

Napi::Value AddonState::Key(Napi::Env env, const char* name) {
  Napi::Object keys = keys_.Value();
  auto found = keyIndex_.find(name);
  if (found != keyIndex_.end()) return keys.Get(found->second);
  uint32_t index = static_cast<uint32_t>(keyIndex_.size());
  Napi::String key = Napi::String::New(env, name);
  keys.Set(index, key);
  keyIndex_.emplace(name, index);
  return key;
}

Napi::Value GetByKey(Napi::Object object, const char* name) {
  Napi::Env env = object.Env();
  return object.Get(AddonState::Get(env).Key(env, name));
}

bool HasByKey(Napi::Object object, const char* name) {
  Napi::Env env = object.Env();
  return object.Has(AddonState::Get(env).Key(env, name));
}

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
