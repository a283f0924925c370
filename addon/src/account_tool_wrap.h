// AccountTool: the signed-in account's identity and tokens, this device, the
// account's devices, and token renewals reported through an observer.
#pragma once

#include <napi.h>

#include <memory>
#include <string>

#include "js_channel.h"
#include "ombrix/account.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class AccountToolObserver;

class AccountTool final : public ToolWrap<AccountTool, quelt::ombrix::AccountToolItf> {
 public:
  static constexpr const char* kClassName = "AccountTool";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;
  ~AccountTool() override;

  enum class TokenKind { kAccount, kMcp };
  // From the observer, on SDK threads, under the observer's lock.
  void QueueTokenUpdated(TokenKind kind, std::string token);

 private:
  class TokenEvent;
  using StringOperation = void (quelt::ombrix::AccountToolItf::*)(
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const char*>>);

  template <StringOperation Op>
  Napi::Value StringMethod(const Napi::CallbackInfo& info);
  Napi::Value GetRemoteDeviceList(const Napi::CallbackInfo& info);
  Napi::Value SetObserver(const Napi::CallbackInfo& info);

  Napi::FunctionReference onTokenUpdated_;
  Napi::FunctionReference onMcpTokenUpdated_;
  std::shared_ptr<JsChannel> events_;  // "AccountToolObserver", made by the first setObserver
  quelt::ombrix::SharedPtr<quelt::ombrix::AccountObserverItf> observer_;
  AccountToolObserver* observerImpl_ = nullptr;  // owned through observer_
};

}  // namespace ombrix_addon
