// Windows owned by the test process itself (some calls, such as
// SetWindowPlacement under Wine, work only on the caller's own windows):
//   createWindow(title, style, exStyle) -> hwnd (BigInt, 0n on failure)
//   destroyWindow(hwnd) -> boolean
//   failWindowPlacement(modulePath, fail) -> boolean: makes the loaded module's
//     own GetWindowPlacement fail (or work again); false if it cannot
#include <napi.h>

#include <cstring>
#include <memory>
#include <string>

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
  return Napi::BigInt::New(
      info.Env(), static_cast<uint64_t>(reinterpret_cast<uintptr_t>(Windows().Create(spec))));
}

Napi::Value DestroyTestWindow(const Napi::CallbackInfo& info) {
  bool lossless = false;
  const uint64_t window = info[0].As<Napi::BigInt>().Uint64Value(&lossless);
  return Napi::Boolean::New(
      info.Env(), Windows().Destroy(reinterpret_cast<HWND>(static_cast<uintptr_t>(window))));
}

using PlacementCall = BOOL(WINAPI*)(HWND, WINDOWPLACEMENT*);

// Wine answers GetWindowPlacement for every live window, so the failure is
// made in the module's import slot; only that module is affected.
BOOL WINAPI FailingPlacement(HWND, WINDOWPLACEMENT*) {
  SetLastError(ERROR_ACCESS_DENIED);
  return FALSE;
}

PlacementCall* ImportSlot(HMODULE module, const char* library, const char* function) {
  auto* base = reinterpret_cast<BYTE*>(module);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return nullptr;
  for (auto* entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
       entry->Name != 0; ++entry) {
    // Without the lookup table the names are already overwritten by addresses.
    if (_stricmp(reinterpret_cast<const char*>(base + entry->Name), library) != 0 ||
        entry->OriginalFirstThunk == 0) {
      continue;
    }
    auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* byName =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0) {
        return reinterpret_cast<PlacementCall*>(&slot->u1.Function);
      }
    }
  }
  return nullptr;
}

Napi::Value FailWindowPlacement(const Napi::CallbackInfo& info) {
  const std::wstring path = ombrix_test::Widen(info[0].As<Napi::String>().Utf8Value());
  const bool fail = info[1].As<Napi::Boolean>().Value();
  const HMODULE module = GetModuleHandleW(path.c_str());
  PlacementCall* slot = module ? ImportSlot(module, "user32.dll", "GetWindowPlacement") : nullptr;
  DWORD protection = 0;
  if (!slot || !VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) {
    return Napi::Boolean::New(info.Env(), false);
  }
  *slot = fail ? FailingPlacement : GetWindowPlacement;
  VirtualProtect(slot, sizeof *slot, protection, &protection);
  return Napi::Boolean::New(info.Env(), true);
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("createWindow", Napi::Function::New(env, CreateTestWindow));
  exports.Set("destroyWindow", Napi::Function::New(env, DestroyTestWindow));
  exports.Set("failWindowPlacement", Napi::Function::New(env, FailWindowPlacement));
  return exports;
}

}  // namespace

NODE_API_MODULE(window_fixture, Init)
