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
  // The SDK may keep a tool call as long as it likes (a stream the
  // application's garbage still holds keeps its calls), but a cancel only
  // matters while the tool's own work runs, which keeps the process alive
  // itself: the channel does not hold the event loop.
  if (hasCancel_) {
    cancel_ =
        JsChannel::Create(env, "ToolCallCancel", cancel, nullptr, JsChannel::Liveness::kWhileHeld);
  }
}

NativeToolCall::~NativeToolCall() {
  if (cancel_) cancel_->Release();
}

quelt::ombrix::ToolCall NativeToolCall::GetToolCall() const { return View(data_); }

void NativeToolCall::Cancel() {
  if (hasCancel_) cancel_->Post(std::make_unique<CallCancel>());
}

}  // namespace ombrix_addon
