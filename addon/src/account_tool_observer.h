// The module's account observer. The SDK holds it weakly and calls it on its
// own threads; it forwards token renewals to its AccountTool until detached.
#pragma once

#include "observer_relay.h"
#include "ombrix/account.h"

namespace ombrix_addon {

class AccountTool;

class AccountToolObserver final : public quelt::ombrix::AccountObserverItf {
 public:
  explicit AccountToolObserver(AccountTool* owner) : relay_(owner) {}

  void OnTokenUpdated(const char* token) override;
  void OnMcpTokenUpdated(const char* token) override;

  // After this returns no event reaches the owner.
  void Detach() { relay_.Detach(); }

 private:
  ObserverRelay<AccountTool> relay_;
};

}  // namespace ombrix_addon
