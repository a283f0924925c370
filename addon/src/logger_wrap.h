// "setLogger": the application's JavaScript callback as the SDK's log sink.
#pragma once

#include <memory>
#include <mutex>

#include <napi.h>

#include "js_channel.h"
#include "ombrix/logger.h"

namespace ombrix_addon {

class JSLogger final : public quelt::ombrix::ILogger {
 public:
  JSLogger(Napi::Env env, Napi::Function callback);
  ~JSLogger() override;

  void Log(const quelt::ombrix::LogContext& context, const char* message) override;
  bool IsEnabled(quelt::ombrix::LogLevel level) override;
  void SetMinLevel(int32_t level);

 private:
  std::shared_ptr<JsChannel> channel_;
  std::mutex mutex_;
  int32_t minLevel_ = 2;
};

// "TRACE" … "FATAL", "UNKNOWN" for anything else.
const char* LogLevelName(int32_t level);

Napi::Value SetLogger(const Napi::CallbackInfo& info);

}  // namespace ombrix_addon
