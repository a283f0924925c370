// Free functions of the SDK that are not tied to a client.
#pragma once

#include "ombrix/export.h"

namespace quelt::ombrix {

struct VersionInfo {
  const char* version;
  const char* commitHash;
  const char* buildTimestamp;
};

// Points to static data.
OMBRIX_API const VersionInfo* GetSDKVersion();

OMBRIX_API void InitializeSentry();
OMBRIX_API void ShutdownSentry();

}  // namespace quelt::ombrix
