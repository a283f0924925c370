// Module entry: SDK crash reporting tied to the environment, the classes, the
// exported functions and the enumeration objects.
#pragma once

#include <napi.h>

namespace ombrix_addon {

Napi::Object Init(Napi::Env env, Napi::Object exports);

}  // namespace ombrix_addon
