// A tool call the application streams to the SDK ("onToolCall"). The SDK may
// cancel it from any thread; that calls the JavaScript tool call's "cancel"
// on the JavaScript thread, if it had one.
#pragma once

#include <memory>

#include <napi.h>

#include "js_channel.h"
#include "ombrix/chat_stream.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

class NativeToolCall final : public quelt::ombrix::ToolCallItf {
 public:
  // JavaScript thread. `cancel` may be empty.
  NativeToolCall(Napi::Env env, ombrix_records::ToolCallData data, Napi::Function cancel);
  ~NativeToolCall() override;

  quelt::ombrix::ToolCall GetToolCall() const override;
  void Cancel() override;

 private:
  ombrix_records::ToolCallData data_;
  bool hasCancel_;
  std::shared_ptr<JsChannel> cancel_;  // "ToolCallCancel", over the cancel function
};

}  // namespace ombrix_addon
