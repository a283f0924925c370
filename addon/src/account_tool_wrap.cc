#include "account_tool_wrap.h"

#include <utility>
#include <vector>

#include "account_tool_observer.h"
#include "errors.h"
#include "ombrix_addon/records.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

// The device list is copied item by item on the SDK thread; nothing of the
// SDK's list survives the callback.
template <>
struct Captured<SharedPtr<RemoteDeviceListItf>> {
  using Type = std::vector<ombrix_records::RemoteDeviceData>;
  static Type Copy(const SharedPtr<RemoteDeviceListItf>& list) {
    Type devices;
    if (!list) return devices;
    const uint32_t count = list->GetCount();
    devices.reserve(count);
    for (uint32_t i = 0; i < count; ++i) devices.push_back(ombrix_records::Copy(list->GetItem(i)));
    return devices;
  }
};

// A token renewal on its way to the JavaScript thread. The channel is aborted
// before the tool goes away, so a queued event never outlives it.
class AccountTool::TokenEvent final : public JsTask {
 public:
  TokenEvent(AccountTool* owner, TokenKind kind, std::string token)
      : owner_(owner), kind_(kind), token_(std::move(token)) {}

  void Run(Napi::Env env, Napi::Function) override {
    Napi::FunctionReference& handler =
        kind_ == TokenKind::kMcp ? owner_->onMcpTokenUpdated_ : owner_->onTokenUpdated_;
    if (!handler.IsEmpty()) handler.Call({Napi::String::New(env, token_)});
  }

 private:
  AccountTool* owner_;
  TokenKind kind_;
  std::string token_;
};

void AccountTool::Init(Napi::Env env) {
  Register(env,
           {TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GetAccountId>>("getAccountId"),
            TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GetAccountDescription>>(
                "getAccountDescription"),
            TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GenerateAccountToken>>(
                "generateAccountToken"),
            TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GenerateMcpToken>>(
                "generateMcpToken"),
            TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GetLocalDeviceId>>(
                "getLocalDeviceId"),
            TaggedMethod<&AccountTool::StringMethod<&AccountToolItf::GetLocalDeviceName>>(
                "getLocalDeviceName"),
            TaggedMethod<&AccountTool::GetRemoteDeviceList>("getRemoteDeviceList"),
            TaggedMethod<&AccountTool::SetObserver>("setObserver")});
}

AccountTool::~AccountTool() {
  if (observerImpl_) observerImpl_->Detach();
  if (events_) events_->Abort();
  onTokenUpdated_.Reset();
  onMcpTokenUpdated_.Reset();
  observer_.reset();
}

void AccountTool::QueueTokenUpdated(TokenKind kind, std::string token) {
  events_->Post(std::make_unique<TokenEvent>(this, kind, std::move(token)));
}

template <AccountTool::StringOperation Op>
Napi::Value AccountTool::StringMethod(const Napi::CallbackInfo& info) {
  return CallUnlessDestroyed<const char*>(
      info.Env(), tool_, "StringPromiseCallback",
      [](AccountToolItf& tool, auto callback) { (tool.*Op)(callback); });
}

Napi::Value AccountTool::GetRemoteDeviceList(const Napi::CallbackInfo& info) {
  return CallUnlessDestroyed<SharedPtr<RemoteDeviceListItf>>(
      info.Env(), tool_, "GetRemoteDeviceList",
      [](AccountToolItf& tool, auto callback) { tool.GetRemoteDeviceList(callback); });
}

Napi::Value AccountTool::SetObserver(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 1 || !info[0].IsObject()) {
    throw ArgumentError(env, "Expected observer object as first argument");
  }
  Napi::Object observer = info[0].As<Napi::Object>();
  auto keep = [&](const char* name, Napi::FunctionReference& slot) {
    Napi::Value value = observer.Get(name);
    if (value.IsFunction()) slot = Napi::Persistent(value.As<Napi::Function>());
  };
  keep("onTokenUpdated", onTokenUpdated_);
  keep("onMcpTokenUpdated", onMcpTokenUpdated_);
  if (!events_) events_ = JsChannel::Create(env, "AccountToolObserver");

  // Only the newest observer object relays events; the one it replaces dies
  // with its last reference (the SDK holds it only weakly).
  if (observerImpl_) observerImpl_->Detach();
  observerImpl_ = new AccountToolObserver(this);
  observer_ = SharedPtr<AccountObserverItf>(observerImpl_);
  if (tool_) tool_->SetAccountObserver(WeakPtr<AccountObserverItf>(observer_));
  return env.Undefined();
}

}  // namespace ombrix_addon
