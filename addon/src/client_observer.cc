#include "client_observer.h"

#include "client_wrap.h"

namespace ombrix_addon {

void ClientObserver::OnConnectionStateChanged(int32_t) {}

void ClientObserver::OnNewToolService(
    quelt::ombrix::SharedPtr<quelt::ombrix::ToolServiceItf> service) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!detached_ && owner_) owner_->QueueNewToolService(std::move(service));
}

void ClientObserver::OnToolServiceDisconnected() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!detached_ && owner_) owner_->QueueToolServiceDisconnected();
}

void ClientObserver::Detach() {
  std::lock_guard<std::mutex> lock(mutex_);
  detached_ = true;
  owner_ = nullptr;
}

}  // namespace ombrix_addon
