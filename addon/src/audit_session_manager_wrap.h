// JSAuditSessionManager: the application's audit manager as the SDK's
// AuditSessionManagerItf; also the log lines and bridge rules that it shares
// with its sessions (audit_session_wrap).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <napi.h>

#include "js_call_bridge.h"
#include "js_target.h"
#include "ombrix/audit.h"
#include "ombrix/logger.h"

namespace ombrix_addon {

class JSAuditSessionManager final : public quelt::ombrix::AuditSessionManagerItf {
 public:
  JSAuditSessionManager(Napi::Env env, Napi::Object manager);

  void CreateSession(quelt::ombrix::SharedPtr<
                     quelt::ombrix::CallbackItf<const quelt::ombrix::CreateAuditSessionResult&>>
                         callback) override;
  void GetSessions(quelt::ombrix::SharedPtr<
                   quelt::ombrix::CallbackItf<const quelt::ombrix::GetAuditSessionsResult&>>
                       callback) override;

 private:
  std::shared_ptr<JsTarget> target_;
};

// A "JSAuditWrap" line through the SDK logger, written only when its level is
// enabled there.
void AuditLog(quelt::ombrix::LogLevel level, const char* function, int32_t line,
              const std::string& message);
// A WARNING from a request step.
void AuditWarn(const std::string& message);
// The audit services' bridge rules: a single "method not found" check, and a
// warning for each method-lookup or non-Promise failure.
extern const BridgeRules kAuditRules;

}  // namespace ombrix_addon
