#include "tools/mode.h"

#include <atomic>

namespace quelt {
namespace ombrix {
namespace emu {

namespace {
std::atomic<Mode> g_defaultMode{Mode::kLoopback};
}

Mode DefaultMode() { return g_defaultMode.load(); }
void SetDefaultMode(Mode mode) { g_defaultMode.store(mode); }
const char* ModeName(Mode mode) { return mode == Mode::kScripted ? "scripted" : "loopback"; }

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
