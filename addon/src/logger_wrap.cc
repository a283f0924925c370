#include "logger_wrap.h"

#include <string>

#include "errors.h"

namespace ombrix_addon {

using quelt::ombrix::LogContext;
using quelt::ombrix::LogLevel;
namespace logger = quelt::ombrix::logger;

namespace {

constexpr int32_t kDefaultLevel = 2;  // INFO

// One queued line; strings are owned, null pointers became "".
class LogLine final : public JsTask {
 public:
  LogLine(const LogContext& context, const char* message)
      : level_(LogLevelName(static_cast<int32_t>(context.level))),
        module_(context.module ? context.module : ""),
        file_(context.file ? context.file : ""),
        function_(context.function ? context.function : ""),
        message_(message ? message : ""),
        line_(context.line) {}

  void Run(Napi::Env env, Napi::Function callback) override {
    if (callback.IsEmpty()) return;
    Napi::Object context = Napi::Object::New(env);
    context.Set("level", level_);
    context.Set("module", module_);
    context.Set("file", file_);
    context.Set("line", Napi::Number::New(env, line_));
    context.Set("function", function_);
    callback.Call({context, Napi::String::New(env, message_)});
  }

 private:
  const char* level_;
  std::string module_, file_, function_, message_;
  int32_t line_;
};

// The process has one SDK log sink, hence one owner. Never destroyed: SDK
// threads may still log while the process exits.
struct LoggerSlot {
  std::mutex mutex;
  std::unique_ptr<JSLogger> current;
};

LoggerSlot& Slot() {
  static LoggerSlot* slot = new LoggerSlot;
  return *slot;
}

}  // namespace

const char* LogLevelName(int32_t level) {
  static const char* const kNames[] = {"TRACE", "DEBUG", "INFO", "WARNING", "ERROR", "FATAL"};
  return level >= 0 && level <= 5 ? kNames[level] : "UNKNOWN";
}

JSLogger::JSLogger(Napi::Env env, Napi::Function callback)
    : channel_(JsChannel::Create(env, "Ombrix Logger", callback)) {}

JSLogger::~JSLogger() {
  // The SDK may be inside Log on another thread right now. Detaching first
  // makes SetLogger wait for it, so nothing calls into this object once its
  // members start going away; the replacement is installed right after.
  logger::SetLogger(nullptr);
  channel_->Release();  // lines already queued still reach the old callback
}

void JSLogger::Log(const LogContext& context, const char* message) {
  if (!IsEnabled(context.level)) return;
  // Never wait on a logging thread: a line that cannot be queued is lost.
  channel_->Post(std::make_unique<LogLine>(context, message), JsChannel::Mode::kNonBlocking);
}

bool JSLogger::IsEnabled(LogLevel level) {
  std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<int32_t>(level) >= minLevel_;
}

void JSLogger::SetMinLevel(int32_t level) {
  std::lock_guard<std::mutex> lock(mutex_);
  minLevel_ = level;
}

Napi::Value SetLogger(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  LoggerSlot& slot = Slot();

  if (info.Length() == 0 || info[0].IsNull() || info[0].IsUndefined()) {
    try {
      std::lock_guard<std::mutex> lock(slot.mutex);
      logger::SetLogger(nullptr);
      slot.current.reset();
    } catch (const std::exception& e) {
      throw CodedError(env, code::kSdkFailure, std::string("Failed to clear logger: ") + e.what());
    }
    return Napi::Boolean::New(env, true);
  }

  if (!info[0].IsFunction()) {
    throw ArgumentError(env, "Expected callback function or null as first argument");
  }

  int32_t level = kDefaultLevel;
  if (info.Length() >= 2 && info[1].IsNumber()) {
    int32_t requested = info[1].As<Napi::Number>().Int32Value();
    level = requested >= 0 && requested <= 5 ? requested : kDefaultLevel;
  }

  try {
    std::lock_guard<std::mutex> lock(slot.mutex);
    auto fresh = std::make_unique<JSLogger>(env, info[0].As<Napi::Function>());
    slot.current = std::move(fresh);  // the previous logger is destroyed here
    slot.current->SetMinLevel(level);
    logger::SetLogger(slot.current.get());
  } catch (const std::exception& e) {
    throw CodedError(env, code::kSdkFailure, std::string("Failed to set logger: ") + e.what());
  }
  return Napi::Boolean::New(env, true);
}

}  // namespace ombrix_addon
