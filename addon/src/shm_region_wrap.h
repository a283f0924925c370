// "ShmRegion": a named shared-memory section of another local process, read and
// written within bounds, optionally guarded by its named mutex.
#pragma once

#include <napi.h>

#include "shm_region_core.h"
#include "tagged_wrap.h"

namespace ombrix_addon {

class ShmRegion : public TaggedWrap<ShmRegion> {
 public:
  static constexpr const char* kClassName = "ShmRegion";

  // Defines the class and exports it under its name.
  static void Init(Napi::Env env, Napi::Object exports);

  explicit ShmRegion(const Napi::CallbackInfo& info);

 private:
  Napi::Value Open(const Napi::CallbackInfo& info);
  Napi::Value Close(const Napi::CallbackInfo& info);
  Napi::Value IsOpen(const Napi::CallbackInfo& info);
  Napi::Value Lock(const Napi::CallbackInfo& info);
  Napi::Value Unlock(const Napi::CallbackInfo& info);
  Napi::Value ReadBytes(const Napi::CallbackInfo& info);
  Napi::Value WriteU32(const Napi::CallbackInfo& info);

  ShmRegionCore core_;
  // Set by a successful lock only: the mutex itself is recursive for the
  // owning thread, this flag is what makes one region non-recursive.
  bool locked_ = false;
};

}  // namespace ombrix_addon
