#include "notification_service_wrap.h"

#include <string>
#include <vector>

#include "js_observer_step.h"
#include "js_outcome.h"
#include "js_records.h"
#include "ombrix_addon/records.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

const BridgeRules kNotificationRules = BridgeRules().NotFoundForNonFunction();

// An object without a "code" is success for this service.
const CodeRule kRule = CodeRule::kNumberElseSuccess;

ombrix_records::NotificationData NotificationFromJs(Napi::Value value) {
  return FromJs<ombrix_records::NotificationData, Int64Form::kNumber>(value);
}

// One of the observer object's functions: `forward` runs with the live SDK
// observer and an argument of the required kind; anything else is ignored.
template <class Forward>
Napi::Function ObserverFunction(Napi::Env env, const char* name,
                                const WeakPtr<NotificationObserverItf>& observer,
                                bool (Napi::Value::*accepts)() const, Forward forward) {
  return Napi::Function::New(
      env,
      [observer, accepts, forward](const Napi::CallbackInfo& info) {
        SharedPtr<NotificationObserverItf> target = observer.lock();
        if (!target || info.Length() < 1 || !(info[0].*accepts)()) return;
        forward(*target.get(), info[0]);
      },
      name);
}

Napi::Value MakeObserverObject(Napi::Env env, const WeakPtr<NotificationObserverItf>& observer) {
  Napi::Object object = Napi::Object::New(env);
  object.Set("onNotification",
             ObserverFunction(env, "onNotification", observer, &Napi::Value::IsObject,
                              [](NotificationObserverItf& target, Napi::Value value) {
                                ombrix_records::NotificationData data = NotificationFromJs(value);
                                target.OnNotification(View(data));
                              }));
  object.Set("onNotificationUpdated",
             ObserverFunction(env, "onNotificationUpdated", observer, &Napi::Value::IsObject,
                              [](NotificationObserverItf& target, Napi::Value value) {
                                ombrix_records::NotificationData data = NotificationFromJs(value);
                                target.OnNotificationUpdated(View(data));
                              }));
  object.Set("onNotificationRemoved",
             ObserverFunction(env, "onNotificationRemoved", observer, &Napi::Value::IsString,
                              [](NotificationObserverItf& target, Napi::Value value) {
                                std::string id = value.As<Napi::String>().Utf8Value();
                                target.OnNotificationRemoved(id.c_str());
                              }));
  return object;
}

}  // namespace

JSNotificationService::JSNotificationService(Napi::Env env, Napi::Object service)
    : target_(std::make_shared<JsTarget>(env, service, "JSNotificationService")) {}

void JSNotificationService::SetObserver(SharedPtr<NotificationObserverItf> observer) {
  // The step keeps the observer alive until the application has its object;
  // from then on only the SDK does, and the object's functions hold it weakly.
  JsObserverStep::Post(target_, [observer](Napi::Env env) {
    return MakeObserverObject(env, WeakPtr<NotificationObserverItf>(observer));
  });
}

void JSNotificationService::GetNotifications(
    SharedPtr<CallbackItf<const GetNotificationsResult&>> callback) {
  CallJs<GetNotificationsResult>(
      target_, "getNotifications", NoArguments,
      ObjectResult<GetNotificationsResult>(
          "GetNotificationsResult",
          [](Napi::Env, Napi::Object result) {
            auto outcome =
                ReadOutcome<GetNotificationsResult>(result, CodeRule::kPresentElseSuccess);
            std::vector<ombrix_records::NotificationData> items;
            if (result.Has("notifications")) {
              items = FromJs<std::vector<ombrix_records::NotificationData>, Int64Form::kNumber>(
                  result.Get("notifications"));
            }
            outcome.extras.notifications = SharedPtr<NotificationListItf>(
                new ombrix_records::NotificationList(std::move(items)));
            return outcome;
          }),
      std::move(callback), kNotificationRules);
}

void JSNotificationService::MarkAsRead(const char* id, OperationCallback callback) {
  CallJs<OperationResult>(target_, "markAsRead", TextArgument(id), OperationResultOf(kRule),
                          std::move(callback), kNotificationRules);
}

void JSNotificationService::Dismiss(const char* id, OperationCallback callback) {
  CallJs<OperationResult>(target_, "dismiss", TextArgument(id), OperationResultOf(kRule),
                          std::move(callback), kNotificationRules);
}

void JSNotificationService::DismissAll(OperationCallback callback) {
  CallJs<OperationResult>(target_, "dismissAll", NoArguments, OperationResultOf(kRule),
                          std::move(callback), kNotificationRules);
}

}  // namespace ombrix_addon
