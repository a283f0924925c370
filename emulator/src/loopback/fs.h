// The platform primitives behind the loopback file operations, kept apart so
// that the operations themselves stay portable: fs_posix.cc implements them
// for POSIX systems, fs_win.cc for Windows. Paths are UTF-8 on both; errors
// are in the generic category wherever a POSIX errno says the same thing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

#include "loopback/cancel.h"

namespace quelt::ombrix::emu::loopback::fs {

// An open file, closed on destruction. Never inherited by child processes:
// RunShell may be spawning on another thread at any moment.
class File {
 public:
  File() = default;
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  bool IsOpen() const noexcept { return fd_ != -1; }
  // Bytes read, 0 at the end, -1 on error.
  int64_t Read(char* buffer, size_t size, std::error_code& ec) noexcept;
  bool WriteAll(std::string_view data, std::error_code& ec) noexcept;
  // Size in bytes, or -1 when unknown.
  int64_t Size() const noexcept;
  // Reports a failed final flush, which a destructor would swallow.
  bool Close(std::error_code& ec) noexcept;

 private:
  friend File OpenForReading(const std::string&, std::error_code&) noexcept;
  friend File OpenForWriting(const std::string&, bool, std::error_code&) noexcept;
  friend File CreateExclusive(const std::string&, std::error_code&) noexcept;
  friend bool ReplaceContents(const std::string&, std::string_view, std::string&,
                              std::error_code&) noexcept;
#if defined(_WIN32)
  using Native = intptr_t;  // a HANDLE; INVALID_HANDLE_VALUE is -1
#else
  using Native = int;  // a file descriptor
#endif
  explicit File(Native fd) noexcept : fd_(fd) {}
  Native fd_ = -1;
};

// A directory fails with "Is a directory".
File OpenForReading(const std::string& path, std::error_code& ec) noexcept;
// Creates the file if needed; truncates it unless `append`.
File OpenForWriting(const std::string& path, bool append, std::error_code& ec) noexcept;
// A folder only this user can enter, for what the SDK keeps between calls:
// $XDG_RUNTIME_DIR, else <temporary directory>/ombrix-<uid> made private
// (POSIX); the user's own temporary directory (Windows).
std::string UserPrivateDirectory(std::error_code& ec);
// Creates `path` for this user alone (mode 0700 on POSIX), or accepts it when
// it is already that; a link, or a folder someone else owns or can enter, is
// refused (std::errc::permission_denied): its owner could read or swap what
// is kept there.
bool MakePrivateDirectory(const std::string& path, std::error_code& ec) noexcept;
// Creates a new file, failing (std::errc::file_exists) when anything, a
// link included, already has the name: nothing planted there is written
// through.
File CreateExclusive(const std::string& path, std::error_code& ec) noexcept;

// Atomically gives `path` (or the file a symlink there points to) the new
// contents, keeping its permissions. On failure `failedPath` is the path the
// error is about (the file, or its directory when no temporary file could be
// made there).
bool ReplaceContents(const std::string& path, std::string_view contents, std::string& failedPath,
                     std::error_code& ec) noexcept;

enum class EntryKind { kUnknown, kFile, kDirectory, kSymlink, kOther };

struct EntryInfo {
  EntryKind kind = EntryKind::kUnknown;
  int64_t size = 0;
  int64_t modifiedMs = 0;
};

// Calls `visit` for each entry of `path` except "." and "..", in directory
// order, with lstat data. Dot entries are skipped unless `includeHidden`; on
// Windows too, where entries with the hidden attribute are listed like any
// other (a caller asking for no dot entries still sees every file it can
// open). Windows reports symbolic links and junctions as kSymlink.
// Fails with ec set, or with std::errc::operation_canceled.
bool ListEntries(const std::string& path, bool includeHidden, const CancelFlag& cancel,
                 const std::function<void(std::string_view name, const EntryInfo&)>& visit,
                 std::error_code& ec);

// The separator display paths are built with.
#if defined(_WIN32)
inline constexpr char kSeparator = '\\';
#else
inline constexpr char kSeparator = '/';
#endif

// Walks the tree below `root` in pre-order without following symlinks (or,
// on Windows, junctions) below it. `visit(dirPath, name)` gets the display
// path of the parent ("<root>/<relative dir>", root without trailing
// separators, kSeparator between parts). Subdirectories that cannot be opened
// are skipped and counted in `unreadable`. Fails (ec set) only when `root` cannot be walked or on
// cancellation (std::errc::operation_canceled).
bool WalkTree(const std::string& root, const CancelFlag& cancel,
              const std::function<void(const std::string& dirPath, std::string_view name)>& visit,
              int64_t& unreadable, std::error_code& ec);

}  // namespace quelt::ombrix::emu::loopback::fs
