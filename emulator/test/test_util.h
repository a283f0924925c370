// Helpers shared by the native suites.
#pragma once

#include <cstring>
#include <string>

#include "ombrix_emu/control.h"

namespace quelt::ombrix::test {

inline int64_t LiveCount(const char* label) {
  for (const emu::LiveCount& count : emu::GetLiveObjects()) {
    if (std::strcmp(count.label, label) == 0) return count.live;
  }
  return -1;
}

}  // namespace quelt::ombrix::test
