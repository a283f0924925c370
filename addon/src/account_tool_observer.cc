#include "account_tool_observer.h"

#include "account_tool_wrap.h"

namespace ombrix_addon {

// The lock is held while queueing so that Detach cannot slip in between the
// test and the post.
void AccountToolObserver::OnTokenUpdated(const char* token) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!detached_ && owner_)
    owner_->QueueTokenUpdated(AccountTool::TokenKind::kAccount, token ? token : "");
}

void AccountToolObserver::OnMcpTokenUpdated(const char* token) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!detached_ && owner_)
    owner_->QueueTokenUpdated(AccountTool::TokenKind::kMcp, token ? token : "");
}

void AccountToolObserver::Detach() {
  std::lock_guard<std::mutex> lock(mutex_);
  detached_ = true;
  owner_ = nullptr;
}

}  // namespace ombrix_addon
