#include "js_target.h"

#include "errors.h"

namespace ombrix_addon {

namespace {

class DropReference final : public JsTask {
 public:
  explicit DropReference(napi_ref ref) : ref_(ref) {}
  void Run(Napi::Env env, Napi::Function) override { napi_delete_reference(env, ref_); }

 private:
  napi_ref ref_;
};

}  // namespace

JsTarget::JsTarget(Napi::Env env, Napi::Object object, const char* className)
    : env_(env), ref_(nullptr) {
  if (napi_create_reference(env, object, 1, &ref_) != napi_ok) {
    throw CodedError(env, code::kInternal,
                     std::string(className) + ": cannot reference the object");
  }
  try {
    channel_ = JsChannel::Create(env, className);
  } catch (...) {
    napi_delete_reference(env, ref_);
    throw;
  }
}

JsTarget::~JsTarget() {
  // A closed channel means the environment is gone, and its references with it.
  channel_->Post(std::make_unique<DropReference>(ref_));
  channel_->Release();
}

Napi::Object JsTarget::Object(Napi::Env env) const {
  napi_value value = nullptr;
  napi_get_reference_value(env, ref_, &value);
  return Napi::Object(env, value);
}

bool JsTarget::Post(std::unique_ptr<JsTask> task) { return channel_->Post(std::move(task)); }

}  // namespace ombrix_addon
