// Node-API is imported from "node.exe" and delay-loaded. When the loader is
// about to look for that module, this hook hands it the process's own
// executable instead, which exports Node-API under any file name.
// Also compiled into the control addon, which has no include path into the module.
#include "win_api.h"

#include <delayimp.h>

namespace {

FARPROC WINAPI ResolveHostModule(unsigned notification, PDelayLoadInfo info) {
  if (notification != dliNotePreLoadLibrary || lstrcmpiA(info->szDll, "node.exe") != 0) {
    return nullptr;
  }
  return reinterpret_cast<FARPROC>(GetModuleHandleW(nullptr));
}

}  // namespace

// decltype: newer Windows SDKs declare the hook const, MinGW-w64 does not.
decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = ResolveHostModule;
