#include "drivers/audit_driver.h"

#include <utility>

#include "client/client.h"
#include "drivers/drive_support.h"
#include "drivers/event_recorder.h"
#include "drivers/held_objects.h"
#include "ombrix_addon/records.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu::audit {

namespace {

// The SDK's observer of one audit session.
class RecordingObserver final : public AuditSessionObserverItf {
 public:
  void OnRecordingDone() override {
    events_.Record(Json::MakeObject({{"event", "recordingDone"}}));
  }
  void OnReportReady() override { events_.Record(Json::MakeObject({{"event", "reportReady"}})); }
  void OnError(const char* message) override {
    events_.Record(Json::MakeObject({{"event", "error"}, {"message", MessageJson(message)}}));
  }
  Json Events() const { return events_.Events(); }
  void SetFeedId(uint64_t id) { events_.SetFeedId(id); }

 private:
  EventRecorder events_{"audit.observer"};
};

using HeldObserver = std::pair<SharedPtr<AuditSessionObserverItf>, RecordingObserver*>;

struct Registry {
  Held<SharedPtr<AuditSessionItf>> sessions;
  Held<HeldObserver> observers;
};

Registry& TheRegistry() {
  static auto* registry = new Registry;
  return *registry;
}

Json InfoJson(const SharedPtr<AuditSessionInfo>& info) {
  return info ? ToJson(ombrix_records::Copy(*info.get())) : Json();
}

// A session the SDK now holds: its id and what it had cached on arrival.
Json SessionJson(const SharedPtr<AuditSessionItf>& session) {
  if (!session) return Json();
  uint64_t id = TheRegistry().sessions.Add(session);
  return Json::MakeObject({{"id", id}, {"cachedInfo", InfoJson(session->GetCachedSessionInfo())}});
}

Json DriveSession(const std::string& op, const Json& args, int listener) {
  uint64_t id = ToInteger<uint64_t>(args["session"].AsNumber());
  SharedPtr<AuditSessionItf> session = TheRegistry().sessions.Find(id);
  if (!session) return DriveError("no audit session " + std::to_string(id));

  if (op == "getCachedInfo") {
    return hostile::OnSdkThread([session] {
      return Json::MakeObject({{"info", InfoJson(session->GetCachedSessionInfo())}});
    });
  }
  if (op == "release") {
    TheRegistry().sessions.Release(id);
    return Json::MakeObject({});
  }
  if (op == "getInfo") {
    return StartDrive<GetAuditInfoResult>(
        op, listener, [session](auto cb) { session->GetInfo(cb); },
        [](const GetAuditInfoResult& r) {
          Json json = OutcomeJson(r);
          json.Set("info", InfoJson(r.info));
          return json;
        });
  }
  if (op == "start") {
    TextArg options(args["options"]);
    return StartOperation(op, listener,
                          [session, options](auto cb) { session->Start(options.get(), cb); });
  }
  if (op == "stop") {
    return StartOperation(op, listener, [session](auto cb) { session->Stop(cb); });
  }
  if (op == "getReport") {
    return StartDrive<GetAuditReportResult>(
        op, listener, [session](auto cb) { session->GetReport(cb); },
        [](const GetAuditReportResult& r) {
          Json json = OutcomeJson(r);
          json.Set("report", ToJson(ombrix_records::Copy(r.report)));
          return json;
        });
  }
  if (op == "setObserver") {
    SharedPtr<AuditSessionObserverItf> observer;
    Json observerId;
    if (!args["observer"].IsBool() || args["observer"].AsBool()) {
      auto* recorder = new RecordingObserver();
      observer = SharedPtr<AuditSessionObserverItf>(recorder);
      const uint64_t held = TheRegistry().observers.Add(std::make_pair(observer, recorder));
      recorder->SetFeedId(held);
      observerId = Json(held);
    }
    return StartChange(
        op, listener, [session, observer] { session->SetObserver(observer); },
        Json::MakeObject({{"observer", observerId}}));
  }
  return DriveError("unknown audit session operation " + op);
}

}  // namespace

Json Drive(const std::string& op, const Json& args, int listener) {
  if (args.Has("session")) return DriveSession(op, args, listener);
  if (op == "releaseAll") {
    auto sessions = TheRegistry().sessions.ReleaseAll();
    auto observers = TheRegistry().observers.ReleaseAll();
    return Json::MakeObject({{"released", static_cast<uint64_t>(sessions.size())}});
  }
  Json error;
  SharedPtr<AuditSessionManagerItf> manager =
      ClientService(args, &ClientServices::auditSessionManager, "audit session manager", &error);
  if (!manager) return error;
  if (op == "createSession") {
    return StartDrive<CreateAuditSessionResult>(
        op, listener, [manager](auto cb) { manager->CreateSession(cb); },
        [](const CreateAuditSessionResult& r) {
          Json json = OutcomeJson(r);
          json.Set("session", SessionJson(r.session));
          return json;
        });
  }
  if (op == "getSessions") {
    return StartDrive<GetAuditSessionsResult>(
        op, listener, [manager](auto cb) { manager->GetSessions(cb); },
        [](const GetAuditSessionsResult& r) {
          Json json = OutcomeJson(r);
          json.Set("sessions", ListJson(r.sessions, SessionJson));
          return json;
        });
  }
  return DriveError("unknown audit operation " + op);
}

Json ObserverEvents(uint64_t observer) {
  HeldObserver found = TheRegistry().observers.Find(observer);
  return found.second ? found.second->Events() : Json();
}

}  // namespace quelt::ombrix::emu::audit
