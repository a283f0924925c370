// JSAuditSession: one of the application's audit sessions as the SDK's
// AuditSessionItf, with the session info it caches for synchronous reads and
// the SDK observer last set.
#pragma once

#include <memory>
#include <mutex>

#include <napi.h>

#include "js_target.h"
#include "ombrix/audit.h"

namespace ombrix_addon {

class JSAuditSession final : public quelt::ombrix::AuditSessionItf {
 public:
  using OperationCallback =
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::OperationResult&>>;

  // JavaScript thread. A "sessionInfo" object on the session fills the cache.
  JSAuditSession(Napi::Env env, Napi::Object session);

  quelt::ombrix::SharedPtr<quelt::ombrix::AuditSessionInfo> GetCachedSessionInfo() override;
  void GetInfo(
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::GetAuditInfoResult&>>
          callback) override;
  void Start(const char* options, OperationCallback callback) override;
  void Stop(OperationCallback callback) override;
  void GetReport(quelt::ombrix::SharedPtr<
                 quelt::ombrix::CallbackItf<const quelt::ombrix::GetAuditReportResult&>>
                     callback) override;
  void SetObserver(
      quelt::ombrix::SharedPtr<quelt::ombrix::AuditSessionObserverItf> observer) override;

 private:
  // Shared with in-flight getInfo conversions, which may outlive the session.
  struct State {
    std::mutex mutex;
    quelt::ombrix::SharedPtr<quelt::ombrix::AuditSessionInfo> info;
    quelt::ombrix::SharedPtr<quelt::ombrix::AuditSessionObserverItf> observer;
  };

  std::shared_ptr<JsTarget> target_;
  std::shared_ptr<State> state_;
};

}  // namespace ombrix_addon
