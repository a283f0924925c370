// Control-surface entry points over the runtime: live objects, thread faults
// and log lines written from SDK threads.
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "hostile/hostile.h"
#include "ombrix/logger.h"
#include "ombrix_emu/control.h"
#include "runtime/control_block.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu {

std::vector<LiveCount> GetLiveObjects() {
  std::vector<LiveCount> counts;
  counts.reserve(detail::kTypeCount);
  for (int i = 0; i < detail::kTypeCount; ++i) {
    counts.push_back(LiveCount{detail::g_typeLabels[i], detail::g_liveObjects[i].load()});
  }
  return counts;
}

void InjectThreadCreateFailure() { FailNextThreadCreate(); }

bool SetHostile(bool enabled, uint64_t seed, const std::string& habits, int percent) {
  return hostile::Configure(enabled, seed, habits, percent);
}

std::string HostileStatus() { return hostile::Status().Dump(); }

int ReleaseHeldCallbacks() { return hostile::ReleaseHeld(); }

bool LoggerEnabled(int32_t level) { return logger::IsEnabled(static_cast<LogLevel>(level)); }

const char* CurrentSdkThreadName() { return CurrentThreadName(); }

void EmitLogs(const LogSpec& spec, int threads, int linesPerThread) {
  const bool tag = threads * linesPerThread > 1;
  std::vector<std::thread> writers;
  for (int t = 0; t < threads; ++t) {
    writers.emplace_back([&spec, t, linesPerThread, tag] {
      NameCurrentThread("ombrix-log-" + std::to_string(t));
      LogContext context{static_cast<LogLevel>(spec.level),
                         spec.hasModule ? spec.module.c_str() : nullptr,
                         spec.hasFile ? spec.file.c_str() : nullptr, spec.line,
                         spec.hasFunction ? spec.function.c_str() : nullptr};
      for (int i = 0; i < linesPerThread; ++i) {
        std::string message = spec.message;
        if (tag) message += " [" + std::to_string(t) + ":" + std::to_string(i) + "]";
        logger::LogSafe(context, message.c_str());
      }
    });
  }
  for (auto& writer : writers) writer.join();
}

namespace {

struct Storm {
  std::mutex mutex;  // serialises start and stop
  std::atomic<bool> running{false};
  std::atomic<int64_t> lines{0};
  std::vector<std::thread> threads;
};

Storm& TheStorm() {
  static Storm* storm = new Storm;
  return *storm;
}

}  // namespace

void StartLogStorm(int threads) {
  Storm& storm = TheStorm();
  std::lock_guard<std::mutex> lock(storm.mutex);
  if (storm.running.exchange(true)) return;
  storm.lines = 0;
  for (int t = 0; t < threads; ++t) {
    storm.threads.emplace_back([&storm, t] {
      NameCurrentThread("ombrix-storm-" + std::to_string(t));
      int64_t n = 0;
      while (storm.running.load(std::memory_order_relaxed)) {
        if (!logger::IsEnabled(LogLevel::kInfo)) {
          std::this_thread::yield();
          continue;
        }
        std::string message = "storm " + std::to_string(t) + ":" + std::to_string(n++);
        logger::LogSafe(LogContext{LogLevel::kInfo, "storm", __FILE__, __LINE__, __func__},
                        message.c_str());
        storm.lines.fetch_add(1, std::memory_order_relaxed);
      }
    });
  }
}

int64_t StopLogStorm() {
  Storm& storm = TheStorm();
  std::lock_guard<std::mutex> lock(storm.mutex);
  storm.running = false;
  for (auto& thread : storm.threads) thread.join();
  storm.threads.clear();
  return storm.lines.load();
}

}  // namespace quelt::ombrix::emu
