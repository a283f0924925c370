// Windows owned by the test process itself (some calls, such as
// SetWindowPlacement under Wine, work only on the caller's own windows):
//   createWindow(title, style, exStyle) -> hwnd (BigInt, 0n on failure)
//   destroyWindow(hwnd) -> boolean
#include <napi.h>

#include <memory>

#include "window_thread.h"

namespace {

ombrix_test::WindowThread& Windows() {
  static auto* windows = new ombrix_test::WindowThread;  // lives as long as the process
  return *windows;
}

Napi::Value CreateTestWindow(const Napi::CallbackInfo& info) {
  ombrix_test::WindowSpec spec;
  spec.title = ombrix_test::Widen(info[0].As<Napi::String>().Utf8Value());
  spec.style = info[1].As<Napi::Number>().Uint32Value();
  spec.exStyle = info[2].As<Napi::Number>().Uint32Value();
  return Napi::BigInt::New(info.Env(), static_cast<uint64_t>(
      reinterpret_cast<uintptr_t>(Windows().Create(spec))));
}

Napi::Value DestroyTestWindow(const Napi::CallbackInfo& info) {
  bool lossless = false;
  const uint64_t window = info[0].As<Napi::BigInt>().Uint64Value(&lossless);
  return Napi::Boolean::New(info.Env(),
      Windows().Destroy(reinterpret_cast<HWND>(static_cast<uintptr_t>(window))));
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("createWindow", Napi::Function::New(env, CreateTestWindow));
  exports.Set("destroyWindow", Napi::Function::New(env, DestroyTestWindow));
  return exports;
}

}  // namespace

NODE_API_MODULE(window_fixture, Init)
