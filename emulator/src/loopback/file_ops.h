// Remote file operations in loopback mode: the "remote device" is this
// machine, so each call does the real work on the local file system.
//
// Every function is synchronous, safe to call from many threads at once and
// never throws. A failure is a result with `success` false and an
// `errorMessage` naming the path the way the device reports it ("No such file
// or directory: <path>", "Permission denied: <path>", "Is a directory:
// <path>", "Not a directory: <path>"). `durationMs` is always filled.
// Cancellable calls return promptly after CancelFlag::Set() with `success`
// false, `errorMessage` "Cancelled" and the counts gathered so far.
//
// ReadTextFile: lines are 1-based and end at '\n' (a final line without one
// still counts; "\r\n" is kept as is). startLine <= 0 means line 1, endLine <= 0
// the last line; the range is clamped to the file and an empty range succeeds
// with empty content and data lines 0..0. One read returns at most 2000 lines
// or 256 KiB, cut at a line boundary (`isTruncated`, `dataEndLine` = last line
// returned); only a first line longer than 256 KiB is cut inside the line.
//
// WriteTextFile: truncates or appends; `createDirs` creates missing parents,
// otherwise a missing parent fails.
//
// ReplaceInTextFile: `oldText` is literal; every non-overlapping occurrence,
// left to right, is replaced. The new contents go to a temporary file in the
// same directory that takes the original's permissions and is renamed over
// it, so readers see the old or the new file, never a mix. A symlink is
// resolved and its target rewritten. Hard links to the old file keep the old
// contents.
//
// SearchInTextFile: `pattern` is literal text (never a regular expression),
// matched within single lines; case folding covers ASCII letters only.
// `matches` holds each matching line once, in file order, ending in "\n" (a
// "\r\n" terminator becomes "\n"), prefixed "<line>:" with showLineNumbers.
// At most 1000 lines are kept; `matchCount` counts them all. An empty pattern,
// or one containing a newline, is refused.
//
// FindByName: `pattern` is a shell glob (`*`, `?`, `[a-z]`, `[!x]`/`[^x]`,
// backslash escapes) matched against whole entry names, UTF-8 aware; `*`
// matches a leading dot. The walk is recursive and pre-order, does not follow
// symlinks below `directory` (a symlinked `directory` itself is followed), and
// reports matching files and directories alike as "<directory>/<relative
// path>" ('\\' on Windows); `directory` itself is not a candidate.
// Unreadable subdirectories are skipped and counted in `message`.
// maxResults < 0 is unlimited, 0 returns no paths; `totalFound` counts every
// match.
//
// ListDir: entries sorted by name in byte order, without "." and "..", dot
// entries only with showHidden. Types come from lstat (symlinks are not
// followed); `size` is the lstat size for files and symlinks, 0 otherwise;
// `modifiedTime` is in milliseconds since the Unix epoch. Counts cover regular
// files and directories; `totalSize` sums regular file sizes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "loopback/cancel.h"
#include "ombrix/remote_file.h"

namespace quelt::ombrix::emu::loopback {

inline constexpr int32_t kMaxReadLines = 2000;
inline constexpr size_t kMaxReadBytes = 256 * 1024;
inline constexpr int32_t kMaxSearchLines = 1000;

FileReadResult ReadTextFile(const std::string& path, int32_t startLine, int32_t endLine) noexcept;

FileWriteResult WriteTextFile(const std::string& path, const std::string& content, bool append,
                              bool createDirs) noexcept;

FileReplaceResult ReplaceInTextFile(const std::string& path, const std::string& oldText,
                                    const std::string& newText) noexcept;

FileSearchResult SearchInTextFile(const std::string& path, const std::string& pattern,
                                  bool caseSensitive, bool showLineNumbers,
                                  const CancelFlag& cancel) noexcept;

FileFindResult FindByName(const std::string& directory, const std::string& pattern,
                          int32_t maxResults, const CancelFlag& cancel) noexcept;

DirListResult ListDir(const std::string& path, bool showHidden, const CancelFlag& cancel) noexcept;

// Shell-glob match of a whole name, as FindByName applies it.
bool GlobMatch(std::string_view pattern, std::string_view name) noexcept;

}  // namespace quelt::ombrix::emu::loopback
