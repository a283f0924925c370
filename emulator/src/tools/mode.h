// Whether an SDK object does real work on this machine or waits for a script.
#pragma once

namespace quelt {
namespace ombrix {
namespace emu {

enum class Mode { kLoopback, kScripted };

// The mode given to clients created from now on (and to their tools).
Mode DefaultMode();
void SetDefaultMode(Mode mode);
const char* ModeName(Mode mode);

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
