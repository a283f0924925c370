// The SDK's helper classes: owning forms of the records it shares through
// SharedPtr. Each copies the texts of the record it is made from, so the
// record it hands out stays valid as long as the helper lives; a chat
// session's history list is shared, not copied.
#pragma once

#include <string>

#include "ombrix/audit.h"
#include "ombrix/chat_records.h"

namespace quelt::ombrix::helper {

class ChatSessionInfo final : public ombrix::ChatSessionInfo {
 public:
  explicit ChatSessionInfo(const ombrix::ChatSessionInfo& record)
      : ombrix::ChatSessionInfo(record),
        sessionId_(Text(record.sessionId)),
        title_(Text(record.title)),
        modelName_(Text(record.modelName)),
        provider_(Text(record.provider)) {
    sessionId = sessionId_.c_str();
    title = title_.c_str();
    modelName = modelName_.c_str();
    provider = provider_.c_str();
  }
  ChatSessionInfo(const ChatSessionInfo&) = delete;
  ChatSessionInfo& operator=(const ChatSessionInfo&) = delete;

 private:
  static std::string Text(const char* text) { return text ? text : ""; }
  std::string sessionId_, title_, modelName_, provider_;
};

class AuditSessionInfo final : public ombrix::AuditSessionInfo {
 public:
  explicit AuditSessionInfo(const ombrix::AuditSessionInfo& record)
      : ombrix::AuditSessionInfo(record), sessionId_(record.sessionId ? record.sessionId : "") {
    sessionId = sessionId_.c_str();
  }
  AuditSessionInfo(const AuditSessionInfo&) = delete;
  AuditSessionInfo& operator=(const AuditSessionInfo&) = delete;

 private:
  std::string sessionId_;
};

class AuditReport final {
 public:
  explicit AuditReport(const ombrix::AuditReport& report)
      : fileUrl_(report.fileUrl ? report.fileUrl : ""), record_{nullptr, report.createdAt} {
    record_.fileUrl = fileUrl_.c_str();
  }
  AuditReport(const AuditReport&) = delete;
  AuditReport& operator=(const AuditReport&) = delete;

  const ombrix::AuditReport& record() const { return record_; }

 private:
  std::string fileUrl_;
  ombrix::AuditReport record_;
};

}  // namespace quelt::ombrix::helper
