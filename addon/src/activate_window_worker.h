// Brings a window to the foreground on a Node-API worker thread: a thread of
// its own can attach to both the foreground and the target input queues.
#pragma once

#include <napi.h>

#include "window_system.h"

namespace ombrix_addon {

class ActivateWindowWorker final : public Napi::AsyncWorker {
 public:
  ActivateWindowWorker(Napi::Env env, WindowSystem::Handle window);

  Napi::Promise Promise() const { return deferred_.Promise(); }

 protected:
  void Execute() override;
  void OnOK() override;
  void OnError(const Napi::Error& error) override;

 private:
  const WindowSystem::Handle window_;
  Napi::Promise::Deferred deferred_;
  WindowSystem::Activation result_;  // written by Execute only
};

}  // namespace ombrix_addon
