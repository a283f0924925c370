// Injected failures: the next call at a named site returns empty or throws.
#pragma once

#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu {

enum class Fault { kNone, kEmpty, kThrow };

// The sites the SDK checks, as a JSON array of names. The one list: arming
// an unlisted site is refused, and checking one is a bug in the SDK.
std::string FaultSitesJson();
// Sites are SDK operation names: "CreateOmbrixClient", "CreateRemoteFileTool"…
// False (nothing armed) for a site not in the list.
bool InjectFault(const std::string& site, Fault fault);
// The faults armed and not yet struck: [{ site, fault: "empty" | "throw" }].
Json ArmedFaults();
// Consumes and returns the fault queued for `site` (kNone when there is none).
Fault TakeFault(const std::string& site);
// Disarms every queued fault; returns how many there were.
int ClearInjectedFaults();

// Returns true when the caller should return empty; throws for kThrow, and
// with hostile mode's throw habit. A site missing from the list throws
// std::logic_error, so a new check cannot be made without listing it.
bool ApplyFault(const std::string& site);

}  // namespace quelt::ombrix::emu
