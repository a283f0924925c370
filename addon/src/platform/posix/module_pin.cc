#include "module_pin.h"

#include <dlfcn.h>

namespace ombrix_addon {

void PinThisModule() {
  Dl_info self{};
  if (dladdr(reinterpret_cast<void*>(&PinThisModule), &self) == 0 || !self.dli_fname) return;
  // RTLD_NOLOAD finds the copy already loaded; RTLD_NODELETE marks it never
  // to be unmapped. The reference this takes is deliberately never dropped.
  dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace ombrix_addon
