// UTF-8 <-> UTF-16 for the wide-character Windows interfaces (code page 65001,
// no flags: invalid sequences are replaced, not rejected).
#pragma once

#include <string>

namespace ombrix_addon {

// False when the text cannot be converted; an empty text converts to "".
bool Utf8ToUtf16(const std::string& text, std::wstring& converted);

std::string Utf16ToUtf8(const wchar_t* text, size_t length);

}  // namespace ombrix_addon
