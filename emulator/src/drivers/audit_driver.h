// Drives the application's audit sessions as the SDK would: the audit session
// manager of the newest live client and every session it hands out, called
// from SDK threads, with what each callback received reported through the
// DriveLog, and the recording events recorded by the SDK's observers.
#pragma once

#include <cstdint>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::audit {

// Runs `op` against the manager, or against the held session `args.session`.
// Returns { drive } for an asynchronous operation, the result itself for a
// synchronous one, or { error }.
Json Drive(const std::string& op, const Json& args, int listener);

// What an SDK observer has been told; null for an unknown id.
Json ObserverEvents(uint64_t observer);

}  // namespace quelt::ombrix::emu::audit
