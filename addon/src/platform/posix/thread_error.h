// The calling thread's last error (an errno value), kept as Windows keeps one
// per thread. errno itself is no use: the event loop overwrites it between
// two calls from JavaScript.
#pragma once

#include <cstdint>

namespace ombrix_addon {

void SetThreadError(uint32_t error);
uint32_t ThreadError();

}  // namespace ombrix_addon
