// Audit sessions, implemented by the application and driven by the SDK.
#pragma once

#include <cstdint>

#include "ombrix/callback.h"
#include "ombrix/enums.h"
#include "ombrix/result.h"

namespace quelt::ombrix {

class AuditSessionItf;

// Shared through SharedPtr; polymorphic so that an owning subclass
// (helper::AuditSessionInfo) can carry the storage sessionId points into.
struct AuditSessionInfo {
  virtual ~AuditSessionInfo() = default;
  const char* sessionId = nullptr;
  AuditSessionStatus status = AuditSessionStatus::kCreated;
  int64_t createdAt = 0;
  int64_t lastActiveAt = 0;
};

struct AuditReport {
  const char* fileUrl = nullptr;
  int64_t createdAt = 0;
};

class AuditSessionListItf {
 public:
  virtual ~AuditSessionListItf() = default;
  virtual uint32_t GetCount() const = 0;
  virtual SharedPtr<AuditSessionItf> GetItem(uint32_t index) const = 0;
};

struct CreateAuditSessionResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<AuditSessionItf> session;
};

struct GetAuditSessionsResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<AuditSessionListItf> sessions;
};

struct GetAuditInfoResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<AuditSessionInfo> info;
};

struct GetAuditReportResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  AuditReport report;
};

class AuditSessionObserverItf {
 public:
  virtual ~AuditSessionObserverItf() = default;
  virtual void OnRecordingDone() = 0;
  virtual void OnReportReady() = 0;
  virtual void OnError(const char* message) = 0;
};

class AuditSessionManagerItf {
 public:
  virtual ~AuditSessionManagerItf() = default;
  virtual void CreateSession(SharedPtr<CallbackItf<const CreateAuditSessionResult&>> callback) = 0;
  virtual void GetSessions(SharedPtr<CallbackItf<const GetAuditSessionsResult&>> callback) = 0;
};

class AuditSessionItf {
 public:
  virtual ~AuditSessionItf() = default;
  // Synchronous; null until the info is first known.
  virtual SharedPtr<AuditSessionInfo> GetCachedSessionInfo() = 0;
  virtual void GetInfo(SharedPtr<CallbackItf<const GetAuditInfoResult&>> callback) = 0;
  virtual void Start(const char* options,
                     SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void Stop(SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void GetReport(SharedPtr<CallbackItf<const GetAuditReportResult&>> callback) = 0;
  // An empty pointer clears the observer.
  virtual void SetObserver(SharedPtr<AuditSessionObserverItf> observer) = 0;
};

}  // namespace quelt::ombrix
