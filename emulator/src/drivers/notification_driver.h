// Drives the application's notification service as the SDK would: every
// operation called from SDK threads, with what each callback received reported
// through the DriveLog, and the events the application sends back recorded by
// the SDK's observer.
#pragma once

#include <cstdint>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::notification {

// Runs `op` against the newest live client's notification service. Returns
// { drive } for an asynchronous operation, { observer } for setObserver, or
// { error }.
Json Drive(const std::string& op, const Json& args, int listener);

// What an SDK observer has been told; null for an unknown id.
Json ObserverEvents(uint64_t observer);

}  // namespace quelt::ombrix::emu::notification
