// The SDK's account tool. In loopback mode the account is the local user on
// this host, its only device is this machine, and generated tokens are fresh
// random strings, each reported to the observer as a renewal.
#pragma once

#include <memory>
#include <string>

#include "ombrix/account.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class AccountTool final : public AccountToolItf {
 public:
  explicit AccountTool(ToolContext context);
  ~AccountTool() override;

  void GetAccountId(SharedPtr<CallbackItf<const char*>> callback) override;
  void GetAccountDescription(SharedPtr<CallbackItf<const char*>> callback) override;
  void GenerateAccountToken(SharedPtr<CallbackItf<const char*>> callback) override;
  void GenerateMcpToken(SharedPtr<CallbackItf<const char*>> callback) override;
  void GetLocalDeviceId(SharedPtr<CallbackItf<const char*>> callback) override;
  void GetLocalDeviceName(SharedPtr<CallbackItf<const char*>> callback) override;
  void GetRemoteDeviceList(
      SharedPtr<CallbackItf<SharedPtr<RemoteDeviceListItf>>> callback) override;
  void SetAccountObserver(WeakPtr<AccountObserverItf> observer) override;

  // The observer slot, shared with work still running for this tool and with
  // the registry that control-surface events reach.
  struct Observer;

 private:
  template <class Field>
  void IdentityString(const char* op, SharedPtr<CallbackItf<const char*>> callback, Field field);
  void Token(const char* op, bool mcp, SharedPtr<CallbackItf<const char*>> callback);

  ToolContext context_;
  ToolRegistration registration_;
  std::shared_ptr<Observer> observer_;
};

// A token renewal sent to the observer of every live account tool, from the
// account thread; `finished` is let go once every observer has been told.
void EmitAccountTokenUpdated(bool mcp, const std::string& token,
                             const std::shared_ptr<void>& finished);

}  // namespace quelt::ombrix::emu
