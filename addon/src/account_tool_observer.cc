#include "account_tool_observer.h"

#include "account_tool_wrap.h"

namespace ombrix_addon {

void AccountToolObserver::OnTokenUpdated(const char* token) {
  relay_([&](AccountTool& owner) {
    owner.QueueTokenUpdated(AccountTool::TokenKind::kAccount, token ? token : "");
  });
}

void AccountToolObserver::OnMcpTokenUpdated(const char* token) {
  relay_([&](AccountTool& owner) {
    owner.QueueTokenUpdated(AccountTool::TokenKind::kMcp, token ? token : "");
  });
}

}  // namespace ombrix_addon
