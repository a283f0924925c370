#include "activate_window_worker.h"

namespace ombrix_addon {

ActivateWindowWorker::ActivateWindowWorker(Napi::Env env, WindowSystem::Handle window)
    : Napi::AsyncWorker(env), window_(window), deferred_(Napi::Promise::Deferred::New(env)) {}

void ActivateWindowWorker::Execute() { result_ = WindowSystem::Platform().Activate(window_); }

void ActivateWindowWorker::OnOK() {
  Napi::Env env = Env();
  Napi::Object result = Napi::Object::New(env);
  result.Set("ok", Napi::Boolean::New(env, result_.ok));
  result.Set("tier", Napi::String::New(env, result_.tier));
  result.Set("lastError", Napi::Number::New(env, result_.lastError));
  deferred_.Resolve(result);
}

void ActivateWindowWorker::OnError(const Napi::Error& error) { deferred_.Reject(error.Value()); }

}  // namespace ombrix_addon
