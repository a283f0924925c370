#include "module_pin.h"

#include "win_api.h"

namespace ombrix_addon {

void PinThisModule() {
  HMODULE self = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<LPCWSTR>(&PinThisModule), &self);
}

}  // namespace ombrix_addon
