#include "native_tool_call.h"

namespace ombrix_addon {

namespace {

class CallCancel final : public JsTask {
 public:
  void Run(Napi::Env, Napi::Function cancel) override {
    if (!cancel.IsEmpty()) cancel.Call({});  // its result is ignored
  }
};

}  // namespace

NativeToolCall::NativeToolCall(Napi::Env env, ombrix_records::ToolCallData data,
                               Napi::Function cancel)
    : data_(std::move(data)), hasCancel_(!cancel.IsEmpty()) {
  if (hasCancel_) cancel_ = JsChannel::Create(env, "ToolCallCancel", cancel);
}

NativeToolCall::~NativeToolCall() {
  if (cancel_) cancel_->Release();
}

quelt::ombrix::ToolCall NativeToolCall::GetToolCall() const { return View(data_); }

void NativeToolCall::Cancel() {
  if (hasCancel_) cancel_->Post(std::make_unique<CallCancel>());
}

}  // namespace ombrix_addon
