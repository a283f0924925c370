// Tiered foreground activation: "direct", then "alt" (after an Alt tap, which
// lifts the foreground lock), then "attach" (sharing the input queues of the
// foreground and target threads). Blocks; runs on a worker thread.
#pragma once

#include "platform/win/win_api.h"
#include "window_system.h"

namespace ombrix_addon {

WindowSystem::Activation ActivateTiered(HWND window);

}  // namespace ombrix_addon
