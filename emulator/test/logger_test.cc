#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ombrix/logger.h"
#include "ombrix/sdk.h"
#include "ombrix_emu/control.h"

namespace quelt::ombrix {
namespace {

// Records lines; fails the test if called once it has been retired.
class RecordingLogger final : public ILogger {
 public:
  explicit RecordingLogger(LogLevel min = LogLevel::kTrace) : min_(min) {}
  void Log(const LogContext& context, const char* message) override {
    EXPECT_FALSE(retired.load()) << "logger called after it was replaced";
    lines.fetch_add(1);
    std::lock_guard<std::mutex> lock(mutex);
    last = std::string(context.module ? context.module : "<null>") + "|" + message;
  }
  bool IsEnabled(LogLevel level) override {
    EXPECT_FALSE(retired.load()) << "logger asked after it was replaced";
    return level >= min_;
  }
  std::atomic<bool> retired{false};
  std::atomic<int> lines{0};
  std::mutex mutex;
  std::string last;

 private:
  LogLevel min_;
};

TEST(LoggerTest, DeliversToTheInstalledLoggerOnly) {
  RecordingLogger logger(LogLevel::kInfo);
  EXPECT_FALSE(logger::IsEnabled(LogLevel::kFatal));  // nothing installed
  logger::SetLogger(&logger);
  EXPECT_TRUE(logger::IsEnabled(LogLevel::kWarning));
  EXPECT_FALSE(logger::IsEnabled(LogLevel::kDebug));

  emu::LogSpec spec;
  spec.level = 3;
  spec.hasModule = false;
  spec.message = "hello";
  emu::EmitLogs(spec, 1, 1);
  EXPECT_EQ(logger.lines.load(), 1);
  EXPECT_EQ(logger.last, "<null>|hello");

  // The SDK's own operations log through the same sink.
  InitializeSentry();
  EXPECT_NE(logger.last.find("sentry|crash reporting initialized"), std::string::npos);
  ShutdownSentry();

  logger::SetLogger(nullptr);
  const int seen = logger.lines.load();
  emu::EmitLogs(spec, 2, 10);
  EXPECT_EQ(logger.lines.load(), seen);
}

// Eight threads log without pause while the sink is swapped; once SetLogger
// returns, the replaced logger must never be called again.
TEST(LoggerTest, HandOffUnderConcurrentSetLogger) {
  emu::StartLogStorm(8);
  std::unique_ptr<RecordingLogger> current;
  int delivered = 0;
  // Keep swapping until the storm has demonstrably been running throughout.
  for (int swaps = 0; swaps < 500 || delivered < 20000; ++swaps) {
    auto next = std::make_unique<RecordingLogger>();
    logger::SetLogger(next.get());
    if (current) {
      current->retired = true;
      delivered += current->lines.load();
    }
    current = std::move(next);  // the old one is destroyed: ASan sees any late call
  }
  const int64_t written = emu::StopLogStorm();
  logger::SetLogger(nullptr);
  current->retired = true;
  delivered += current->lines.load();
  EXPECT_EQ(delivered, written);
}

}  // namespace
}  // namespace quelt::ombrix
