#include "client/client.h"
#include "client/sdk_fernwick_manager.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "hostile/hostile.h"
#include "loopback/fs.h"
#include "ombrix_emu/control.h"
#include "runtime/log.h"
#include "scripted/faults.h"
#include "support/text.h"
#include "tools/account_tool.h"
#include "tools/operation.h"
#include "tools/remote_control_tool.h"
#include "tools/remote_file_tool.h"
#include "tools/remote_file_transfer.h"
#include "tools/remote_shell_tool.h"
#include "tools/tool_service.h"

namespace quelt::ombrix {
namespace emu {

struct Client::State : std::enable_shared_from_this<Client::State> {
  uint64_t id = 0;
  std::thread::id creator;  // CreateOmbrixClient runs on the application's JavaScript thread
  std::string serverName;
  Mode mode;
  SharedPtr<ThreadItf> signaling;

  // The rest is only touched on the signaling thread, except where noted.
  WeakPtr<OmbrixClientObserverItf> observer;
  int32_t connection = kDisconnected;
  SharedPtr<ToolServiceItf> toolService;
  int toolServices = 0;

  std::mutex servicesMutex;  // guards the services, set from any thread
  SharedPtr<ChatSessionManagerItf> chatSessionManager;
  SharedPtr<NotificationServiceItf> notificationService;
  SharedPtr<AuditSessionManagerItf> auditSessionManager;
  SharedPtr<FernwickManagerItf> fernwickManager;

  // Runs `task` on the signaling thread unless the client is gone by then.
  template <class Task>
  void Post(Task task) {
    std::weak_ptr<State> weak = shared_from_this();
    signaling->PostTask([weak, task]() {
      if (auto self = weak.lock()) task(*self);
    });
  }

  void Notify(const char* what, void (*notify)(OmbrixClientObserverItf&, State&)) {
    SharedPtr<OmbrixClientObserverItf> current = observer.lock();
    EMU_LOG(LogLevel::kDebug, "client", "%s: %s%s", serverName.c_str(), what,
            current ? "" : " (no observer)");
    if (current) notify(*current.get(), *this);
    if (current && hostile::Roll(hostile::Habit::kObserverRace)) {
      // Connection states from several threads at once, while the observer
      // may be detaching.
      hostile::FromSeveralThreads(
          [current, state = connection] { current->OnConnectionStateChanged(state); });
    }
  }

  // A replaced observer may still be inside a delivery that began before the
  // replacement: hostile mode sends it every kind of event, from several
  // threads, after SetObserver.
  void RaceReplaced(SharedPtr<OmbrixClientObserverItf> replaced) {
    hostile::FromSeveralThreads([replaced, state = connection, service = toolService] {
      replaced->OnConnectionStateChanged(state);
      replaced->OnNewToolService(service);
      replaced->OnToolServiceDisconnected();
    });
  }

  void SetConnection(int32_t state) {
    connection = state;
    Notify("connection state",
           [](OmbrixClientObserverItf& o, State& s) { o.OnConnectionStateChanged(s.connection); });
  }

  void Announce(SharedPtr<ToolServiceItf> service) {
    toolService = service;
    Notify("new tool service",
           [](OmbrixClientObserverItf& o, State& s) { o.OnNewToolService(s.toolService); });
  }

  void Disconnect() {
    toolService.reset();
    Notify("tool service disconnected",
           [](OmbrixClientObserverItf& o, State&) { o.OnToolServiceDisconnected(); });
  }

  ToolContext ToolContextOf() { return ToolContext(mode, shared_from_this()); }

  SharedPtr<ToolServiceItf> NewToolService() {
    return SharedPtr<ToolServiceItf>(
        new ToolService(ToolContextOf(), serverName + "/tools-" + std::to_string(++toolServices)));
  }
};

namespace {

struct Registry {
  std::mutex mutex;
  uint64_t nextId = 1;
  std::vector<std::weak_ptr<Client::State>> clients;  // oldest first
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

template <class Fn>
void ForEachClient(Fn fn) {
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> lock(registry.mutex);
  for (auto& weak : registry.clients) {
    if (auto state = weak.lock()) fn(*state);
  }
}

std::vector<std::shared_ptr<Client::State>> LiveClientStates() {
  std::vector<std::shared_ptr<Client::State>> live;
  ForEachClient([&live](Client::State& client) { live.push_back(client.shared_from_this()); });
  return live;
}

std::string NameOf(const Client::State& client) {
  return "client " + std::to_string(client.id) + " (" + Json(client.serverName).Dump() + ")";
}

// The clients `selector` picks, as SelectClient describes.
std::vector<std::shared_ptr<Client::State>> Matching(const Json& selector) {
  std::vector<std::shared_ptr<Client::State>> live = LiveClientStates(), matches;
  if (selector.IsNull()) {
    auto mine = std::find_if(live.rbegin(), live.rend(), [](const auto& client) {
      return client->creator == std::this_thread::get_id();
    });
    if (mine != live.rend()) return {*mine};
    if (!live.empty()) return {live.back()};
  }
  for (auto& client : live) {
    if ((selector.IsNumber() && selector.AsNumber() == static_cast<double>(client->id)) ||
        (selector.IsString() && selector.AsString() == client->serverName)) {
      matches.push_back(client);
    }
  }
  return matches;
}

// The one client `selector` names, or null with an `error` that lists the
// live clients.
std::shared_ptr<Client::State> TheClient(const Json& selector, std::string* error) {
  std::vector<std::shared_ptr<Client::State>> matches = Matching(selector);
  if (matches.size() == 1) return matches[0];
  std::string live;
  for (auto& client : LiveClientStates()) live += (live.empty() ? "" : ", ") + NameOf(*client);
  if (live.empty()) {
    *error = "there is no live client";
    if (selector.IsNull()) return nullptr;
  }
  if (!selector.IsNull() && !selector.IsNumber() && !selector.IsString()) {
    *error = "the client option is a client id or a server name, not " + selector.Dump();
  } else if (matches.empty()) {
    *error = "no live client is " + selector.Dump();
  } else {
    *error = selector.Dump() + " names " + std::to_string(matches.size()) +
             " live clients: name one by id";
  }
  *error += " (live clients: " + (live.empty() ? std::string("none") : live) + ")";
  return nullptr;
}

// Tool factories share their fault handling and logging.
template <class Itf, class Make>
SharedPtr<Itf> MakeTool(const Client::State& state, const char* factory, Make make) {
  if (ApplyFault(factory)) return SharedPtr<Itf>();
  EMU_LOG(LogLevel::kInfo, "client", "%s: %s (%s)", state.serverName.c_str(), factory,
          ModeName(state.mode));
  return SharedPtr<Itf>(make());
}

}  // namespace

Client::Client(std::string serverName, SharedPtr<ThreadItf> signaling,
               SharedPtr<ChatSessionManagerItf> chatSessionManager,
               SharedPtr<NotificationServiceItf> notificationService, Mode mode)
    : state_(std::make_shared<State>()) {
  state_->serverName = std::move(serverName);
  state_->mode = mode;
  state_->signaling = std::move(signaling);
  state_->chatSessionManager = std::move(chatSessionManager);
  state_->notificationService = std::move(notificationService);
  {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    state_->id = registry.nextId++;
    state_->creator = std::this_thread::get_id();
    auto& clients = registry.clients;
    clients.erase(std::remove_if(clients.begin(), clients.end(),
                                 [](const std::weak_ptr<State>& w) { return w.expired(); }),
                  clients.end());
    clients.push_back(state_);
  }
  EMU_LOG(LogLevel::kInfo, "client", "client for '%s' created (%s)", state_->serverName.c_str(),
          ModeName(mode));
  // A scripted client stays silent: the test emits every event itself.
  if (mode == Mode::kLoopback) {
    state_->Post([](State& s) {
      s.SetConnection(kConnecting);
      s.SetConnection(kConnected);
      s.Announce(s.NewToolService());
    });
  }
}

Client::~Client() {
  EMU_LOG(LogLevel::kInfo, "client", "client for '%s' destroyed", state_->serverName.c_str());
}

SharedPtr<AccountToolItf> Client::CreateAccountTool() {
  ToolContext context = state_->ToolContextOf();
  return MakeTool<AccountToolItf>(*state_, "CreateAccountTool",
                                  [context] { return new AccountTool(context); });
}

SharedPtr<RemoteFileTransferItf> Client::CreateRemoteFileTransferTool() {
  ToolContext context = state_->ToolContextOf();
  return MakeTool<RemoteFileTransferItf>(*state_, "CreateRemoteFileTransferTool",
                                         [context] { return new RemoteFileTransfer(context); });
}

SharedPtr<RemoteControlToolItf> Client::CreateRemoteControlTool() {
  ToolContext context = state_->ToolContextOf();
  return MakeTool<RemoteControlToolItf>(*state_, "CreateRemoteControlTool",
                                        [context] { return new RemoteControlTool(context); });
}

SharedPtr<RemoteFileToolItf> Client::CreateRemoteFileTool() {
  ToolContext context = state_->ToolContextOf();
  return MakeTool<RemoteFileToolItf>(*state_, "CreateRemoteFileTool",
                                     [context] { return new RemoteFileTool(context); });
}

SharedPtr<RemoteShellToolItf> Client::CreateRemoteShellTool() {
  ToolContext context = state_->ToolContextOf();
  return MakeTool<RemoteShellToolItf>(*state_, "CreateRemoteShellTool",
                                      [context] { return new RemoteShellTool(context); });
}

void Client::SetObserver(WeakPtr<OmbrixClientObserverItf> observer) {
  // Stored on the signaling thread, after any event already queued there, so
  // a new observer is told the current state exactly once.
  state_->Post([observer](State& s) {
    SharedPtr<OmbrixClientObserverItf> replaced = s.observer.lock();
    s.observer = observer;
    if (replaced && replaced.get() != observer.lock().get() &&
        hostile::Roll(hostile::Habit::kObserverRace)) {
      s.RaceReplaced(replaced);
    }
    if (!s.observer.lock() || s.connection == kDisconnected) return;
    s.SetConnection(s.connection);
    if (s.toolService) s.Announce(s.toolService);
  });
}

void Client::SetAuditSessionManager(SharedPtr<AuditSessionManagerItf> manager) {
  std::lock_guard<std::mutex> lock(state_->servicesMutex);
  EMU_LOG(LogLevel::kInfo, "client", "%s: audit session manager %s", state_->serverName.c_str(),
          manager ? "set" : "cleared");
  state_->auditSessionManager = std::move(manager);
}

namespace {

// What the application gets back: the runtime's handle, which reaches the
// manager through its client. The application's manager is the client's to
// hold, so a handle the application keeps does not keep that manager (and
// the JavaScript behind it) once the client is gone.
class WorkspaceManagerHandle final : public FernwickManagerItf {
 public:
  explicit WorkspaceManagerHandle(std::weak_ptr<Client::State> state) : state_(std::move(state)) {}

  void SetFernwickWorkspace(const char* workspace,
                            SharedPtr<CallbackItf<const OperationResult&>> callback) override;

 private:
  std::weak_ptr<Client::State> state_;
};

}  // namespace

SharedPtr<FernwickManagerItf> Client::CreateFernwickManager(SharedPtr<FernwickManagerItf> manager) {
  if (ApplyFault("CreateFernwickManager")) return SharedPtr<FernwickManagerItf>();
  // Without the application's manager the runtime uses the SDK's own.
  if (!manager) manager = SharedPtr<FernwickManagerItf>(new SdkFernwickManager(state_->serverName));
  std::lock_guard<std::mutex> lock(state_->servicesMutex);
  EMU_LOG(LogLevel::kInfo, "client", "%s: workspace manager created", state_->serverName.c_str());
  state_->fernwickManager = manager;
  return SharedPtr<FernwickManagerItf>(new WorkspaceManagerHandle(state_));
}

void WorkspaceManagerHandle::SetFernwickWorkspace(
    const char* workspace, SharedPtr<CallbackItf<const OperationResult&>> callback) {
  SharedPtr<FernwickManagerItf> manager;
  if (std::shared_ptr<Client::State> state = state_.lock()) {
    std::lock_guard<std::mutex> lock(state->servicesMutex);
    manager = state->fernwickManager;
  }
  // A closed client's runtime has no workspace to set: the callback is let go.
  if (manager) manager->SetFernwickWorkspace(workspace, std::move(callback));
}

void Client::GetFernwickWorkspace(SharedPtr<CallbackItf<const char*>> callback) {
  std::string name = state_->serverName;
  Perform(state_->ToolContextOf(), "GetFernwickWorkspace", Json::MakeObject({{"serverName", name}}),
          callback, [name](const loopback::CancelFlag&) {
            std::string safe = name;
            for (char& c : safe) {
              if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
            }
            std::error_code error;
            const std::string base = loopback::fs::UserPrivateDirectory(error);
            if (base.empty()) return std::string();
            std::string dir =
                (std::filesystem::u8path(base) / ("ombrix-fernwick-" + safe)).u8string();
            return loopback::fs::MakePrivateDirectory(dir, error) ? dir : std::string();
          });
}

std::string SendClientEvent(const std::string& event, const Json& args, const Json& selector,
                            const std::shared_ptr<void>& finished) {
  std::function<void(Client::State&)> send;
  if (event == "connectionState") {
    const auto state = static_cast<int32_t>(args["state"].AsNumber());
    send = [state](Client::State& s) { s.SetConnection(state); };
  } else if (event == "announceToolService") {
    const bool empty = args["empty"].AsBool();
    send = [empty](Client::State& s) {
      s.Announce(empty ? SharedPtr<ToolServiceItf>() : s.NewToolService());
    };
  } else if (event == "disconnectToolService") {
    send = [](Client::State& s) { s.Disconnect(); };
  } else {
    return "unknown client event " + event;
  }
  std::string error;
  std::vector<std::shared_ptr<Client::State>> clients = LiveClientStates();
  if (!selector.IsNull()) {
    std::shared_ptr<Client::State> one = TheClient(selector, &error);
    if (!one) return error;
    clients = {one};
  }
  for (auto& client : clients) {
    client->Post([send, finished](Client::State& s) { send(s); });
  }
  return "";
}

std::optional<ClientServices> SelectClient(const Json& selector, std::string* error) {
  std::shared_ptr<Client::State> client = TheClient(selector, error);
  if (!client) return std::nullopt;
  std::lock_guard<std::mutex> lock(client->servicesMutex);
  return ClientServices{NameOf(*client), client->chatSessionManager, client->notificationService,
                        client->auditSessionManager, client->fernwickManager};
}

Json ClientsJson() {
  Json clients = Json(Json::Array());
  for (auto& client : LiveClientStates()) {
    clients.Push(Json::MakeObject(
        {{"id", client->id},
         {"serverName", client->serverName},
         {"mode", ModeName(client->mode)},
         {"signalingThread", client->signaling ? client->signaling->GetName() : ""},
         {"thisThread", client->creator == std::this_thread::get_id()}}));
  }
  return clients;
}

std::string SignalingThreadName() {
  std::string name;
  ForEachClient([&name](Client::State& client) {  // oldest first: the last one wins
    name = client.signaling ? client.signaling->GetName() : "";
  });
  return name;
}

int LiveClients() {
  int count = 0;
  ForEachClient([&count](Client::State&) { ++count; });
  return count;
}

}  // namespace emu

SharedPtr<OmbrixClientItf> CreateOmbrixClient(
    const OmbrixConfig& config, SharedPtr<ChatSessionManagerItf> chatSessionManager,
    SharedPtr<NotificationServiceItf> notificationService) {
  if (emu::ApplyFault("CreateOmbrixClient")) return SharedPtr<OmbrixClientItf>();
  if (!config.signalingThread) {
    EMU_LOG(LogLevel::kError, "client", "CreateOmbrixClient: no signaling thread");
    return SharedPtr<OmbrixClientItf>();
  }
  return SharedPtr<OmbrixClientItf>(new emu::Client(
      emu::Str(config.serverName), config.signalingThread, std::move(chatSessionManager),
      std::move(notificationService), emu::DefaultMode()));
}

}  // namespace quelt::ombrix
