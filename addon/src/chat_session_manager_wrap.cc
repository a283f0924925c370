#include "chat_session_manager_wrap.h"

#include <vector>

#include "chat_session_wrap.h"
#include "js_outcome.h"
#include "ombrix/helper.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {
const BridgeRules kChatRules{};
}

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

void JSChatSessionManager::CreateSession(ChatMode mode,
                                         SharedPtr<CallbackItf<const CreateSessionResult&>> callback) {
  CallJs<CreateSessionResult>(
      target_, "createSession",
      [mode](Napi::Env env) -> std::vector<napi_value> {
        return {Napi::Number::New(env, static_cast<uint32_t>(mode))};
      },
      ObjectResult<CreateSessionResult>(
          "CreateSessionResult",
          [](Napi::Env env, Napi::Object result) {
            auto outcome = ReadOutcome<CreateSessionResult>(result, CodeRule::kNumberElseFailure);
            if (result.Has("session")) {
              Napi::Value session = result.Get("session");
              if (session.IsObject()) {
                outcome.extras.session = SharedPtr<ChatSessionItf>(new JSChatSession(env, session));
              }
            }
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
            std::vector<SharedPtr<ChatSessionItf>> sessions;
            if (result.Has("sessions") && result.Get("sessions").IsArray()) {
              Napi::Array array = result.Get("sessions").As<Napi::Array>();
              for (uint32_t i = 0; i < array.Length(); ++i) {
                Napi::Value session = array.Get(i);
                if (session.IsObject()) {
                  sessions.emplace_back(new JSChatSession(env, session));
                }
              }
            }
            outcome.extras.sessions =
                SharedPtr<ChatSessionListItf>(new helper::ChatSessionList(std::move(sessions)));
            return outcome;
          }),
      std::move(callback), kChatRules);
}

}  // namespace ombrix_addon
