// Drives the workspace manager of the second agent runtime as the SDK would:
// the newest live client's manager (or one the SDK was told to hold on to),
// called from SDK threads, with what each callback received reported through
// the DriveLog.
#pragma once

#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::workspace {

// Returns { drive } for setWorkspace, { manager } for hold, or { error }.
Json Drive(const std::string& op, const Json& args, int listener);

}  // namespace quelt::ombrix::emu::workspace
