#include "client_wrap.h"

#include <string>
#include <utility>
#include <vector>

#include "account_tool_wrap.h"
#include "addon_state.h"
#include "args.h"
#include "audit_session_manager_wrap.h"
#include "chat_session_manager_wrap.h"
#include "client_observer.h"
#include "errors.h"
#include "fernwick_manager_wrap.h"
#include "notification_service_wrap.h"
#include "owned_external.h"
#include "remote_control_tool_wrap.h"
#include "remote_file_tool_wrap.h"
#include "remote_file_transfer_tool_wrap.h"
#include "remote_shell_tool_wrap.h"
#include "tool_promise.h"
#include "tool_service_wrap.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

// An observer event on its way to the JavaScript thread. The channel is
// aborted before the client goes away, so a queued event never outlives it.
class OmbrixClient::ToolServiceEvent final : public JsTask {
 public:
  ToolServiceEvent(OmbrixClient* owner, SharedPtr<ToolServiceItf> service, bool disconnected)
      : owner_(owner), service_(std::move(service)), disconnected_(disconnected) {}

  void Run(Napi::Env env, Napi::Function) override {
    if (disconnected_) {
      if (!owner_->onToolServiceDisconnected_.IsEmpty()) {
        owner_->onToolServiceDisconnected_.Call({});
      }
    } else if (!owner_->onNewToolService_.IsEmpty() && service_) {
      Napi::Object instance = ToolService::NewInstance(env, service_);
      owner_->onNewToolService_.Call({instance});
    }
  }

 private:
  OmbrixClient* owner_;
  SharedPtr<ToolServiceItf> service_;
  bool disconnected_;
};

namespace {

// The Fernwick workspace: a path resolves, an empty or null one rejects.
struct WorkspacePath : ResolveWithResult {
  static void Resolve(Napi::Env env, Handle& deferred, const std::string& path) {
    if (path.empty()) {
      deferred.Reject(
          CodedError(env, code::kUnavailable, "Fernwick workspace not available").Value());
    } else {
      deferred.Resolve(Napi::String::New(env, path));
    }
  }
};

template <class Wrap, class Itf>
Napi::Value ToolPromise(Napi::Env env, SharedPtr<Itf> tool, const char* failure) {
  auto deferred = Napi::Promise::Deferred::New(env);
  if (tool) {
    deferred.Resolve(Wrap::NewInstance(env, std::move(tool)));
  } else {
    deferred.Reject(Napi::String::New(env, failure));  // a bare string, not an Error
  }
  return deferred.Promise();
}

constexpr const char* kClientNotInitialized = "Client is not initialized";
constexpr const char* kOmbrixClientNotInitialized = "OmbrixClient is not initialized";

}  // namespace

void OmbrixClient::Init(Napi::Env env) {
  std::vector<Napi::ClassPropertyDescriptor<OmbrixClient>> members{
      TaggedMethod<&OmbrixClient::CreateAccountTool>("createAccountTool"),
      TaggedMethod<&OmbrixClient::CreateRemoteFileTransferTool>("createRemoteFileTransferTool"),
      TaggedMethod<&OmbrixClient::CreateRemoteControlTool>("createRemoteControlTool"),
      TaggedMethod<&OmbrixClient::CreateRemoteFileTool>("createRemoteFileTool"),
      TaggedMethod<&OmbrixClient::CreateRemoteShellTool>("createRemoteShellTool"),
      TaggedMethod<&OmbrixClient::SetObserver>("setObserver"),
      TaggedMethod<&OmbrixClient::SetAuditManager>("setAuditManager"),
      TaggedMethod<&OmbrixClient::GetFernwickWorkspace>("getFernwickWorkspace"),
      TaggedMethod<&OmbrixClient::CreateFernwickManager>("createFernwickManager"),
      TaggedMethod<&OmbrixClient::Close>("close")};
  // `using client = createOmbrixClient(…)` closes it at the end of the scope,
  // where the runtime has explicit resource management.
  Napi::Value dispose = env.Global().Get("Symbol").As<Napi::Object>().Get("dispose");
  if (dispose.IsSymbol())
    members.push_back(TaggedMethod<&OmbrixClient::Close>(dispose.As<Napi::Symbol>()));
  AddonState::Get(env).SetConstructor(kClassName, DefineClass(env, kClassName, members));
}

OmbrixClient::OmbrixClient(const Napi::CallbackInfo& info) : TaggedWrap<OmbrixClient>(info) {}

OmbrixClient::~OmbrixClient() { Release(); }

Napi::Value OmbrixClient::Close(const Napi::CallbackInfo& info) {
  Release();
  return info.Env().Undefined();
}

void OmbrixClient::Release() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (observerImpl_) observerImpl_->Detach();
  observerImpl_ = nullptr;
  if (client_) client_->SetObserver(WeakPtr<OmbrixClientObserverItf>());
  if (events_) events_->Abort();
  onNewToolService_.Reset();
  onConnectionStateChanged_.Reset();
  onToolServiceDisconnected_.Reset();
  observer_.reset();
  auditManager_.reset();
  client_.reset();
}

Napi::Value OmbrixClient::Create(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 1) throw ArgumentError(env, "Expected at least 1 argument: config");
  if (!info[0].IsObject()) {
    throw ArgumentError(env, "Expected config object as first argument");
  }
  Napi::Object config = info[0].As<Napi::Object>();
  if (!config.Has("serverName") || !config.Get("serverName").IsString()) {
    throw ArgumentError(env, "createOmbrixClient: config.serverName (string) is required");
  }
  std::string serverName = SdkString(config.Get("serverName"), "config.serverName");
  if (serverName.empty()) {
    throw ArgumentError(env, "createOmbrixClient: config.serverName must be non-empty");
  }

  try {
    SharedPtr<ChatSessionManagerItf> chatSessionManager;
    if (info.Length() >= 2 && !info[1].IsUndefined() && !info[1].IsNull()) {
      if (!info[1].IsObject()) {
        throw ArgumentError(env, "Expected ChatSessionManager object as second argument");
      }
      chatSessionManager = SharedPtr<ChatSessionManagerItf>(
          new JSChatSessionManager(env, info[1].As<Napi::Object>()));
    }
    SharedPtr<NotificationServiceItf> notificationService;
    if (info.Length() >= 3 && !info[2].IsUndefined() && !info[2].IsNull()) {
      if (!info[2].IsObject()) {
        throw ArgumentError(env, "Expected NotificationService object as third argument");
      }
      notificationService = SharedPtr<NotificationServiceItf>(
          new JSNotificationService(env, info[2].As<Napi::Object>()));
    }

    SharedPtr<ThreadItf> signaling = ThreadItf::Create("OmbrixAddonSignaling");
    if (!signaling) throw CodedError(env, code::kSdkFailure, "Failed to create signaling thread");

    OmbrixConfig sdkConfig;
    sdkConfig.serverName = serverName.c_str();
    sdkConfig.signalingThread = signaling;
    SharedPtr<OmbrixClientItf> client =
        CreateOmbrixClient(sdkConfig, chatSessionManager, notificationService);
    if (!client) throw CodedError(env, code::kSdkFailure, "Failed to create OmbrixClient");

    Napi::Object instance = AddonState::Get(env).Constructor(env, kClassName).New({});
    FromValue(instance)->Attach(env, std::move(client));
    return instance;
  } catch (const Napi::Error&) {
    throw;
  } catch (const std::exception& e) {
    throw CodedError(env, code::kSdkFailure,
                     std::string("Failed to create OmbrixClient: ") + e.what());
  }
}

void OmbrixClient::Attach(Napi::Env env, SharedPtr<OmbrixClientItf> client) {
  client_ = std::move(client);
  // The channel exists before the SDK can send the first event.
  events_ = JsChannel::Create(env, "OmbrixClientObserver");
  observerImpl_ = new ClientObserver(this);
  observer_ = SharedPtr<OmbrixClientObserverItf>(observerImpl_);
  client_->SetObserver(WeakPtr<OmbrixClientObserverItf>(observer_));
}

void OmbrixClient::QueueNewToolService(SharedPtr<ToolServiceItf> service) {
  events_->Post(std::make_unique<ToolServiceEvent>(this, std::move(service), false));
}

void OmbrixClient::QueueToolServiceDisconnected() {
  events_->Post(std::make_unique<ToolServiceEvent>(this, SharedPtr<ToolServiceItf>(), true));
}

void OmbrixClient::RequireClient(Napi::Env env, const char* message) const {
  if (!client_) throw CodedError(env, code::kNotInitialized, message);
}

Napi::Value OmbrixClient::CreateAccountTool(const Napi::CallbackInfo& info) {
  RequireClient(info.Env(), kClientNotInitialized);
  return ToolPromise<AccountTool>(info.Env(), client_->CreateAccountTool(),
                                  "Failed to create AccountTool");
}

Napi::Value OmbrixClient::CreateRemoteFileTransferTool(const Napi::CallbackInfo& info) {
  RequireClient(info.Env(), kClientNotInitialized);
  return ToolPromise<RemoteFileTransferTool>(info.Env(), client_->CreateRemoteFileTransferTool(),
                                             "Failed to create RemoteFileTransfer");
}

Napi::Value OmbrixClient::CreateRemoteControlTool(const Napi::CallbackInfo& info) {
  RequireClient(info.Env(), kClientNotInitialized);
  return ToolPromise<RemoteControlTool>(info.Env(), client_->CreateRemoteControlTool(),
                                        "Failed to create RemoteControlTool");
}

Napi::Value OmbrixClient::CreateRemoteFileTool(const Napi::CallbackInfo& info) {
  RequireClient(info.Env(), kClientNotInitialized);
  return ToolPromise<RemoteFileTool>(info.Env(), client_->CreateRemoteFileTool(),
                                     "Failed to create RemoteFileTool");
}

Napi::Value OmbrixClient::CreateRemoteShellTool(const Napi::CallbackInfo& info) {
  RequireClient(info.Env(), kClientNotInitialized);
  return ToolPromise<RemoteShellTool>(info.Env(), client_->CreateRemoteShellTool(),
                                      "Failed to create RemoteShellTool");
}

Napi::Value OmbrixClient::SetObserver(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 1 || !info[0].IsObject()) {
    throw ArgumentError(env, "Expected observer object as first argument");
  }
  Napi::Object observer = info[0].As<Napi::Object>();
  // Persistent (strong) references: a callback that refers to this client
  // therefore keeps it, and the event loop, alive.
  auto keep = [&](const char* name, Napi::FunctionReference& slot) {
    if (!observer.Has(name)) return;
    Napi::Value value = observer.Get(name);
    if (value.IsFunction()) slot = Napi::Persistent(value.As<Napi::Function>());
  };
  keep("onNewToolService", onNewToolService_);
  keep("onConnectionStateChanged", onConnectionStateChanged_);
  keep("onToolServiceDisconnected", onToolServiceDisconnected_);
  return env.Undefined();
}

Napi::Value OmbrixClient::SetAuditManager(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  RequireClient(env, kClientNotInitialized);
  SharedPtr<AuditSessionManagerItf> manager;
  if (info.Length() > 0 && !info[0].IsUndefined() && !info[0].IsNull()) {
    if (!info[0].IsObject()) {
      throw ArgumentError(env, "Expected AuditSessionManager object or null");
    }
    manager = SharedPtr<AuditSessionManagerItf>(
        new JSAuditSessionManager(env, info[0].As<Napi::Object>()));
  }
  client_->SetAuditSessionManager(manager);
  auditManager_ = std::move(manager);
  return env.Undefined();
}

Napi::Value OmbrixClient::GetFernwickWorkspace(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  RequireClient(env, kOmbrixClientNotInitialized);
  auto deferred = Napi::Promise::Deferred::New(env);
  auto* callback = new PromiseCallback<const char*, WorkspacePath>(
      deferred, AddonState::Get(env).ResultChannel(env, "GetFernwickWorkspaceCallback"),
      DeliveryError{code::kAborted, "Fernwick workspace request aborted"});
  SharedPtr<CallbackItf<const char*>> owned(callback);
  try {
    client_->GetFernwickWorkspace(owned);
  } catch (...) {
    callback->Abandon();  // the caller sees the throw; nobody holds this Promise
    throw;
  }
  return deferred.Promise();
}

Napi::Value OmbrixClient::CreateFernwickManager(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  RequireClient(env, kOmbrixClientNotInitialized);
  try {
    SharedPtr<FernwickManagerItf> manager;
    if (info.Length() > 0 && info[0].IsObject()) {
      manager =
          SharedPtr<FernwickManagerItf>(new JSFernwickManager(env, info[0].As<Napi::Object>()));
    } else if (info.Length() > 0 && !info[0].IsUndefined() && !info[0].IsNull()) {
      throw ArgumentError(
          env,
          "createFernwickManager: arg 1 must be an FernwickManager object, null, or undefined");
    }
    SharedPtr<FernwickManagerItf> created = client_->CreateFernwickManager(manager);
    if (!created) {
      throw CodedError(env, code::kSdkFailure,
                       "createFernwickManager returned null (client not yet initialized?)");
    }
    return OwnedExternal(env, std::make_unique<SharedPtr<FernwickManagerItf>>(std::move(created)));
  } catch (const Napi::Error&) {
    throw;
  } catch (const std::exception& e) {
    throw CodedError(env, code::kSdkFailure,
                     std::string("createFernwickManager failed: ") + e.what());
  }
}

}  // namespace ombrix_addon
