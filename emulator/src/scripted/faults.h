// Injected failures: the next call at a named site returns empty or throws.
#pragma once

#include <string>

namespace quelt::ombrix::emu {

enum class Fault { kNone, kEmpty, kThrow };

// Sites are SDK operation names: "CreateOmbrixClient", "CreateRemoteFileTool"…
void InjectFault(const std::string& site, Fault fault);
// Consumes and returns the fault queued for `site` (kNone when there is none).
Fault TakeFault(const std::string& site);

// Returns true when the caller should return empty; throws for kThrow, and
// with hostile mode's throw habit.
bool ApplyFault(const std::string& site);

}  // namespace quelt::ombrix::emu
