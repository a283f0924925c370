// The substitute SDK's control surface: what tests, examples and benchmarks use
// to observe and steer the SDK. Never part of the shipped module.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ombrix/export.h"

namespace quelt {
namespace ombrix {
namespace emu {

struct SentryCounts {
  int64_t initialized = 0;
  int64_t shutdown = 0;
};
OMBRIX_API SentryCounts GetSentryCounts();

struct LiveCount {
  const char* label;
  int64_t live;
};
// Objects currently owned through SharedPtr, per contract type.
OMBRIX_API std::vector<LiveCount> GetLiveObjects();

// The next ThreadItf::Create returns empty (calls accumulate).
OMBRIX_API void InjectThreadCreateFailure();

// The SDK name of the calling thread ("" when the SDK did not start it).
OMBRIX_API const char* CurrentSdkThreadName();

// A log line as the SDK would write it. Null strings stay null; the level may
// be any number, valid or not.
struct LogSpec {
  int32_t level = 2;
  bool hasModule = true, hasFile = true, hasFunction = true;
  std::string module, file, function, message;
  int32_t line = 0;
};
// Writes `linesPerThread` lines from each of `threads` new SDK threads and
// returns when all are written. With more than one line in all, each message
// gets the suffix " [thread:index]" so a reader can tell every line apart.
OMBRIX_API void EmitLogs(const LogSpec& spec, int threads, int linesPerThread);

// SDK threads that log INFO lines without pause until StopLogStorm, which
// returns how many lines were written.
OMBRIX_API void StartLogStorm(int threads);
OMBRIX_API int64_t StopLogStorm();

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
