#include "drivers/chat_driver.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "client/client.h"
#include "drivers/drive_log.h"
#include "drivers/drive_support.h"
#include "drivers/event_recorder.h"
#include "drivers/held_objects.h"
#include "drivers/recording_confirm.h"
#include "drivers/recording_stream.h"
#include "hostile/hostile.h"
#include "inspect/followed_call.h"
#include "ombrix_addon/records.h"
#include "runtime/worker_thread.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu::chat {

namespace {

// The SDK's observer of one chat session: records every info change.
class RecordingObserver final : public ChatSessionObserverItf {
 public:
  void OnSessionInfoChanged(const ChatSessionInfo& info) override {
    Json event = ToJson(ombrix_records::Copy(info));
    event.Set("history", info.history ? event["history"] : Json());
    events_.Record(std::move(event));
  }
  Json Events() const { return events_.Events(); }
  void SetFeedId(uint64_t id) { events_.SetFeedId(id); }

 private:
  EventRecorder events_{"chat.observer"};
};

// What the SDK holds on to.
struct Registry {
  Held<SharedPtr<ChatSessionItf>> sessions;
  Held<std::pair<SharedPtr<ChatResponseStreamItf>, RecordingStream*>> streams;
  Held<std::pair<SharedPtr<ConfirmCallbackItf>, RecordingConfirm*>> confirms;
  Held<std::pair<SharedPtr<ChatSessionObserverItf>, RecordingObserver*>> observers;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

Json InfoJson(const SharedPtr<ChatSessionInfo>& info) {
  if (!info) return Json();
  Json json = ToJson(ombrix_records::Copy(*info.get()));
  if (!info->history) json.Set("history", Json());
  return json;
}

// A session the SDK now holds: its id and what it had cached on arrival.
Json SessionJson(const SharedPtr<ChatSessionItf>& session) {
  if (!session) return Json();
  uint64_t id = TheRegistry().sessions.Add(session);
  return Json::MakeObject({{"id", id}, {"cachedInfo", InfoJson(session->GetCachedInfo())}});
}

Json DriveSession(const std::string& op, const Json& args, int listener) {
  uint64_t id = ToInteger<uint64_t>(args["session"].AsNumber());
  SharedPtr<ChatSessionItf> session = TheRegistry().sessions.Find(id);
  if (!session) return DriveError("no session " + std::to_string(id));

  if (op == "getCachedInfo") {
    return hostile::OnSdkThread([session] {
      return Json::MakeObject({{"info", InfoJson(session->GetCachedInfo())}});
    });
  }
  if (op == "release") {
    TheRegistry().sessions.Release(id);
    return Json::MakeObject({});
  }
  if (op == "getInfo") {
    return StartDrive<GetInfoResult>(
        op, listener, [session](auto cb) { session->GetInfo(cb); },
        [](const GetInfoResult& r) {
          Json json = OutcomeJson(r);
          json.Set("info", InfoJson(r.info));
          return json;
        });
  }
  if (op == "setTitle") {
    TextArg title(args["title"]);
    return StartOperation(op, listener,
                          [session, title](auto cb) { session->SetTitle(title.get(), cb); });
  }
  if (op == "stop") {
    return StartOperation(op, listener, [session](auto cb) { session->Stop(cb); });
  }
  if (op == "delete") {
    return StartOperation(op, listener, [session](auto cb) { session->Delete(cb); });
  }
  if (op == "setObserver") {
    Json observerId;
    WeakPtr<ChatSessionObserverItf> observer;
    if (!args["observer"].IsBool() || args["observer"].AsBool()) {
      auto* recorder = new RecordingObserver();
      SharedPtr<ChatSessionObserverItf> held(recorder);
      const uint64_t id = TheRegistry().observers.Add(std::make_pair(held, recorder));
      recorder->SetFeedId(id);
      observerId = Json(id);
      observer = held;
    }
    // Usually called here, on the JavaScript thread: made once the call returns.
    Change made = BeginChange(op, listener, Json::MakeObject({{"observer", observerId}}));
    hostile::OnSdkThread([session, observer] {
      session->SetObserver(observer);
      return Json();
    });
    return made.started;
  }
  if (op == "sendChat") {
    TextArg content(args["content"]);
    SharedPtr<ChatResponseStreamItf> stream;
    SharedPtr<ConfirmCallbackItf> confirm;
    Json result = Json::MakeObject({});
    if (!args["stream"].IsBool() || args["stream"].AsBool()) {
      auto* recorder = new RecordingStream();
      stream = SharedPtr<ChatResponseStreamItf>(recorder);
      const uint64_t id = TheRegistry().streams.Add(std::make_pair(stream, recorder));
      recorder->SetFeedId(id);
      result.Set("stream", id);
    }
    if (!args["confirm"].IsBool() || args["confirm"].AsBool()) {
      auto* recorder = new RecordingConfirm();
      confirm = SharedPtr<ConfirmCallbackItf>(recorder);
      const uint64_t id = TheRegistry().confirms.Add(std::make_pair(confirm, recorder));
      recorder->SetFeedId(id);
      result.Set("confirm", id);
    }
    auto attachments = ombrix_records::MakeAttachmentList(
        FromJson<std::vector<ombrix_records::AttachmentData>>(args["attachments"]));
    bool hasExtra = args["extra"].IsString();
    std::string extra = hasExtra ? args["extra"].AsString() : "";
    std::string form = args["form"].IsString() ? args["form"].AsString() : "full";
    Json drive = StartOperation(op, listener, [=](auto cb) {
      if (form == "short") {
        session->SendChat(content.get(), stream, confirm, cb);
      } else if (form == "attachments") {
        session->SendChat(content.get(), stream, confirm, cb, attachments);
      } else {
        session->SendChat(content.get(), stream, confirm, cb, attachments,
                          hasExtra ? extra.c_str() : nullptr);
      }
    });
    for (auto& member : drive.AsObject()) result.Set(member.first, member.second);
    return result;
  }
  return DriveError("unknown chat operation " + op);
}

}  // namespace

Json Drive(const std::string& op, const Json& args, int listener) {
  if (args.Has("session")) return DriveSession(op, args, listener);
  if (op == "releaseAll") {
    Registry& registry = TheRegistry();
    auto sessions = registry.sessions.ReleaseAll();
    auto streams = registry.streams.ReleaseAll();
    auto confirms = registry.confirms.ReleaseAll();
    auto observers = registry.observers.ReleaseAll();
    for (auto& confirm : confirms) confirm.second.second->Abandon();
    return Json::MakeObject({{"released", static_cast<uint64_t>(sessions.size())}});
  }
  Json error;
  SharedPtr<ChatSessionManagerItf> manager =
      ClientService(args, &ClientServices::chatSessionManager, "chat session manager", &error);
  if (!manager) return error;
  if (op == "setLanguageCode") {
    auto language = static_cast<LanguageCode>(ToInteger<uint32_t>(args["language"].AsNumber()));
    if (args["noCallback"].IsBool() && args["noCallback"].AsBool()) {  // the contract allows none
      manager->SetLanguageCode(language, SharedPtr<CallbackItf<const OperationResult&>>());
      return Json::MakeObject({});
    }
    return StartOperation(op, listener,
                          [manager, language](auto cb) { manager->SetLanguageCode(language, cb); });
  }
  if (op == "createSession") {
    auto mode = static_cast<ChatMode>(ToInteger<uint32_t>(args["mode"].AsNumber()));
    return StartDrive<CreateSessionResult>(
        op, listener, [manager, mode](auto cb) { manager->CreateSession(mode, cb); },
        [](const CreateSessionResult& r) {
          Json json = OutcomeJson(r);
          json.Set("session", SessionJson(r.session));
          return json;
        });
  }
  if (op == "getSessions") {
    return StartDrive<GetSessionsResult>(
        op, listener, [manager](auto cb) { manager->GetSessions(cb); },
        [](const GetSessionsResult& r) {
          Json json = OutcomeJson(r);
          json.Set("sessions", ListJson(r.sessions, SessionJson));
          return json;
        });
  }
  return DriveError("unknown chat operation " + op);
}

Json StreamEvents(uint64_t stream) {
  auto found = TheRegistry().streams.Find(stream);
  return found.second ? found.second->Events() : Json();
}

Json ConfirmRequests(uint64_t confirm) {
  auto found = TheRegistry().confirms.Find(confirm);
  return found.second ? found.second->Requests() : Json();
}

Json HeldState() {
  Registry& registry = TheRegistry();
  Json sessions = Json(Json::Array());
  for (const auto& entry : registry.sessions.All()) sessions.Push(Json(entry.first));
  Json streams = Json(Json::Array());
  for (const auto& entry : registry.streams.All()) {
    streams.Push(
        Json::MakeObject({{"id", entry.first}, {"events", entry.second.second->Events()}}));
  }
  Json confirms = Json(Json::Array());
  for (const auto& entry : registry.confirms.All()) {
    confirms.Push(
        Json::MakeObject({{"id", entry.first}, {"requests", entry.second.second->Requests()}}));
  }
  return Json::MakeObject({{"sessions", sessions}, {"streams", streams}, {"confirms", confirms}});
}

Json ObserverEvents(uint64_t observer) {
  auto found = TheRegistry().observers.Find(observer);
  return found.second ? found.second->Events() : Json();
}

bool CancelToolCall(uint64_t stream, uint32_t index) {
  auto found = TheRegistry().streams.Find(stream);
  return found.second && found.second->CancelToolCall(index);
}

bool AnswerConfirm(uint64_t confirm, uint32_t request, const std::string& responseJson) {
  auto found = TheRegistry().confirms.Find(confirm);
  return found.second && found.second->Answer(request, responseJson);
}

namespace {

struct StormState {
  std::mutex mutex;
  std::condition_variable done;
  int64_t completed = 0;
  // Released unanswered: the application's environment ended mid-storm.
  int64_t dropped = 0;
  int64_t issued = 0;
  std::atomic<int64_t> duplicates{0};
  std::atomic<int64_t> offJsThread{0};
  std::set<std::thread::id> jsThreads;
};

class StormCallback final : public CallbackItf<const OperationResult&> {
 public:
  explicit StormCallback(std::shared_ptr<StormState> state) : state_(std::move(state)) {}
  ~StormCallback() override {
    if (called_) return;
    std::lock_guard<std::mutex> lock(state_->mutex);
    ++state_->dropped;
    NotifyIfLast();
  }
  void OnResult(const OperationResult&) override {
    if (called_.exchange(true)) {
      state_->duplicates.fetch_add(1);
      return;
    }
    std::lock_guard<std::mutex> lock(state_->mutex);
    if (!state_->jsThreads.count(std::this_thread::get_id())) state_->offJsThread.fetch_add(1);
    ++state_->completed;
    NotifyIfLast();
  }

 private:
  // Waking the waiting driver for every answer would cost the answering
  // thread a system call each: it is woken for the last one only.
  void NotifyIfLast() {
    if (state_->completed + state_->dropped == state_->issued) state_->done.notify_one();
  }

  std::shared_ptr<StormState> state_;
  std::atomic<bool> called_{false};
};

Json RunStorm(SharedPtr<ChatSessionManagerItf> manager, int threads, int calls) {
  auto state = std::make_shared<StormState>();
  state->jsThreads = DriveLog::Shared().JsThreads();
  const int64_t issued = static_cast<int64_t>(threads) * calls;
  state->issued = issued;
  auto start = std::chrono::steady_clock::now();
  std::vector<std::thread> callers;
  for (int t = 0; t < threads; ++t) {
    callers.emplace_back([manager, state, t, calls] {
      NameCurrentThread("ombrix-chat-" + std::to_string(t));
      for (int i = 0; i < calls; ++i) {
        // A watching page follows each call, its id kept apart from the drives'.
        manager->SetLanguageCode(
            static_cast<LanguageCode>(i % 7),
            inspect::Follow(
                "js", "setLanguageCode",
                [] {
                  return Json::MakeObject({{"service", "chat"}});
                },
                SharedPtr<CallbackItf<const OperationResult&>>(new StormCallback(state)),
                "storm-"));
      }
    });
  }
  for (auto& caller : callers) caller.join();
  {
    std::unique_lock<std::mutex> lock(state->mutex);
    state->done.wait_for(lock, std::chrono::minutes(2),
                         [&] { return state->completed + state->dropped >= issued; });
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::lock_guard<std::mutex> lock(state->mutex);
  return Json::MakeObject({{"issued", issued},
                           {"completed", state->completed},
                           {"dropped", state->dropped},
                           {"duplicates", state->duplicates.load()},
                           {"offJsThread", state->offJsThread.load()},
                           {"seconds", seconds}});
}

}  // namespace

std::function<Json()> Storm(int threads, int calls, const Json& args) {
  Json error;
  SharedPtr<ChatSessionManagerItf> manager =
      ClientService(args, &ClientServices::chatSessionManager, "chat session manager", &error);
  if (!manager) return [error] { return error; };
  return [manager, threads, calls] { return RunStorm(manager, threads, calls); };
}

}  // namespace quelt::ombrix::emu::chat
