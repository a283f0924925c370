#include "window_system.h"

namespace ombrix_addon {

WindowSystem::~WindowSystem() = default;

}  // namespace ombrix_addon
