// "setLogger": the application's JavaScript callback as the SDK's log sink.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <napi.h>

#include "js_channel.h"
#include "ombrix/logger.h"

namespace ombrix_addon {

// The SDK keeps a raw pointer to its logger, and its contract does not say
// when a thread that read the pointer is done with it: SetLogger may return
// while another thread is still inside the logger it replaced. So a JSLogger
// the module lets go of is retired, not freed: silent from then on, its
// channel released (lines already queued still reach their callback), and
// freed by a later "setLogger" once the SDK has been given another logger
// and no thread has been inside this one for a while.
class JSLogger final : public quelt::ombrix::ILogger {
 public:
  JSLogger(Napi::Env env, Napi::Function callback);
  ~JSLogger() override;

  void Log(const quelt::ombrix::LogContext& context, const char* message) override;
  bool IsEnabled(quelt::ombrix::LogLevel level) override;
  void SetMinLevel(int32_t level);

  void Retire();
  // No thread inside Log or IsEnabled now.
  bool Idle() const { return active_.load() == 0; }

 private:
  // Counts the threads inside the logger's operations.
  class Inside;

  std::shared_ptr<JsChannel> channel_;
  std::mutex mutex_;
  int32_t minLevel_ = 2;
  std::atomic<bool> retired_{false};
  std::atomic<int> active_{0};
};

// "TRACE" … "FATAL", "UNKNOWN" for anything else.
const char* LogLevelName(int32_t level);

Napi::Value SetLogger(const Napi::CallbackInfo& info);

}  // namespace ombrix_addon
