#include "tools/account_tool.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hostile/hostile.h"
#include "loopback/host_info.h"
#include "loopback/identity.h"
#include "ombrix_emu/control.h"
#include "runtime/worker_thread.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

namespace {

// Renewals reach observers from one SDK thread, in the order they happen.
WorkerThread& AccountEvents() {
  static WorkerThread* thread = new WorkerThread("ombrix-account");  // outlives static destruction
  return *thread;
}

}  // namespace

struct AccountTool::Observer {
  std::mutex mutex;
  WeakPtr<AccountObserverItf> observer;

  // Tells the observer from the account thread, never inline; `finished` is
  // let go once it has been told.
  void Notify(bool mcp, std::string token, std::shared_ptr<void> finished = nullptr) {
    WeakPtr<AccountObserverItf> target;
    {
      std::lock_guard<std::mutex> lock(mutex);
      target = observer;
    }
    AccountEvents().PostTask([target, mcp, token, finished] {
      SharedPtr<AccountObserverItf> current = target.lock();
      EMU_LOG(LogLevel::kDebug, "account", "%s token renewed%s", mcp ? "MCP" : "account",
              current ? "" : " (no observer)");
      if (!current) return;
      if (mcp) {
        current->OnMcpTokenUpdated(token.c_str());
      } else {
        current->OnTokenUpdated(token.c_str());
      }
    });
  }
};

namespace {

// Every live account tool, for events sent through the control surface.
struct Registry {
  std::mutex mutex;
  std::vector<std::weak_ptr<AccountTool::Observer>> observers;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

loopback::LocalIdentity Identity() { return loopback::IdentityOf(loopback::ReadHostInfo()); }

Json NoArgs() { return Json::MakeObject({}); }

}  // namespace

AccountTool::AccountTool(ToolContext context)
    : context_(std::move(context)),
      registration_(static_cast<AccountToolItf*>(this), context_),
      observer_(std::make_shared<Observer>()) {
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> lock(registry.mutex);
  auto& observers = registry.observers;
  observers.erase(std::remove_if(observers.begin(), observers.end(),
                                 [](const std::weak_ptr<Observer>& w) { return w.expired(); }),
                  observers.end());
  observers.push_back(observer_);
}

AccountTool::~AccountTool() = default;

template <class Field>
void AccountTool::IdentityString(const char* op, SharedPtr<CallbackItf<const char*>> callback,
                                 Field field) {
  Perform(context_, op, NoArgs(), callback,
          [field](const loopback::CancelFlag&) { return Identity().*field; });
}

void AccountTool::Token(const char* op, bool mcp, SharedPtr<CallbackItf<const char*>> callback) {
  std::shared_ptr<Observer> observer = observer_;
  Perform(context_, op, NoArgs(), callback, [observer, mcp](const loopback::CancelFlag&) {
    std::string token = loopback::GenerateToken(mcp ? "mcp" : "at");
    observer->Notify(mcp, token);
    return token;
  });
}

void AccountTool::GetAccountId(SharedPtr<CallbackItf<const char*>> callback) {
  IdentityString("GetAccountId", callback, &loopback::LocalIdentity::accountId);
}

void AccountTool::GetAccountDescription(SharedPtr<CallbackItf<const char*>> callback) {
  IdentityString("GetAccountDescription", callback, &loopback::LocalIdentity::accountDescription);
}

void AccountTool::GenerateAccountToken(SharedPtr<CallbackItf<const char*>> callback) {
  Token("GenerateAccountToken", false, callback);
}

void AccountTool::GenerateMcpToken(SharedPtr<CallbackItf<const char*>> callback) {
  Token("GenerateMcpToken", true, callback);
}

void AccountTool::GetLocalDeviceId(SharedPtr<CallbackItf<const char*>> callback) {
  IdentityString("GetLocalDeviceId", callback, &loopback::LocalIdentity::deviceId);
}

void AccountTool::GetLocalDeviceName(SharedPtr<CallbackItf<const char*>> callback) {
  IdentityString("GetLocalDeviceName", callback, &loopback::LocalIdentity::deviceName);
}

void AccountTool::GetRemoteDeviceList(
    SharedPtr<CallbackItf<SharedPtr<RemoteDeviceListItf>>> callback) {
  Perform(context_, "GetRemoteDeviceList", NoArgs(), callback, [](const loopback::CancelFlag&) {
    loopback::LocalIdentity self = Identity();
    return std::vector<ombrix_records::RemoteDeviceData>{
        {self.deviceId, self.deviceName, self.deviceType, RemoteDeviceStatus::kOnline}};
  });
}

void AccountTool::SetAccountObserver(WeakPtr<AccountObserverItf> observer) {
  SharedPtr<AccountObserverItf> replaced;
  {
    std::lock_guard<std::mutex> lock(observer_->mutex);
    EMU_LOG(LogLevel::kDebug, "account", "observer set");
    replaced = observer_->observer.lock();
    observer_->observer = observer;
  }
  // A renewal that began before the replacement may still reach the replaced
  // observer, from several threads at once.
  if (replaced && replaced.get() != observer.lock().get() &&
      hostile::Roll(hostile::Habit::kObserverRace)) {
    hostile::FromSeveralThreads([replaced] {
      replaced->OnTokenUpdated("at.replaced");
      replaced->OnMcpTokenUpdated(nullptr);
    });
  }
}

void EmitAccountTokenUpdated(bool mcp, const std::string& token,
                             const std::shared_ptr<void>& finished) {
  std::vector<std::shared_ptr<AccountTool::Observer>> live;
  {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    for (auto& weak : registry.observers) {
      if (auto observer = weak.lock()) live.push_back(std::move(observer));
    }
  }
  for (auto& observer : live) observer->Notify(mcp, token, finished);
}

}  // namespace quelt::ombrix::emu
