#include "client_observer.h"

#include "client_wrap.h"

namespace ombrix_addon {

void ClientObserver::OnConnectionStateChanged(int32_t) {}

void ClientObserver::OnNewToolService(
    quelt::ombrix::SharedPtr<quelt::ombrix::ToolServiceItf> service) {
  relay_([&](OmbrixClient& owner) { owner.QueueNewToolService(std::move(service)); });
}

void ClientObserver::OnToolServiceDisconnected() {
  relay_([](OmbrixClient& owner) { owner.QueueToolServiceDisconnected(); });
}

}  // namespace ombrix_addon
