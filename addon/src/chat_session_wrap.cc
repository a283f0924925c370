#include "chat_session_wrap.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "chat_stream_wrap.h"
#include "js_convert.h"
#include "js_observer_step.h"
#include "js_outcome.h"
#include "js_records.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

const BridgeRules kChatRules{};

using ombrix_records::Copy;

}  // namespace

JSChatSession::JSChatSession(Napi::Env env, Napi::Value session)
    : cache_(std::make_shared<InfoCache>()) {
  if (session.IsEmpty()) throw std::runtime_error("JSChatSession: Invalid Napi::Object");
  if (static_cast<napi_env>(session.Env()) != static_cast<napi_env>(env)) {
    throw std::runtime_error("JSChatSession: Env mismatch between env and js_obj");
  }
  target_ = std::make_shared<JsTarget>(env, session.As<Napi::Object>(), "JSChatSession");
  if (session.IsObject()) {
    Napi::Object object = session.As<Napi::Object>();
    if (object.Has("sessionInfo") && object.Get("sessionInfo").IsObject()) {
      cache_->info = ombrix_records::MakeChatSessionInfo(
          FromJs<ombrix_records::SessionInfoData>(object.Get("sessionInfo")), true);
    }
  }
}

SharedPtr<ChatSessionInfo> JSChatSession::GetCachedInfo() {
  std::lock_guard<std::mutex> lock(cache_->mutex);
  return cache_->info;
}

void JSChatSession::GetInfo(SharedPtr<CallbackItf<const GetInfoResult&>> callback) {
  std::shared_ptr<InfoCache> cache = cache_;
  CallJs<GetInfoResult>(target_, "getInfo", NoArguments,
                        InfoResult<GetInfoResult>(
                            "Session info not returned",
                            [cache](Napi::Value value, Outcome<GetInfoResult>* outcome) {
                              SharedPtr<ChatSessionInfo> info = ombrix_records::MakeChatSessionInfo(
                                  FromJs<ombrix_records::SessionInfoData>(value), true);
                              {
                                // Readers keep their own reference: a replaced record stays valid
                                // for them.
                                std::lock_guard<std::mutex> lock(cache->mutex);
                                cache->info = info;
                              }
                              outcome->extras.info = info;
                            }),
                        std::move(callback), kChatRules);
}

void JSChatSession::SetTitle(const char* title, OperationCallback callback) {
  CallJs<OperationResult>(target_, "setTitle", TextArgument(title),
                          OperationResultOf(CodeRule::kNumberElseFailure), std::move(callback),
                          kChatRules);
}

void JSChatSession::SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                             SharedPtr<ConfirmCallbackItf> confirm, OperationCallback callback,
                             SharedPtr<AttachmentListItf> attachments, const char* extra) {
  std::string text = Copy(content), extraText = Copy(extra);
  // Attachments are copied now: the SDK's list is only borrowed for the call.
  std::vector<ombrix_records::AttachmentData> copies = ombrix_records::Copy(attachments.get());
  CallJs<OperationResult>(
      target_, "sendChat",
      [text, stream, confirm, copies, extraText](Napi::Env env) -> std::vector<napi_value> {
        Napi::Value undefined = env.Undefined();
        return {Napi::String::New(env, text),
                stream ? Napi::Value(MakeStreamObject(env, stream)) : undefined,
                confirm ? Napi::Value(MakeConfirmObject(env, confirm)) : undefined,
                copies.empty() ? undefined : ToJs(env, copies),
                extraText.empty() ? undefined : Napi::Value(Napi::String::New(env, extraText))};
      },
      OperationResultOf(CodeRule::kNumberElseFailure), std::move(callback), kChatRules);
}

void JSChatSession::SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                             SharedPtr<ConfirmCallbackItf> confirm, OperationCallback callback,
                             SharedPtr<AttachmentListItf> attachments) {
  SendChat(content, std::move(stream), std::move(confirm), std::move(callback),
           std::move(attachments), nullptr);
}

void JSChatSession::SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                             SharedPtr<ConfirmCallbackItf> confirm, OperationCallback callback) {
  SendChat(content, std::move(stream), std::move(confirm), std::move(callback),
           SharedPtr<AttachmentListItf>(), nullptr);
}

void JSChatSession::Stop(OperationCallback callback) {
  CallJs<OperationResult>(target_, "stop", NoArguments,
                          OperationResultOf(CodeRule::kNumberElseFailure), std::move(callback),
                          kChatRules);
}

void JSChatSession::Delete(OperationCallback callback) {
  CallJs<OperationResult>(target_, "delete", NoArguments,
                          OperationResultOf(CodeRule::kNumberElseFailure), std::move(callback),
                          kChatRules);
}

void JSChatSession::SetObserver(WeakPtr<ChatSessionObserverItf> observer) {
  bool given;
  {
    std::lock_guard<std::mutex> lock(observerMutex_);
    observer_ = observer;
    given = static_cast<bool>(observer_.lock());
  }
  JsObserverStep::Make make;
  if (given) {
    make = [observer](Napi::Env env) -> Napi::Value {
      Napi::Object object = Napi::Object::New(env);
      object.Set("onSessionInfoChanged",
                 Napi::Function::New(
                     env,
                     [observer](const Napi::CallbackInfo& info) {
                       SharedPtr<ChatSessionObserverItf> target = observer.lock();
                       if (!target || info.Length() < 1 || !info[0].IsObject()) return;
                       // History is deliberately not forwarded on this path.
                       auto data = FromJs<ombrix_records::SessionInfoData>(info[0]);
                       target->OnSessionInfoChanged(ombrix_records::View(data));
                     },
                     "onSessionInfoChanged"));
      return object;
    };
  }
  JsObserverStep::Post(target_, std::move(make));
}

}  // namespace ombrix_addon
