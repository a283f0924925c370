// The module's observer of the SDK client. The SDK holds it weakly and calls
// it on its own threads; it forwards to its OmbrixClient until detached.
#pragma once

#include "observer_relay.h"
#include "ombrix/client.h"

namespace ombrix_addon {

class OmbrixClient;

class ClientObserver final : public quelt::ombrix::OmbrixClientObserverItf {
 public:
  explicit ClientObserver(OmbrixClient* owner) : relay_(owner) {}

  // Connection states are not relayed to JavaScript.
  void OnConnectionStateChanged(int32_t state) override;
  void OnNewToolService(quelt::ombrix::SharedPtr<quelt::ombrix::ToolServiceItf> service) override;
  void OnToolServiceDisconnected() override;

  // After this returns no event reaches the owner.
  void Detach() { relay_.Detach(); }

 private:
  ObserverRelay<OmbrixClient> relay_;
};

}  // namespace ombrix_addon
