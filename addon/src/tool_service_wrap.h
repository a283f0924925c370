// ToolService: the tools a connected tool service offers, listed and called.
#pragma once

#include <napi.h>

#include "ombrix/shell.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class ToolService final : public ToolWrap<ToolService, quelt::ombrix::ToolServiceItf> {
 public:
  static constexpr const char* kClassName = "ToolService";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;

 private:
  Napi::Value ListTools(const Napi::CallbackInfo& info);
  Napi::Value Call(const Napi::CallbackInfo& info);
};

}  // namespace ombrix_addon
