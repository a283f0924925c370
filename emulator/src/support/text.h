// Small text helpers shared by the SDK objects.
#pragma once

#include <string>

namespace quelt::ombrix::emu {

// The SDK treats a null C string as empty.
inline std::string Str(const char* text) { return text ? text : ""; }

}  // namespace quelt::ombrix::emu
