#include "chat_session_manager_wrap.h"

#include <vector>

#include "chat_session_wrap.h"
#include "js_outcome.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

const BridgeRules kChatRules{};

ChatSessionItf* MakeSession(Napi::Env env, Napi::Value session) {
  return new JSChatSession(env, session);
}

}  // namespace

JSChatSessionManager::JSChatSessionManager(Napi::Env env, Napi::Object manager)
    : target_(std::make_shared<JsTarget>(env, manager, "JSChatSessionManager")) {}

void JSChatSessionManager::SetLanguageCode(
    LanguageCode language, SharedPtr<CallbackItf<const OperationResult&>> callback) {
  CallJs<OperationResult>(
      target_, "setLanguageCode",
      [language](Napi::Env env) -> std::vector<napi_value> {
        return {Napi::Number::New(env, static_cast<uint32_t>(language))};
      },
      OperationResultOf(CodeRule::kNumberElseFailure), std::move(callback), kChatRules);
}

void JSChatSessionManager::CreateSession(
    ChatMode mode, SharedPtr<CallbackItf<const CreateSessionResult&>> callback) {
  CallJs<CreateSessionResult>(
      target_, "createSession",
      [mode](Napi::Env env) -> std::vector<napi_value> {
        return {Napi::Number::New(env, static_cast<uint32_t>(mode))};
      },
      ObjectResult<CreateSessionResult>(
          "CreateSessionResult",
          [](Napi::Env env, Napi::Object result) {
            auto outcome = ReadOutcome<CreateSessionResult>(result, CodeRule::kNumberElseFailure);
            outcome.extras.session = AdapterAt<ChatSessionItf>(env, result, "session", MakeSession);
            return outcome;
          }),
      std::move(callback), kChatRules);
}

void JSChatSessionManager::GetSessions(SharedPtr<CallbackItf<const GetSessionsResult&>> callback) {
  CallJs<GetSessionsResult>(
      target_, "getSessions", [](Napi::Env) { return std::vector<napi_value>(); },
      ObjectResult<GetSessionsResult>(
          "GetSessionsResult",
          [](Napi::Env env, Napi::Object result) {
            auto outcome = ReadOutcome<GetSessionsResult>(result, CodeRule::kNumberElseFailure);
            auto sessions = AdaptersAt<ChatSessionItf>(env, result, "sessions", MakeSession);
            outcome.extras.sessions = SharedPtr<ChatSessionListItf>(
                new ombrix_records::ChatSessionList(std::move(sessions)));
            return outcome;
          }),
      std::move(callback), kChatRules);
}

}  // namespace ombrix_addon
