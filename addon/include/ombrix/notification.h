// The application's notification service, driven by the SDK.
#pragma once

#include <cstdint>

#include "ombrix/callback.h"
#include "ombrix/enums.h"
#include "ombrix/result.h"

namespace quelt::ombrix {

// Strings are borrowed from whoever built the record.
struct Notification {
  const char* id = nullptr;
  NotificationType type = NotificationType::kReminder;
  const char* title = nullptr;
  const char* content = nullptr;
  NotificationPriority priority = NotificationPriority::kLow;
  int64_t createdAt = 0;
  int64_t expiresAt = 0;
  const char* sourceId = nullptr;
  bool isRead = false;
};

class NotificationListItf {
 public:
  virtual ~NotificationListItf() = default;
  virtual uint32_t GetCount() const = 0;
  virtual Notification GetItem(uint32_t index) const = 0;
};

struct GetNotificationsResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<NotificationListItf> notifications;
};

class NotificationObserverItf {
 public:
  virtual ~NotificationObserverItf() = default;
  virtual void OnNotification(const Notification& notification) = 0;
  virtual void OnNotificationUpdated(const Notification& notification) = 0;
  virtual void OnNotificationRemoved(const char* id) = 0;
};

class NotificationServiceItf {
 public:
  virtual ~NotificationServiceItf() = default;
  virtual void SetObserver(SharedPtr<NotificationObserverItf> observer) = 0;
  virtual void GetNotifications(SharedPtr<CallbackItf<const GetNotificationsResult&>> callback) = 0;
  virtual void MarkAsRead(const char* id,
                          SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void Dismiss(const char* id, SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void DismissAll(SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
};

}  // namespace quelt::ombrix
