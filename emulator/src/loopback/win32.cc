#include "loopback/win32.h"

#include <windows.h>

#include <cerrno>

namespace quelt::ombrix::emu::loopback::win32 {

namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongUncPrefix = L"\\\\?\\UNC\\";
// Directories must leave room for an 8.3 name below them.
constexpr size_t kShortPathLimit = MAX_PATH - 12;

}  // namespace

std::wstring Widen(std::string_view text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
  return wide;
}

std::string Narrow(std::wstring_view text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), length, nullptr, nullptr);
  return narrow;
}

std::wstring WidePath(const std::string& path) {
  std::wstring wide = Widen(path);
  return wide.size() < kShortPathLimit ? wide : ExtendedPath(wide);
}

std::wstring ExtendedPath(const std::wstring& path) {
  if (path.compare(0, kLongPrefix.size(), kLongPrefix) == 0) return path;
  const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return path;
  std::wstring full(needed, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
  if (length == 0 || length >= needed) return path;
  full.resize(length);
  if (full.compare(0, 2, L"\\\\") == 0) return std::wstring(kLongUncPrefix) + full.substr(2);
  return std::wstring(kLongPrefix) + full;
}

std::string DisplayPath(std::wstring_view path) {
  if (path.compare(0, kLongUncPrefix.size(), kLongUncPrefix) == 0) {
    return "\\\\" + Narrow(path.substr(kLongUncPrefix.size()));
  }
  if (path.compare(0, kLongPrefix.size(), kLongPrefix) == 0) {
    return Narrow(path.substr(kLongPrefix.size()));
  }
  return Narrow(path);
}

std::error_code ErrorFrom(unsigned long error) noexcept {
  int code = 0;
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      code = ENOENT;
      break;
    // A file another process holds open without sharing reads the way the
    // C runtime words it.
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_CANNOT_MAKE:
      code = EACCES;
      break;
    case ERROR_PRIVILEGE_NOT_HELD:
      code = EPERM;
      break;
    case ERROR_WRITE_PROTECT:
      code = EROFS;
      break;
    case ERROR_DIRECTORY:
      code = ENOTDIR;
      break;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      code = ENOSPC;
      break;
    case ERROR_FILE_TOO_LARGE:
      code = EFBIG;
      break;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      code = EEXIST;
      break;
    case ERROR_DIR_NOT_EMPTY:
      code = ENOTEMPTY;
      break;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      code = ENOMEM;
      break;
    case ERROR_TOO_MANY_OPEN_FILES:
      code = EMFILE;
      break;
    case ERROR_FILENAME_EXCED_RANGE:
      code = ENAMETOOLONG;
      break;
    case ERROR_NOT_SAME_DEVICE:
      code = EXDEV;
      break;
    case ERROR_CANT_RESOLVE_FILENAME:
      code = ELOOP;
      break;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
      code = EPIPE;
      break;
    case ERROR_OPERATION_ABORTED:
      code = ECANCELED;
      break;
    case ERROR_INVALID_PARAMETER:
      code = EINVAL;
      break;
    case ERROR_NOT_SUPPORTED:
    case ERROR_INVALID_FUNCTION:
      code = ENOTSUP;
      break;
    default:
      return {static_cast<int>(error), std::system_category()};
  }
  return {code, std::generic_category()};
}

std::error_code LastError() noexcept { return ErrorFrom(GetLastError()); }

}  // namespace quelt::ombrix::emu::loopback::win32
