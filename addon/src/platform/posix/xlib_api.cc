#include "platform/posix/xlib_api.h"

#include <dlfcn.h>

namespace ombrix_addon::xlib {

namespace {

const Api* Resolve() {
  // Never closed: threads may be inside it until the process ends.
  void* library = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
  if (!library) return nullptr;
  static Api api;
#define OMBRIX_XLIB_RESOLVE(result, name, parameters)                       \
  api.name = reinterpret_cast<result(*) parameters>(dlsym(library, #name)); \
  if (!api.name) return nullptr;
  OMBRIX_XLIB_FUNCTIONS(OMBRIX_XLIB_RESOLVE)
#undef OMBRIX_XLIB_RESOLVE
  return &api;
}

}  // namespace

const Api* Load() {
  static const Api* const api = Resolve();
  return api;
}

}  // namespace ombrix_addon::xlib
