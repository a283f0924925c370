#include "drivers/notification_driver.h"

#include <utility>

#include "client/client.h"
#include "drivers/drive_support.h"
#include "drivers/event_recorder.h"
#include "drivers/held_objects.h"
#include "ombrix_addon/records.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu::notification {

namespace {

Json NotificationJson(const Notification& notification) {
  return ToJson(ombrix_records::Copy(notification));
}

// The SDK's observer of the service: records every event, in order.
class RecordingObserver final : public NotificationObserverItf {
 public:
  void OnNotification(const Notification& notification) override {
    events_.Record(Json::MakeObject(
        {{"event", "notification"}, {"notification", NotificationJson(notification)}}));
  }
  void OnNotificationUpdated(const Notification& notification) override {
    events_.Record(
        Json::MakeObject({{"event", "updated"}, {"notification", NotificationJson(notification)}}));
  }
  void OnNotificationRemoved(const char* id) override {
    events_.Record(Json::MakeObject({{"event", "removed"}, {"id", MessageJson(id)}}));
  }
  Json Events() const { return events_.Events(); }
  void SetFeedId(uint64_t id) { events_.SetFeedId(id); }

 private:
  EventRecorder events_{"notification"};
};

using HeldObserver = std::pair<SharedPtr<NotificationObserverItf>, RecordingObserver*>;

Held<HeldObserver>& Observers() {
  static auto* observers = new Held<HeldObserver>;
  return *observers;
}

// Services the SDK keeps beyond their client's life (and their environment's).
Held<SharedPtr<NotificationServiceItf>>& Services() {
  static auto* services = new Held<SharedPtr<NotificationServiceItf>>;
  return *services;
}

}  // namespace

Json Drive(const std::string& op, const Json& args, int listener) {
  if (op == "release") {
    Observers().Release(ToInteger<uint64_t>(args["observer"].AsNumber()));
    return Json::MakeObject({});
  }
  if (op == "releaseAll") {
    auto released = Observers().ReleaseAll();
    auto services = Services().ReleaseAll();
    return Json::MakeObject({{"released", static_cast<uint64_t>(released.size())}});
  }
  Json error;
  SharedPtr<NotificationServiceItf> service =
      HeldOrClientService(Services(), args, "service", &ClientServices::notificationService,
                          "notification service", &error);
  if (!service) return error;
  if (op == "hold") return Json::MakeObject({{"service", Services().Add(service)}});
  if (op == "setObserver") {
    SharedPtr<NotificationObserverItf> observer;
    Json id;
    if (!args["observer"].IsBool() || args["observer"].AsBool()) {
      auto* recorder = new RecordingObserver();
      observer = SharedPtr<NotificationObserverItf>(recorder);
      const uint64_t held = Observers().Add(std::make_pair(observer, recorder));
      recorder->SetFeedId(held);
      id = Json(held);
    }
    return StartChange(
        op, listener, [service, observer] { service->SetObserver(observer); },
        Json::MakeObject({{"observer", id}}));
  }
  if (op == "getNotifications") {
    return StartDrive<GetNotificationsResult>(
        op, listener, [service](auto cb) { service->GetNotifications(cb); },
        [](const GetNotificationsResult& r) {
          Json json = OutcomeJson(r);
          json.Set("notifications", ListJson(r.notifications, NotificationJson));
          return json;
        });
  }
  if (op == "markAsRead" || op == "dismiss") {
    TextArg id(args["id"]);
    bool read = op == "markAsRead";
    return StartOperation(op, listener, [service, id, read](auto cb) {
      if (read) {
        service->MarkAsRead(id.get(), cb);
      } else {
        service->Dismiss(id.get(), cb);
      }
    });
  }
  if (op == "dismissAll") {
    return StartOperation(op, listener, [service](auto cb) { service->DismissAll(cb); });
  }
  return DriveError("unknown notification operation " + op);
}

Json ObserverEvents(uint64_t observer) {
  HeldObserver found = Observers().Find(observer);
  return found.second ? found.second->Events() : Json();
}

}  // namespace quelt::ombrix::emu::notification
