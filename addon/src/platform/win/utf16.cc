#include "platform/win/utf16.h"

#include <climits>

#include "platform/win/win_api.h"

namespace ombrix_addon {

bool Utf8ToUtf16(const std::string& text, std::wstring& converted) {
  converted.clear();
  if (text.empty()) return true;
  if (text.size() > INT_MAX) return false;
  const int sourceLength = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), sourceLength, nullptr, 0);
  if (length <= 0) return false;
  converted.resize(static_cast<size_t>(length));
  return MultiByteToWideChar(CP_UTF8, 0, text.data(), sourceLength, converted.data(), length) ==
         length;
}

std::string Utf16ToUtf8(const wchar_t* text, size_t length) {
  if (length == 0 || length > INT_MAX) return std::string();
  const int sourceLength = static_cast<int>(length);
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text, sourceLength, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return std::string();
  std::string converted(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, sourceLength, converted.data(), size, nullptr, nullptr);
  return converted;
}

}  // namespace ombrix_addon
