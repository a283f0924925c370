// An External that owns its data. The data is freed by the External's
// finalizer, or when the External cannot be made (napi_create_external fails
// in an environment that is shutting down, and node-addon-api then leaves the
// data to its caller), or when its environment ends: a finalizer still queued
// then may never run, and a worker ended mid-call kept the SDK objects its
// Externals held.
#pragma once

#include <cstdint>
#include <memory>

#include <napi.h>

namespace ombrix_addon {

namespace owned_external {
class Data {
 public:
  virtual ~Data() = default;
};
template <class T>
class Holder final : public Data {
 public:
  explicit Holder(std::unique_ptr<T> value) : value_(std::move(value)) {}

 private:
  std::unique_ptr<T> value_;
};
// JavaScript thread: keeps `data` until Free(id) or the end of `env`.
uint64_t Adopt(napi_env env, std::unique_ptr<Data> data);
// Any thread; nothing if its environment has freed it already.
void Free(uint64_t id);
}  // namespace owned_external

template <class T>
Napi::External<T> OwnedExternal(Napi::Env env, std::unique_ptr<T> data) {
  T* value = data.get();
  const uint64_t id =
      owned_external::Adopt(env, std::make_unique<owned_external::Holder<T>>(std::move(data)));
  try {
    return Napi::External<T>::New(env, value, [id](Napi::Env, T*) { owned_external::Free(id); });
  } catch (...) {
    owned_external::Free(id);
    throw;
  }
}

}  // namespace ombrix_addon
