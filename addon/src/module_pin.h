// Keeps this module loaded until the process ends. The SDK's threads may call
// back into the module after the last environment that loaded it is gone
// (a worker terminated with calls in flight), so unloading it with the
// environment would leave them jumping into unmapped code.
#pragma once

namespace ombrix_addon {

// Idempotent; called by every environment's module initialisation.
void PinThisModule();

}  // namespace ombrix_addon
