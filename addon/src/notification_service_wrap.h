// JSNotificationService: the application's notification service as the SDK's
// NotificationServiceItf, and the observer object through which the
// application reports notification events back to the SDK.
#pragma once

#include <memory>

#include <napi.h>

#include "js_target.h"
#include "ombrix/notification.h"

namespace ombrix_addon {

class JSNotificationService final : public quelt::ombrix::NotificationServiceItf {
 public:
  using OperationCallback =
      quelt::ombrix::SharedPtr<quelt::ombrix::CallbackItf<const quelt::ombrix::OperationResult&>>;

  JSNotificationService(Napi::Env env, Napi::Object service);

  void SetObserver(
      quelt::ombrix::SharedPtr<quelt::ombrix::NotificationObserverItf> observer) override;
  void GetNotifications(quelt::ombrix::SharedPtr<
                        quelt::ombrix::CallbackItf<const quelt::ombrix::GetNotificationsResult&>>
                            callback) override;
  void MarkAsRead(const char* id, OperationCallback callback) override;
  void Dismiss(const char* id, OperationCallback callback) override;
  void DismissAll(OperationCallback callback) override;

 private:
  std::shared_ptr<JsTarget> target_;
};

}  // namespace ombrix_addon
