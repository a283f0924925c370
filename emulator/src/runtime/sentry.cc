#include <atomic>

#include "ombrix/sdk.h"
#include "ombrix_emu/control.h"
#include "runtime/log.h"

namespace quelt::ombrix {

namespace {
std::atomic<int64_t> g_initialized{0};
std::atomic<int64_t> g_shutdown{0};
}  // namespace

// Crash reporting has nothing to report to here; the calls are counted so that
// tests can see each environment start and stop it.
void InitializeSentry() {
  int64_t n = g_initialized.fetch_add(1) + 1;
  EMU_LOG(LogLevel::kInfo, "sentry", "crash reporting initialized (%lld starts)",
          static_cast<long long>(n));
}

void ShutdownSentry() {
  int64_t n = g_shutdown.fetch_add(1) + 1;
  EMU_LOG(LogLevel::kInfo, "sentry", "crash reporting shut down (%lld stops)",
          static_cast<long long>(n));
}

namespace emu {
SentryCounts GetSentryCounts() { return SentryCounts{g_initialized.load(), g_shutdown.load()}; }
}  // namespace emu

}  // namespace quelt::ombrix
