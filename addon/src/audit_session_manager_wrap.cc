#include "audit_session_manager_wrap.h"

#include <vector>

#include "audit_session_wrap.h"
#include "js_outcome.h"
#include "module_log.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

const BridgeRules kAuditRules = BridgeRules().NotFoundForNonFunction().WarnWith(AuditWarn);

void AuditLog(LogLevel level, const char* function, int32_t line, const std::string& message) {
  ModuleLog(level, "JSAuditWrap", "addon/src/audit_session_manager_wrap", line, function, message);
}

void AuditWarn(const std::string& message) {
  AuditLog(LogLevel::kWarning, "operator()", __LINE__, message);
}

namespace {

AuditSessionItf* MakeSession(Napi::Env env, Napi::Value session) {
  return new JSAuditSession(env, session.As<Napi::Object>());
}

}  // namespace

JSAuditSessionManager::JSAuditSessionManager(Napi::Env env, Napi::Object manager)
    : target_(std::make_shared<JsTarget>(env, manager, "JSAuditSessionManager")) {}

void JSAuditSessionManager::CreateSession(
    SharedPtr<CallbackItf<const CreateAuditSessionResult&>> callback) {
  CallJs<CreateAuditSessionResult>(
      target_, "createSession", NoArguments,
      ObjectResult<CreateAuditSessionResult>("CreateAuditSessionResult",
                                             [](Napi::Env env, Napi::Object result) {
                                               auto outcome = ReadOutcome<CreateAuditSessionResult>(
                                                   result, CodeRule::kPresentElseSuccess);
                                               outcome.extras.session = AdapterAt<AuditSessionItf>(
                                                   env, result, "session", MakeSession);
                                               return outcome;
                                             }),
      std::move(callback), kAuditRules);
}

void JSAuditSessionManager::GetSessions(
    SharedPtr<CallbackItf<const GetAuditSessionsResult&>> callback) {
  CallJs<GetAuditSessionsResult>(
      target_, "getSessions", NoArguments,
      ObjectResult<GetAuditSessionsResult>(
          "GetAuditSessionsResult",
          [](Napi::Env env, Napi::Object result) {
            auto outcome =
                ReadOutcome<GetAuditSessionsResult>(result, CodeRule::kPresentElseSuccess);
            auto sessions = AdaptersAt<AuditSessionItf>(env, result, "sessions", MakeSession);
            outcome.extras.sessions = SharedPtr<AuditSessionListItf>(
                new ombrix_records::AuditSessionList(std::move(sessions)));
            return outcome;
          }),
      std::move(callback), kAuditRules);
}

}  // namespace ombrix_addon
