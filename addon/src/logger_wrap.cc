#include "logger_wrap.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "errors.h"

namespace ombrix_addon {

using quelt::ombrix::LogContext;
using quelt::ombrix::LogLevel;
namespace logger = quelt::ombrix::logger;

namespace {

constexpr int32_t kDefaultLevel = static_cast<int32_t>(LogLevel::kInfo);
constexpr int32_t kLowestLevel = static_cast<int32_t>(LogLevel::kTrace);
constexpr int32_t kHighestLevel = static_cast<int32_t>(LogLevel::kFatal);

bool IsLevel(int32_t level) { return level >= kLowestLevel && level <= kHighestLevel; }

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

// The process has one SDK log sink, hence one owner, and the loggers it
// retired. Never destroyed: SDK threads may still log while the process exits.
struct LoggerSlot {
  struct Retired {
    std::unique_ptr<JSLogger> logger;
    uint64_t installs;  // SetLogger calls that had succeeded when it was retired
    std::chrono::steady_clock::time_point since;
  };

  // Under `mutex`. A retired logger may be in use until the SDK has been
  // given another one, and for as long as a thread is inside it; the grace
  // period covers a thread that read the SDK's pointer and has not entered
  // the logger yet.
  void Retire(std::unique_ptr<JSLogger> logger) {
    if (!logger) return;
    logger->Retire();
    retired.push_back(Retired{std::move(logger), installs, std::chrono::steady_clock::now()});
  }
  void Install(JSLogger* logger) {
    logger::SetLogger(logger);
    ++installs;
  }
  void Sweep() {
    const auto now = std::chrono::steady_clock::now();
    retired.erase(std::remove_if(retired.begin(), retired.end(),
                                 [&](const Retired& entry) {
                                   return entry.installs < installs &&
                                          now - entry.since >= kGrace && entry.logger->Idle();
                                 }),
                  retired.end());
  }

  static constexpr std::chrono::seconds kGrace{1};
  std::mutex mutex;
  std::unique_ptr<JSLogger> current;
  std::vector<Retired> retired;
  uint64_t installs = 0;
};

LoggerSlot& Slot() {
  static LoggerSlot* slot = new LoggerSlot;
  return *slot;
}

}  // namespace

const char* LogLevelName(int32_t level) {
  static const char* const kNames[] = {"TRACE", "DEBUG", "INFO", "WARNING", "ERROR", "FATAL"};
  return IsLevel(level) ? kNames[level] : "UNKNOWN";
}

class JSLogger::Inside {
 public:
  explicit Inside(std::atomic<int>& active) : active_(active) { active_.fetch_add(1); }
  ~Inside() { active_.fetch_sub(1); }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

 private:
  std::atomic<int>& active_;
};

JSLogger::JSLogger(Napi::Env env, Napi::Function callback)
    : channel_(JsChannel::Create(env, "Ombrix Logger", callback)) {}

JSLogger::~JSLogger() { Retire(); }

void JSLogger::Retire() {
  retired_.store(true);
  channel_->Release();  // only the first release acts
}

void JSLogger::Log(const LogContext& context, const char* message) {
  Inside inside(active_);
  if (!IsEnabled(context.level)) return;
  // A line that cannot be queued (the logger is retired) is lost.
  channel_->Post(std::make_unique<LogLine>(context, message));
}

bool JSLogger::IsEnabled(LogLevel level) {
  Inside inside(active_);
  if (retired_.load()) return false;
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
      slot.Install(nullptr);
      slot.Retire(std::move(slot.current));
      slot.Sweep();
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
    level = IsLevel(requested) ? requested : kDefaultLevel;
  }

  try {
    std::lock_guard<std::mutex> lock(slot.mutex);
    auto fresh = std::make_unique<JSLogger>(env, info[0].As<Napi::Function>());
    slot.Retire(std::move(slot.current));  // the previous logger goes silent here
    slot.current = std::move(fresh);
    slot.current->SetMinLevel(level);
    slot.Install(slot.current.get());
    slot.Sweep();
  } catch (const std::exception& e) {
    throw CodedError(env, code::kSdkFailure, std::string("Failed to set logger: ") + e.what());
  }
  return Napi::Boolean::New(env, true);
}

}  // namespace ombrix_addon
