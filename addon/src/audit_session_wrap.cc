#include "audit_session_wrap.h"

#include <string>
#include <utility>

#include "audit_session_manager_wrap.h"
#include "js_observer_step.h"
#include "js_outcome.h"
#include "js_records.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

// A fresh record per change: an SDK thread reading the previous one keeps it
// intact, since it holds its own reference.
SharedPtr<AuditSessionInfo> InfoFromJs(Napi::Value value) {
  return ombrix_records::MakeAuditSessionInfo(
      FromJs<ombrix_records::AuditSessionInfoData, Int64Form::kNumber>(value));
}

Napi::Value MakeObserverObject(Napi::Env env, const SharedPtr<AuditSessionObserverItf>& observer) {
  Napi::Object object = Napi::Object::New(env);
  auto event = [&](const char* name,
                   void (*forward)(AuditSessionObserverItf&, const Napi::CallbackInfo&)) {
    object.Set(name, Napi::Function::New(
                         env,
                         [observer, forward](const Napi::CallbackInfo& info) {
                           if (observer) forward(*observer.get(), info);
                         },
                         name));
  };
  event("onRecordingDone", [](AuditSessionObserverItf& target, const Napi::CallbackInfo&) {
    target.OnRecordingDone();
  });
  event("onReportReady",
        [](AuditSessionObserverItf& target, const Napi::CallbackInfo&) { target.OnReportReady(); });
  event("onError", [](AuditSessionObserverItf& target, const Napi::CallbackInfo& info) {
    std::string message = info.Length() > 0 && info[0].IsString()
                              ? info[0].As<Napi::String>().Utf8Value()
                              : "Unknown error";
    target.OnError(message.c_str());
  });
  return object;
}

PendingJsCall<OperationResult>::Convert Operation() {
  return OperationResultOf(CodeRule::kPresentElseSuccess);
}

}  // namespace

JSAuditSession::JSAuditSession(Napi::Env env, Napi::Object session)
    : target_(std::make_shared<JsTarget>(env, session, "JSAuditSession")),
      state_(std::make_shared<State>()) {
  if (session.Has("sessionInfo") && session.Get("sessionInfo").IsObject()) {
    state_->info = InfoFromJs(session.Get("sessionInfo"));
  }
}

SharedPtr<AuditSessionInfo> JSAuditSession::GetCachedSessionInfo() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->info;
}

void JSAuditSession::GetInfo(SharedPtr<CallbackItf<const GetAuditInfoResult&>> callback) {
  std::shared_ptr<State> state = state_;
  CallJs<GetAuditInfoResult>(target_, "getInfo", NoArguments,
                             InfoResult<GetAuditInfoResult>(
                                 "GetAuditInfoResult not returned",
                                 [state](Napi::Value value, Outcome<GetAuditInfoResult>* outcome) {
                                   SharedPtr<AuditSessionInfo> info = InfoFromJs(value);
                                   {
                                     std::lock_guard<std::mutex> lock(state->mutex);
                                     state->info = info;
                                   }
                                   outcome->extras.info = info;
                                 },
                                 AuditWarn),
                             std::move(callback), kAuditRules);
}

void JSAuditSession::Start(const char* options, OperationCallback callback) {
  CallJs<OperationResult>(target_, "start", TextArgument(options), Operation(), std::move(callback),
                          kAuditRules);
}

void JSAuditSession::Stop(OperationCallback callback) {
  CallJs<OperationResult>(target_, "stop", NoArguments, Operation(), std::move(callback),
                          kAuditRules);
}

void JSAuditSession::GetReport(SharedPtr<CallbackItf<const GetAuditReportResult&>> callback) {
  CallJs<GetAuditReportResult>(
      target_, "getReport", NoArguments,
      ObjectResult<GetAuditReportResult>(
          "GetAuditReportResult",
          [](Napi::Env, Napi::Object result) {
            auto outcome = ReadOutcome<GetAuditReportResult>(result, CodeRule::kPresentElseSuccess);
            if (result.Has("report") && result.Get("report").IsObject()) {
              auto report = std::make_shared<ombrix_records::AuditReportData>(
                  FromJs<ombrix_records::AuditReportData, Int64Form::kNumber>(
                      result.Get("report")));
              outcome.extras.report = View(*report);
              outcome.storage = report;
            }
            return outcome;
          }),
      std::move(callback), kAuditRules);
}

void JSAuditSession::SetObserver(SharedPtr<AuditSessionObserverItf> observer) {
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->observer = observer;
  }
  JsObserverStep::Make make;
  if (observer) {
    AuditLog(LogLevel::kDebug, "SetObserver", __LINE__, "SetObserver: setting new observer");
    make = [observer](Napi::Env env) { return MakeObserverObject(env, observer); };
  } else {
    AuditLog(LogLevel::kDebug, "SetObserver", __LINE__, "SetObserver: clearing observer (null)");
  }
  JsObserverStep::Post(target_, std::move(make));
}

}  // namespace ombrix_addon
