#include "drivers/chat_driver.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "client/client.h"
#include "drivers/drive_log.h"
#include "drivers/recording_confirm.h"
#include "drivers/recording_stream.h"
#include "ombrix/helper.h"
#include "runtime/task_pool.h"
#include "runtime/worker_thread.h"
#include "support/record_json.h"

namespace quelt {
namespace ombrix {
namespace emu {
namespace chat {

namespace {

// The SDK's observer of one chat session: records every info change.
class RecordingObserver final : public ChatSessionObserverItf {
 public:
  void OnSessionInfoChanged(const ChatSessionInfo& info) override {
    Json event = ToJson(helper::Copy(info));
    event.Set("history", info.history ? event["history"] : Json());
    event.Set("thread", CurrentThreadName());
    std::lock_guard<std::mutex> lock(mutex_);
    events_.Push(std::move(event));
  }
  Json Events() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }

 private:
  mutable std::mutex mutex_;
  Json events_ = Json(Json::Array());
};

// What the SDK holds on to, by the ids the control surface uses.
struct Registry {
  std::mutex mutex;
  uint64_t next = 1;
  std::map<uint64_t, SharedPtr<ChatSessionItf>> sessions;
  std::map<uint64_t, std::pair<SharedPtr<ChatResponseStreamItf>, RecordingStream*>> streams;
  std::map<uint64_t, std::pair<SharedPtr<ConfirmCallbackItf>, RecordingConfirm*>> confirms;
  std::map<uint64_t, std::pair<SharedPtr<ChatSessionObserverItf>, RecordingObserver*>> observers;

  template <class Map, class Value>
  uint64_t Add(Map& map, Value value) {
    std::lock_guard<std::mutex> lock(mutex);
    uint64_t id = next++;
    map[id] = std::move(value);
    return id;
  }

  template <class Map>
  auto Find(Map& map, uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = map.find(id);
    return found == map.end() ? typename Map::mapped_type() : found->second;
  }
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

Json MessageJson(const char* message) { return message ? Json(message) : Json(); }

Json InfoJson(const SharedPtr<ChatSessionInfo>& info) {
  if (!info) return Json();
  Json json = ToJson(helper::Copy(*info.get()));
  if (!info->history) json.Set("history", Json());
  return json;
}

// A session the SDK now holds: its id and what it had cached on arrival.
Json SessionJson(const SharedPtr<ChatSessionItf>& session) {
  if (!session) return Json();
  uint64_t id = TheRegistry().Add(TheRegistry().sessions, session);
  return Json::MakeObject({{"id", id}, {"cachedInfo", InfoJson(session->GetCachedInfo())}});
}

template <class Record>
Json Outcome(const Record& record) {
  return Json::MakeObject(
      {{"code", static_cast<uint32_t>(record.code)}, {"errorMessage", MessageJson(record.errorMessage)}});
}

// Starts an asynchronous drive: `call(callback)` runs on an SDK thread.
template <class Record, class Call, class Describe>
Json Start(const std::string& op, int listener, Call call, Describe describe) {
  uint64_t drive = DriveLog::Shared().Begin(op, listener);
  SharedPtr<CallbackItf<const Record&>> callback(new DriveCallback<Record>(drive, describe));
  TaskPool::Shared().Post([call, callback] { call(callback); });
  return Json::MakeObject({{"drive", drive}});
}

Json Error(const std::string& text) { return Json::MakeObject({{"error", text}}); }

Json DriveSession(const std::string& op, const Json& args, int listener) {
  uint64_t id = ToInteger<uint64_t>(args["session"].AsNumber());
  SharedPtr<ChatSessionItf> session = TheRegistry().Find(TheRegistry().sessions, id);
  if (!session) return Error("no session " + std::to_string(id));
  auto operation = [](const OperationResult& r) { return Outcome(r); };

  if (op == "getCachedInfo") return Json::MakeObject({{"info", InfoJson(session->GetCachedInfo())}});
  if (op == "release") {
    std::lock_guard<std::mutex> lock(TheRegistry().mutex);
    TheRegistry().sessions.erase(id);
    return Json::MakeObject({});
  }
  if (op == "getInfo") {
    return Start<GetInfoResult>(
        op, listener, [session](auto cb) { session->GetInfo(cb); },
        [](const GetInfoResult& r) {
          Json json = Outcome(r);
          json.Set("info", InfoJson(r.info));
          return json;
        });
  }
  if (op == "setTitle") {
    bool isNull = args["title"].IsNull();
    std::string title = args["title"].IsString() ? args["title"].AsString() : "";
    return Start<OperationResult>(
        op, listener,
        [session, title, isNull](auto cb) { session->SetTitle(isNull ? nullptr : title.c_str(), cb); },
        operation);
  }
  if (op == "stop") {
    return Start<OperationResult>(op, listener, [session](auto cb) { session->Stop(cb); }, operation);
  }
  if (op == "delete") {
    return Start<OperationResult>(op, listener, [session](auto cb) { session->Delete(cb); }, operation);
  }
  if (op == "setObserver") {
    if (args["observer"].IsBool() && !args["observer"].AsBool()) {
      session->SetObserver(WeakPtr<ChatSessionObserverItf>());
      return Json::MakeObject({{"observer", Json()}});
    }
    auto* recorder = new RecordingObserver();
    SharedPtr<ChatSessionObserverItf> observer(recorder);
    uint64_t observerId = TheRegistry().Add(TheRegistry().observers, std::make_pair(observer, recorder));
    session->SetObserver(WeakPtr<ChatSessionObserverItf>(observer));
    return Json::MakeObject({{"observer", observerId}});
  }
  if (op == "sendChat") {
    std::string content = args["content"].IsString() ? args["content"].AsString() : "";
    SharedPtr<ChatResponseStreamItf> stream;
    SharedPtr<ConfirmCallbackItf> confirm;
    Json result = Json::MakeObject({});
    if (!args["stream"].IsBool() || args["stream"].AsBool()) {
      auto* recorder = new RecordingStream();
      stream = SharedPtr<ChatResponseStreamItf>(recorder);
      result.Set("stream", TheRegistry().Add(TheRegistry().streams, std::make_pair(stream, recorder)));
    }
    if (!args["confirm"].IsBool() || args["confirm"].AsBool()) {
      auto* recorder = new RecordingConfirm();
      confirm = SharedPtr<ConfirmCallbackItf>(recorder);
      result.Set("confirm", TheRegistry().Add(TheRegistry().confirms, std::make_pair(confirm, recorder)));
    }
    auto attachments = helper::MakeAttachmentList(
        FromJson<std::vector<helper::AttachmentData>>(args["attachments"]));
    bool hasExtra = args["extra"].IsString();
    std::string extra = hasExtra ? args["extra"].AsString() : "";
    std::string form = args["form"].IsString() ? args["form"].AsString() : "full";
    Json drive = Start<OperationResult>(
        op, listener,
        [=](auto cb) {
          if (form == "short") {
            session->SendChat(content.c_str(), stream, confirm, cb);
          } else if (form == "attachments") {
            session->SendChat(content.c_str(), stream, confirm, cb, attachments);
          } else {
            session->SendChat(content.c_str(), stream, confirm, cb, attachments,
                              hasExtra ? extra.c_str() : nullptr);
          }
        },
        operation);
    for (auto& member : drive.AsObject()) result.Set(member.first, member.second);
    return result;
  }
  return Error("unknown chat operation " + op);
}

}  // namespace

Json Drive(const std::string& op, const Json& args, int listener) {
  if (args.Has("session")) return DriveSession(op, args, listener);
  if (op == "releaseAll") {
    // Moved out first: a session's last release may run JavaScript-side
    // clean-up that must not find the registry locked.
    Registry dropped;
    {
      std::lock_guard<std::mutex> lock(TheRegistry().mutex);
      dropped.sessions.swap(TheRegistry().sessions);
      dropped.streams.swap(TheRegistry().streams);
      dropped.confirms.swap(TheRegistry().confirms);
      dropped.observers.swap(TheRegistry().observers);
    }
    for (auto& confirm : dropped.confirms) confirm.second.second->Abandon();
    return Json::MakeObject({{"released", static_cast<uint64_t>(dropped.sessions.size())}});
  }
  SharedPtr<ChatSessionManagerItf> manager = NewestClientServices().chatSessionManager;
  if (!manager) return Error("the newest client has no chat session manager");
  if (op == "setLanguageCode") {
    auto language = static_cast<LanguageCode>(ToInteger<uint32_t>(args["language"].AsNumber()));
    return Start<OperationResult>(
        op, listener, [manager, language](auto cb) { manager->SetLanguageCode(language, cb); },
        [](const OperationResult& r) { return Outcome(r); });
  }
  if (op == "createSession") {
    auto mode = static_cast<ChatMode>(ToInteger<uint32_t>(args["mode"].AsNumber()));
    return Start<CreateSessionResult>(
        op, listener, [manager, mode](auto cb) { manager->CreateSession(mode, cb); },
        [](const CreateSessionResult& r) {
          Json json = Outcome(r);
          json.Set("session", SessionJson(r.session));
          return json;
        });
  }
  if (op == "getSessions") {
    return Start<GetSessionsResult>(
        op, listener, [manager](auto cb) { manager->GetSessions(cb); },
        [](const GetSessionsResult& r) {
          Json json = Outcome(r);
          if (!r.sessions) {
            json.Set("sessions", Json());
          } else {
            Json sessions = Json(Json::Array());
            for (uint32_t i = 0; i < r.sessions->GetCount(); ++i) {
              sessions.Push(SessionJson(r.sessions->GetItem(i)));
            }
            json.Set("sessions", sessions);
          }
          return json;
        });
  }
  return Error("unknown chat operation " + op);
}

Json StreamEvents(uint64_t stream) {
  auto found = TheRegistry().Find(TheRegistry().streams, stream);
  return found.second ? found.second->Events() : Json();
}

Json ConfirmRequests(uint64_t confirm) {
  auto found = TheRegistry().Find(TheRegistry().confirms, confirm);
  return found.second ? found.second->Requests() : Json();
}

Json ObserverEvents(uint64_t observer) {
  auto found = TheRegistry().Find(TheRegistry().observers, observer);
  return found.second ? found.second->Events() : Json();
}

bool CancelToolCall(uint64_t stream, uint32_t index) {
  auto found = TheRegistry().Find(TheRegistry().streams, stream);
  return found.second && found.second->CancelToolCall(index);
}

bool AnswerConfirm(uint64_t confirm, uint32_t request, const std::string& responseJson) {
  auto found = TheRegistry().Find(TheRegistry().confirms, confirm);
  return found.second && found.second->Answer(request, responseJson);
}

namespace {

struct StormState {
  std::mutex mutex;
  std::condition_variable done;
  int64_t completed = 0;
  std::atomic<int64_t> duplicates{0};
  std::atomic<int64_t> offJsThread{0};
  std::set<std::thread::id> jsThreads;
};

class StormCallback final : public CallbackItf<const OperationResult&> {
 public:
  explicit StormCallback(std::shared_ptr<StormState> state) : state_(std::move(state)) {}
  void OnResult(const OperationResult&) override {
    if (called_.exchange(true)) {
      state_->duplicates.fetch_add(1);
      return;
    }
    std::lock_guard<std::mutex> lock(state_->mutex);
    if (!state_->jsThreads.count(std::this_thread::get_id())) state_->offJsThread.fetch_add(1);
    ++state_->completed;
    state_->done.notify_one();
  }

 private:
  std::shared_ptr<StormState> state_;
  std::atomic<bool> called_{false};
};

}  // namespace

Json Storm(int threads, int calls) {
  SharedPtr<ChatSessionManagerItf> manager = NewestClientServices().chatSessionManager;
  if (!manager) return Error("the newest client has no chat session manager");
  auto state = std::make_shared<StormState>();
  state->jsThreads = DriveLog::Shared().JsThreads();
  auto start = std::chrono::steady_clock::now();
  std::vector<std::thread> callers;
  for (int t = 0; t < threads; ++t) {
    callers.emplace_back([manager, state, t, calls] {
      NameCurrentThread("ombrix-chat-" + std::to_string(t));
      for (int i = 0; i < calls; ++i) {
        manager->SetLanguageCode(static_cast<LanguageCode>(i % 7),
                                 SharedPtr<CallbackItf<const OperationResult&>>(new StormCallback(state)));
      }
    });
  }
  for (auto& caller : callers) caller.join();
  const int64_t issued = static_cast<int64_t>(threads) * calls;
  {
    std::unique_lock<std::mutex> lock(state->mutex);
    state->done.wait_for(lock, std::chrono::minutes(2), [&] { return state->completed >= issued; });
  }
  double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::lock_guard<std::mutex> lock(state->mutex);
  return Json::MakeObject({{"issued", issued},
                           {"completed", state->completed},
                           {"duplicates", state->duplicates.load()},
                           {"offJsThread", state->offJsThread.load()},
                           {"seconds", seconds}});
}

}  // namespace chat
}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
