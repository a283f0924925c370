// Win32 helpers shared by the Windows loopback primitives: the SDK speaks
// UTF-8 and POSIX error codes, Win32 speaks UTF-16 and its own error numbers.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace quelt::ombrix::emu::loopback::win32 {

// UTF-8 to UTF-16 and back; invalid sequences become U+FFFD.
std::wstring Widen(std::string_view text);
std::string Narrow(std::wstring_view text);

// A path for the Win32 file calls. Paths too long for MAX_PATH are made
// extended (below).
std::wstring WidePath(const std::string& path);

// `path` made absolute and given the "\\?\" prefix, which lifts the MAX_PATH
// limit (and turns off the rewriting of "/" and "..", done here first).
std::wstring ExtendedPath(const std::wstring& path);

// A path as the user would write it: without the "\\?\" prefix that
// GetFinalPathNameByHandleW adds.
std::string DisplayPath(std::wstring_view path);

// A Win32 error in the generic category where a POSIX errno means the same,
// so that messages and transfer codes match the POSIX build; the system
// category otherwise.
std::error_code ErrorFrom(unsigned long error) noexcept;
std::error_code LastError() noexcept;

}  // namespace quelt::ombrix::emu::loopback::win32
