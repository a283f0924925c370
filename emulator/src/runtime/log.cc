#include "runtime/log.h"

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "hostile/hostile.h"
#include "inspect/feed.h"
#include "scripted/faults.h"

namespace quelt::ombrix {

namespace {

// The process-wide sink. Logging threads register in the current epoch before
// reading the logger and leave when done; SetLogger installs the new logger,
// opens the other epoch and waits until the one it closed has drained. So when
// SetLogger returns, no thread is still inside the logger it replaced, and a
// steady stream of loggers cannot starve it (a reader-preferring rwlock can).
// Never destroyed: SDK threads may still log while the process exits.
class Sink {
 public:
  void Set(ILogger* logger) {
    std::lock_guard<std::mutex> lock(writers_);
    current_.store(logger);
    const int closing = epoch_.load();
    epoch_.store(closing ^ 1);
    // The contract does not promise the wait: hostile mode skips it.
    if (emu::hostile::Roll(emu::hostile::Habit::kLoggerNoWait)) return;
    for (int spins = 0; readers_[closing].load() != 0; ++spins) {
      if (spins < 64) {
        std::this_thread::yield();
      } else {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
      }
    }
  }

  // Calls `use(logger)` with the installed logger (possibly null).
  template <class Use>
  auto With(Use&& use) {
    const int epoch = Enter();
    struct Leave {
      std::atomic<int>& readers;
      ~Leave() { readers.fetch_sub(1); }
    } leave{readers_[epoch]};
    ILogger* logger = current_.load();
    // Hostile mode widens the gap between reading the logger and using it.
    if (logger && emu::hostile::Roll(emu::hostile::Habit::kLoggerNoWait)) emu::hostile::Pause(2);
    return use(logger);
  }

 private:
  int Enter() {
    for (;;) {
      const int epoch = epoch_.load();
      readers_[epoch].fetch_add(1);
      // Registered only if no writer closed the epoch in between; a writer
      // that closes it later will wait for us.
      if (epoch_.load() == epoch) return epoch;
      readers_[epoch].fetch_sub(1);
    }
  }

  std::mutex writers_;
  std::atomic<ILogger*> current_{nullptr};
  std::atomic<int> epoch_{0};
  std::atomic<int> readers_[2] = {};
};

Sink& TheSink() {
  static Sink* sink = new Sink;
  return *sink;
}

// Every line the SDK writes, at every level, goes to a page that watches:
// it picks the level it shows.
void PublishLog(const LogContext& context, const char* message) {
  if (!emu::inspect::Watched()) return;
  emu::inspect::Publish("log",
                        emu::Json::MakeObject({{"level", static_cast<int32_t>(context.level)},
                                               {"module", emu::Json(context.module)},
                                               {"message", emu::Json(message)}}));
}

}  // namespace

namespace logger {

void SetLogger(ILogger* logger) {
  if (emu::ApplyFault("SetLogger")) return;  // "empty": the call is ignored
  TheSink().Set(logger);
}

bool IsEnabled(LogLevel level) {
  return TheSink().With([level](ILogger* logger) { return logger && logger->IsEnabled(level); });
}

void LogSafe(const LogContext& context, const char* message) {
  PublishLog(context, message);
  TheSink().With([&](ILogger* logger) {
    if (logger) logger->Log(context, message);
  });
}

}  // namespace logger

namespace emu {

void Log(LogLevel level, const char* module, const char* file, int line, const char* function,
         const char* format, ...) {
  const bool enabled = logger::IsEnabled(level);
  if (!enabled && !inspect::Watched()) return;
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  std::string message(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(&message[0], message.size() + 1, format, args);
  va_end(args);
  const LogContext context{level, module, file, line, function};
  if (enabled) {
    logger::LogSafe(context, message.c_str());
  } else {
    PublishLog(context, message.c_str());
  }
}

}  // namespace emu
}  // namespace quelt::ombrix
