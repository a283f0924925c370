#include <windows.h>
// After windows.h, which it needs.
#include <aclapi.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "loopback/fs.h"
#include "loopback/win32.h"
#include "loopback/win_handle.h"

namespace quelt::ombrix::emu::loopback::fs {

namespace {

// POSIX lets anyone rename or delete a file another process has open; so do we.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr size_t kMaxIo = 1u << 30;  // ReadFile and WriteFile take a DWORD
// 100 ns ticks between 1601-01-01 and the Unix epoch.
constexpr int64_t kUnixEpochTicks = 116444736000000000;
// Attributes a rewritten file keeps; read-only files are refused beforehand.
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                  FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

HANDLE ToHandle(intptr_t fd) noexcept { return reinterpret_cast<HANDLE>(fd); }
intptr_t FromHandle(HANDLE handle) noexcept { return reinterpret_cast<intptr_t>(handle); }

bool IsSeparator(char c) noexcept { return c == '\\' || c == '/'; }

bool IsDotOrDotDot(const wchar_t* name) noexcept {
  return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

int64_t Milliseconds(const FILETIME& time) noexcept {
  const int64_t ticks =
      static_cast<int64_t>((static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
  return (ticks - kUnixEpochTicks) / 10000;
}

// Symbolic links and junctions alike: both stand for another path, which a
// walk must not enter. Other reparse points (cloud placeholders, deduplicated
// files) are ordinary files and directories to their readers.
bool IsLink(const WIN32_FIND_DATAW& data) noexcept {
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(data.dwReserved0);
}

EntryKind KindOf(const WIN32_FIND_DATAW& data) noexcept {
  if (IsLink(data)) return EntryKind::kSymlink;
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return EntryKind::kDirectory;
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) return EntryKind::kOther;
  return EntryKind::kFile;
}

// Win32 refuses to open a directory as a file with "access denied"; POSIX
// says what is wrong.
std::error_code OpenError(const std::wstring& path) noexcept {
  const DWORD error = GetLastError();
  if (error == ERROR_ACCESS_DENIED) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
      return std::make_error_code(std::errc::is_a_directory);
    }
  }
  return win32::ErrorFrom(error);
}

// Fails the way opendir() would on something that is not a directory.
bool CheckDirectory(const std::string& path, std::error_code& ec) {
  const DWORD attributes = GetFileAttributesW(win32::WidePath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    ec = win32::LastError();
    return false;
  }
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    ec = std::make_error_code(std::errc::not_a_directory);
    return false;
  }
  return true;
}

// Calls `visit(data)` for the entries of directory `path` but "." and "..",
// until it returns false. Returns 0 or the Win32 error.
template <typename Visit>
DWORD ForEachEntry(const std::string& path, Visit&& visit) {
  std::string pattern = path;
  if (!pattern.empty() && !IsSeparator(pattern.back()) && pattern.back() != ':') pattern += '\\';
  pattern += '*';
  WIN32_FIND_DATAW data;
  const HANDLE find = FindFirstFileExW(win32::WidePath(pattern).c_str(), FindExInfoBasic, &data,
                                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (find == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND ? 0 : error;  // an empty drive root has no "."
  }
  DWORD error = 0;
  do {
    if (IsDotOrDotDot(data.cFileName)) continue;
    if (!visit(data)) break;
  } while (FindNextFileW(find, &data) || (error = GetLastError()) != ERROR_NO_MORE_FILES);
  FindClose(find);
  return error == ERROR_NO_MORE_FILES ? 0 : error;
}

class Walker {
 public:
  using Visit = std::function<void(const std::string&, std::string_view)>;
  Walker(const CancelFlag& cancel, const Visit& visit) : cancel_(cancel), visit_(visit) {}

  // Depth first without recursion: a level is read whole, then its entries
  // are visited in order, descending into each directory as it comes, so
  // that only one search handle is open at a time.
  bool Walk(const std::string& root, std::error_code& ec) {
    std::vector<Level> levels(1);
    if (const DWORD error = Read(root, levels.back())) {
      if (!cancelled) ec = win32::ErrorFrom(error);
      return false;
    }
    // "C:\" and "\" list as "C:" and "" followed by "\name".
    path_ = root;
    while (!path_.empty() && IsSeparator(path_.back())) path_.pop_back();
    levels.back().pathLength = path_.size();
    while (!levels.empty()) {
      if (cancel_.IsSet()) cancelled = true;
      if (cancelled) return false;
      Level& level = levels.back();
      if (level.next == level.entries.size()) {
        levels.pop_back();
        continue;
      }
      const auto& [name, isDirectory] = level.entries[level.next++];
      path_.resize(level.pathLength);
      visit_(path_, name);
      if (!isDirectory) continue;
      path_ += kSeparator;
      path_ += name;
      Level below;
      below.pathLength = path_.size();
      if (Read(path_, below) != 0) {
        if (cancelled) return false;
        ++unreadable;
        continue;
      }
      levels.push_back(std::move(below));
    }
    return true;
  }

  int64_t unreadable = 0;
  bool cancelled = false;

 private:
  struct Level {
    std::vector<std::pair<std::string, bool>> entries;  // name, is a directory to enter
    size_t next = 0;
    size_t pathLength = 0;  // of the level's display path in path_
  };

  DWORD Read(const std::string& directory, Level& level) {
    const DWORD error = ForEachEntry(directory, [&](const WIN32_FIND_DATAW& data) {
      if (cancel_.IsSet()) {
        cancelled = true;
        return false;
      }
      const bool isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !IsLink(data);
      level.entries.emplace_back(win32::Narrow(data.cFileName), isDirectory);
      return true;
    });
    return cancelled ? ERROR_OPERATION_ABORTED : error;
  }

  const CancelFlag& cancel_;
  const Visit& visit_;
  std::string path_;
};

// Gives the temporary file the replaced file's access rights. Best effort, as
// POSIX's change of owner is: a file system without ACLs has nothing to copy.
void CopyAccessRights(HANDLE from, HANDLE to) noexcept {
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(from, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl,
                      nullptr, &descriptor) != ERROR_SUCCESS) {
    return;
  }
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  GetSecurityDescriptorControl(descriptor, &control, &revision);
  // Unprotected, the inherited entries are taken afresh from the directory,
  // which is the same one.
  const SECURITY_INFORMATION which =
      DACL_SECURITY_INFORMATION |
      ((control & SE_DACL_PROTECTED) ? PROTECTED_DACL_SECURITY_INFORMATION
                                     : UNPROTECTED_DACL_SECURITY_INFORMATION);
  SetSecurityInfo(to, SE_FILE_OBJECT, which, nullptr, nullptr, dacl, nullptr);
  LocalFree(descriptor);
}

// The extended path of the file `handle` has open, with links resolved, or
// failing that (Wine cannot, past MAX_PATH) the one it was opened as.
std::wstring FinalPath(HANDLE handle, const std::wstring& opened) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetFinalPathNameByHandleW(handle, path.data(), static_cast<DWORD>(path.size()),
                                  FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length == 0) return win32::ExtendedPath(opened);
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(length);
  }
}

}  // namespace

File::File(File&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    if (IsOpen()) CloseHandle(ToHandle(fd_));
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

File::~File() {
  if (IsOpen()) CloseHandle(ToHandle(fd_));
}

int64_t File::Read(char* buffer, size_t size, std::error_code& ec) noexcept {
  DWORD count = 0;
  if (ReadFile(ToHandle(fd_), buffer, static_cast<DWORD>(std::min(size, kMaxIo)), &count,
               nullptr)) {
    return count;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF) return 0;  // the writer is gone
  ec = win32::ErrorFrom(error);
  return -1;
}

bool File::WriteAll(std::string_view data, std::error_code& ec) noexcept {
  while (!data.empty()) {
    DWORD count = 0;
    if (!WriteFile(ToHandle(fd_), data.data(), static_cast<DWORD>(std::min(data.size(), kMaxIo)),
                   &count, nullptr)) {
      ec = win32::LastError();
      return false;
    }
    data.remove_prefix(count);
  }
  return true;
}

int64_t File::Size() const noexcept {
  LARGE_INTEGER size;
  return GetFileType(ToHandle(fd_)) == FILE_TYPE_DISK && GetFileSizeEx(ToHandle(fd_), &size)
             ? static_cast<int64_t>(size.QuadPart)
             : -1;
}

bool File::Close(std::error_code& ec) noexcept {
  const intptr_t fd = std::exchange(fd_, -1);
  if (fd != -1 && !CloseHandle(ToHandle(fd))) {
    ec = win32::LastError();
    return false;
  }
  return true;
}

File OpenForReading(const std::string& path, std::error_code& ec) noexcept {
  try {
    // Backup semantics opens a directory too, so that it can be told apart
    // from a file that may not be read.
    File file(FromHandle(
        CreateFileW(win32::WidePath(path).c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN, nullptr)));
    if (!file.IsOpen()) {
      ec = win32::LastError();
      return File();
    }
    BY_HANDLE_FILE_INFORMATION info;
    if (GetFileType(ToHandle(file.fd_)) == FILE_TYPE_DISK &&
        GetFileInformationByHandle(ToHandle(file.fd_), &info) &&
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
      ec = std::make_error_code(std::errc::is_a_directory);
      return File();
    }
    return file;
  } catch (const std::bad_alloc&) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return File();
  }
}

File OpenForWriting(const std::string& path, bool append, std::error_code& ec) noexcept {
  try {
    const std::wstring wide = win32::WidePath(path);
    // Append-only access makes every write land at the end, as O_APPEND does.
    const DWORD access = append ? FILE_APPEND_DATA | SYNCHRONIZE : GENERIC_WRITE;
    // Not CREATE_ALWAYS, which refuses hidden files: truncate once open.
    File file(FromHandle(CreateFileW(wide.c_str(), access, kShareAll, nullptr, OPEN_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr)));
    if (!file.IsOpen()) {
      ec = OpenError(wide);
      return File();
    }
    if (!append && !SetEndOfFile(ToHandle(file.fd_))) {
      ec = win32::LastError();
      return File();
    }
    return file;
  } catch (const std::bad_alloc&) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return File();
  }
}

bool MakePrivateDirectory(const std::string& path, std::error_code& ec) noexcept {
  try {
    const std::wstring wide = win32::WidePath(path);
    if (!CreateDirectoryW(wide.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
      ec = win32::LastError();
      return false;
    }
    // The user's temporary directory is private already: only a link
    // (junction, symbolic link) could lead elsewhere.
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY) ||
        (attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
      ec = std::make_error_code(std::errc::permission_denied);
      return false;
    }
    return true;
  } catch (const std::bad_alloc&) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return false;
  }
}

std::string UserPrivateDirectory(std::error_code& ec) {
  wchar_t buffer[MAX_PATH + 1];
  const DWORD length = GetTempPathW(MAX_PATH + 1, buffer);
  if (length == 0 || length > MAX_PATH) {
    ec = win32::LastError();
    return std::string();
  }
  return win32::Narrow(std::wstring_view(buffer, length));
}

File CreateExclusive(const std::string& path, std::error_code& ec) noexcept {
  try {
    const std::wstring wide = win32::WidePath(path);
    // CREATE_NEW fails on any existing name, a link or junction included.
    File file(FromHandle(CreateFileW(wide.c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr)));
    if (!file.IsOpen()) ec = OpenError(wide);
    return file;
  } catch (const std::bad_alloc&) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return File();
  }
}

bool ReplaceContents(const std::string& path, std::string_view contents, std::string& failedPath,
                     std::error_code& ec) noexcept {
  static std::atomic<uint32_t> counter{0};
  try {
    failedPath = path;
    const std::wstring wide = win32::WidePath(path);
    win32::UniqueHandle original(CreateFileW(wide.c_str(), READ_CONTROL | FILE_READ_ATTRIBUTES,
                                             kShareAll, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION info;
    if (!original || !GetFileInformationByHandle(original.get(), &info)) {
      ec = win32::LastError();
      return false;
    }
    if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      ec = std::make_error_code(std::errc::is_a_directory);
      return false;
    }
    // The rename would replace a read-only file; writing to it must fail.
    if (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) {
      ec = std::make_error_code(std::errc::permission_denied);
      return false;
    }
    const std::wstring target = FinalPath(original.get(), wide);
    const size_t slash = target.rfind(L'\\');  // an extended path is absolute
    if (slash == std::wstring::npos) {
      ec = std::make_error_code(std::errc::no_such_file_or_directory);
      return false;
    }
    const std::wstring directory = target.substr(0, slash);
    const std::wstring stem = directory + L"\\." + target.substr(slash + 1) + L"." +
                              std::to_wstring(GetCurrentProcessId()) + L"-";
    std::wstring temporary;
    File file;
    for (int attempt = 0; attempt < 100 && !file.IsOpen(); ++attempt) {
      temporary = stem + std::to_wstring(++counter);
      file = File(FromHandle(CreateFileW(temporary.c_str(), GENERIC_WRITE | WRITE_DAC | DELETE, 0,
                                         nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)));
      if (!file.IsOpen() && GetLastError() != ERROR_FILE_EXISTS) break;
    }
    if (!file.IsOpen()) {
      ec = win32::LastError();
      failedPath = win32::DisplayPath(directory);
      return false;
    }
    CopyAccessRights(original.get(), ToHandle(file.fd_));
    original.Reset();  // nothing may hold the file while it is replaced
    bool written = file.WriteAll(contents, ec) && FlushFileBuffers(ToHandle(file.fd_));
    if (written && !(ec = {}, file.Close(ec))) written = false;
    if (written) {
      SetFileAttributesW(temporary.c_str(), (info.dwFileAttributes & kKeptAttributes)
                                                ? info.dwFileAttributes & kKeptAttributes
                                                : FILE_ATTRIBUTE_NORMAL);
      written = MoveFileExW(temporary.c_str(), target.c_str(),
                            MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    }
    if (!written) {
      if (!ec) ec = win32::LastError();
      file = File();
      DeleteFileW(temporary.c_str());
    }
    return written;
  } catch (const std::bad_alloc&) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return false;
  }
}

bool ListEntries(const std::string& path, bool includeHidden, const CancelFlag& cancel,
                 const std::function<void(std::string_view, const EntryInfo&)>& visit,
                 std::error_code& ec) {
  if (!CheckDirectory(path, ec)) return false;
  bool cancelled = false;
  const DWORD error = ForEachEntry(path, [&](const WIN32_FIND_DATAW& data) {
    if (cancel.IsSet()) {
      cancelled = true;
      return false;
    }
    if (!includeHidden && data.cFileName[0] == L'.') return true;
    EntryInfo info;
    info.kind = KindOf(data);
    if (info.kind == EntryKind::kFile) {
      info.size = static_cast<int64_t>((static_cast<uint64_t>(data.nFileSizeHigh) << 32) |
                                       data.nFileSizeLow);
    }
    info.modifiedMs = Milliseconds(data.ftLastWriteTime);
    visit(win32::Narrow(data.cFileName), info);
    return true;
  });
  if (cancelled) {
    ec = std::make_error_code(std::errc::operation_canceled);
    return false;
  }
  if (error != 0) {
    ec = win32::ErrorFrom(error);
    return false;
  }
  return true;
}

bool WalkTree(const std::string& root, const CancelFlag& cancel,
              const std::function<void(const std::string&, std::string_view)>& visit,
              int64_t& unreadable, std::error_code& ec) {
  if (!CheckDirectory(root, ec)) return false;
  Walker walker(cancel, visit);
  const bool walked = walker.Walk(root, ec);
  unreadable = walker.unreadable;
  if (walker.cancelled) {
    ec = std::make_error_code(std::errc::operation_canceled);
    return false;
  }
  return walked;
}

}  // namespace quelt::ombrix::emu::loopback::fs
