#include "loopback/file_ops.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

#include "loopback/common.h"
#include "loopback/fs.h"

namespace quelt::ombrix::emu::loopback {

namespace {

// Big enough to amortise each read, small enough to stay in cache for the
// folding and scanning passes over it.
constexpr size_t kBlockSize = 256 * 1024;
constexpr size_t kQuotedTextLimit = 80;

std::string Quoted(std::string_view text) {
  if (text.size() <= kQuotedTextLimit) return '"' + std::string(text) + '"';
  return '"' + std::string(text.substr(0, Utf8SafeLength(text.data(), kQuotedTextLimit))) + "...\"";
}

bool ReadAll(fs::File& file, std::string& out, std::error_code& ec) {
  const int64_t size = file.Size();
  // One spare byte lets a file of the expected size end without regrowing.
  std::string data(size > 0 ? static_cast<size_t>(size) + 1 : kBlockSize, '\0');
  size_t used = 0;
  for (;;) {
    if (used == data.size()) data.resize(data.size() * 2);
    const int64_t count = file.Read(&data[used], data.size() - used, ec);
    if (count < 0) return false;
    if (count == 0) break;
    used += static_cast<size_t>(count);
  }
  data.resize(used);
  out = std::move(data);
  return true;
}

// ASCII-only case folding, written so that the compiler vectorises it.
inline void FoldAscii(const char* in, char* out, size_t size) noexcept {
  for (size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(in[i]);
    out[i] = static_cast<char>(byte | (static_cast<unsigned char>(byte - 'A') < 26 ? 0x20 : 0));
  }
}

inline const char* FindBytes(const char* haystack, size_t size,
                             const std::string& needle) noexcept {
#if defined(__GLIBC__) || defined(__APPLE__) || defined(__FreeBSD__)
  return static_cast<const char*>(memmem(haystack, size, needle.data(), needle.size()));
#else
  const std::string_view view(haystack, size);
  const size_t at = view.find(needle);
  return at == std::string_view::npos ? nullptr : haystack + at;
#endif
}

inline const char* FindLastNewline(const char* begin, size_t size) noexcept {
#if defined(__GLIBC__)
  return static_cast<const char*>(memrchr(begin, '\n', size));
#else
  for (const char* at = begin + size; at != begin;) {
    if (*--at == '\n') return at;
  }
  return nullptr;
#endif
}

inline int64_t CountNewlines(const char* begin, const char* end) noexcept {
  int64_t total = 0;
#if defined(__SSE2__) && defined(__x86_64__)
  // Byte-wide counters, summed before any of them can wrap: several times
  // faster than the compiler's version, which widens every byte to 64 bits.
  const __m128i newline = _mm_set1_epi8('\n');
  while (end - begin >= 16) {
    const auto blocks = std::min<ptrdiff_t>((end - begin) / 16, 255);
    __m128i counts = _mm_setzero_si128();
    for (ptrdiff_t i = 0; i < blocks; ++i, begin += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin));
      counts = _mm_sub_epi8(counts, _mm_cmpeq_epi8(bytes, newline));
    }
    const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
    total += _mm_cvtsi128_si64(sums) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums));
  }
#endif
  return total + std::count(begin, end, '\n');
}

// One code point of UTF-8; a byte that does not start a valid sequence stands
// for itself, mapped above the Unicode range so that it only equals itself.
uint32_t NextChar(const char*& at, const char* end) noexcept {
  const auto lead = static_cast<unsigned char>(*at);
  const size_t length = lead < 0x80   ? 1
                        : lead < 0xC2 ? 0
                        : lead < 0xE0 ? 2
                        : lead < 0xF0 ? 3
                        : lead < 0xF5 ? 4
                                      : 0;
  if (length == 1 || length == 0 || static_cast<size_t>(end - at) < length) {
    ++at;
    return length == 1 ? lead : 0x110000 + lead;
  }
  uint32_t code = lead & (0xFF >> (length + 1));
  for (size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(at[i]);
    if ((next & 0xC0) != 0x80) {
      ++at;
      return 0x110000 + lead;
    }
    code = (code << 6) | (next & 0x3F);
  }
  at += length;
  return code;
}

// Matches the bracket expression starting at `p` ('[') against `c`. Returns
// false when the expression is unterminated, so '[' is then a literal.
bool MatchBracket(const char*& p, const char* end, uint32_t c, bool& matched) noexcept {
  const char* at = p + 1;
  const bool negate = at < end && (*at == '!' || *at == '^');
  if (negate) ++at;
  bool found = false;
  bool first = true;
  while (at < end && (*at != ']' || first)) {
    first = false;
    if (*at == '\\' && at + 1 < end) ++at;
    const uint32_t low = NextChar(at, end);
    uint32_t high = low;
    if (at + 1 < end && *at == '-' && at[1] != ']') {
      ++at;
      if (*at == '\\' && at + 1 < end) ++at;
      high = NextChar(at, end);
    }
    if (low <= c && c <= high) found = true;
  }
  if (at >= end) return false;
  p = at + 1;
  matched = found != negate;
  return true;
}

constexpr char kFindMetaCharacters[] = "*?[\\";

// An argument an operation cannot do without, and its failure when empty.
struct Required {
  std::string_view value;
  const char* whenEmpty;
};

// Timed, failing before any work with the message of the first required
// argument that is empty.
template <typename Result, typename Body>
Result Operation(std::initializer_list<Required> required, Body&& body) noexcept {
  return Timed<Result>([&] {
    for (const Required& argument : required) {
      if (argument.value.empty()) {
        Result failed;
        failed.errorMessage = argument.whenEmpty;
        return failed;
      }
    }
    return body();
  });
}

constexpr char kPathEmpty[] = "Path is empty";
constexpr char kOldTextEmpty[] = "Text to replace is empty";
constexpr char kSearchPatternEmpty[] = "Search pattern is empty";
constexpr char kNamePatternEmpty[] = "Name pattern is empty";

}  // namespace

bool GlobMatch(std::string_view pattern, std::string_view name) noexcept {
  const char* p = pattern.data();
  const char* const pEnd = p + pattern.size();
  const char* n = name.data();
  const char* const nEnd = n + name.size();
  const char* starP = nullptr;  // pattern just after the last '*'
  const char* starN = nullptr;  // where that '*' stopped absorbing the name
  while (n < nEnd) {
    if (p < pEnd) {
      if (*p == '*') {
        while (p < pEnd && *p == '*') ++p;
        if (p == pEnd) return true;
        starP = p;
        starN = n;
        continue;
      }
      const char* nextN = n;
      const uint32_t c = NextChar(nextN, nEnd);
      const char* nextP = p;
      bool matched = false;
      if (*p == '?') {
        matched = true;
        ++nextP;
      } else if (*p != '[' || !MatchBracket(nextP, pEnd, c, matched)) {
        if (*nextP == '\\' && nextP + 1 < pEnd) ++nextP;
        matched = NextChar(nextP, pEnd) == c;
      }
      if (matched) {
        p = nextP;
        n = nextN;
        continue;
      }
    }
    if (starP == nullptr) return false;
    NextChar(starN, nEnd);  // the '*' takes one more character
    p = starP;
    n = starN;
  }
  while (p < pEnd && *p == '*') ++p;
  return p == pEnd;
}

FileReadResult ReadTextFile(const std::string& path, int32_t startLine, int32_t endLine) noexcept {
  return Operation<FileReadResult>({{path, kPathEmpty}}, [&] {
    FileReadResult result;
    std::error_code ec;
    fs::File file = fs::OpenForReading(path, ec);
    if (!file.IsOpen()) {
      result.errorMessage = PathError(ec, path);
      return result;
    }
    const int64_t first = startLine > 0 ? startLine : 1;
    const int64_t last = endLine > 0 ? endLine : INT64_MAX;
    std::unique_ptr<char[]> buffer(new char[kBlockSize]);
    std::string& content = result.content;
    int64_t line = 1;       // the line the next byte belongs to
    bool lineOpen = false;  // some of `line` has been seen, not its '\n'
    bool collecting = first <= last;
    int64_t returnedLast = 0;  // last line wholly in `content`
    size_t lineStart = 0;      // where `line` starts in `content`
    bool cutInsideLine = false;
    for (;;) {
      const int64_t count = file.Read(buffer.get(), kBlockSize, ec);
      if (count < 0) {
        result = FileReadResult{};
        result.errorMessage = PathError(ec, path);
        return result;
      }
      if (count == 0) break;
      const char* p = buffer.get();
      const char* const end = p + count;
      while (p < end) {
        if (collecting && (line > last || (!lineOpen && line - first >= kMaxReadLines))) {
          collecting = false;
        }
        if (!collecting) {
          line += CountNewlines(p, end);
          lineOpen = end[-1] != '\n';
          break;
        }
        if (line < first) {
          const int64_t newlines = CountNewlines(p, end);
          if (newlines < first - line) {
            line += newlines;
            lineOpen = end[-1] != '\n';
            break;
          }
          while (line < first) {
            p = static_cast<const char*>(std::memchr(p, '\n', end - p)) + 1;
            ++line;
          }
          lineOpen = false;
          continue;
        }
        const auto* newline = static_cast<const char*>(std::memchr(p, '\n', end - p));
        const char* segmentEnd = newline != nullptr ? newline + 1 : end;
        if (!lineOpen) lineStart = content.size();
        const size_t room = kMaxReadBytes - content.size();
        const auto size = static_cast<size_t>(segmentEnd - p);
        if (size > room) {
          collecting = false;
          if (lineStart == 0) {  // a single line over the budget: return its start
            content.append(p, room);
            content.resize(Utf8SafeLength(content.data(), content.size()));
            returnedLast = line;
            cutInsideLine = true;
          } else {
            content.resize(lineStart);
          }
          continue;
        }
        content.append(p, size);
        if (newline != nullptr) returnedLast = line;
        lineOpen = newline == nullptr;
        if (newline != nullptr) ++line;
        p = segmentEnd;
      }
    }
    const int64_t total = line - 1 + (lineOpen ? 1 : 0);
    if (collecting && lineOpen && line >= first && line <= last) returnedLast = line;
    const int64_t wantedLast = std::min(last, total);
    result.success = true;
    result.originalLineCount = ClampToInt32(total);
    if (returnedLast >= first) {
      result.dataStartLine = ClampToInt32(first);
      result.dataEndLine = ClampToInt32(returnedLast);
    }
    result.isTruncated = cutInsideLine || (first <= wantedLast && returnedLast < wantedLast);
    return result;
  });
}

FileWriteResult WriteTextFile(const std::string& path, const std::string& content, bool append,
                              bool createDirs) noexcept {
  return Operation<FileWriteResult>({{path, kPathEmpty}}, [&] {
    FileWriteResult result;
    std::error_code ec;
    if (createDirs) {
      // Paths are UTF-8, which only u8path() reads as such everywhere.
      const std::filesystem::path parent = std::filesystem::u8path(path).parent_path();
      if (!parent.empty() && !std::filesystem::is_directory(parent, ec)) {
        std::filesystem::create_directories(parent, ec);
        if (ec) {
          result.errorMessage = PathError(ec, parent.u8string());
          return result;
        }
      }
    }
    fs::File file = fs::OpenForWriting(path, append, ec);
    if (!file.IsOpen() || !file.WriteAll(content, ec) || !file.Close(ec)) {
      result.errorMessage = PathError(ec, path);
      return result;
    }
    result.success = true;
    result.message =
        (append ? "Appended " : "Wrote ") + Plural(content.size(), "byte", "bytes") + " to " + path;
    return result;
  });
}

FileReplaceResult ReplaceInTextFile(const std::string& path, const std::string& oldText,
                                    const std::string& newText) noexcept {
  return Operation<FileReplaceResult>({{path, kPathEmpty}, {oldText, kOldTextEmpty}}, [&] {
    FileReplaceResult result;
    std::error_code ec;
    std::string original;
    fs::File file = fs::OpenForReading(path, ec);
    if (!file.IsOpen() || !ReadAll(file, original, ec)) {
      result.errorMessage = PathError(ec, path);
      return result;
    }
    file = fs::File();
    std::string replaced;
    int64_t occurrences = 0;
    size_t from = 0;
    for (;;) {
      const char* hit = FindBytes(original.data() + from, original.size() - from, oldText);
      if (hit == nullptr) break;
      const auto at = static_cast<size_t>(hit - original.data());
      if (occurrences++ == 0) replaced.reserve(original.size());
      replaced.append(original, from, at - from).append(newText);
      from = at + oldText.size();
    }
    if (occurrences == 0) {
      result.errorMessage = "Text not found in " + path + ": " + Quoted(oldText);
      return result;
    }
    replaced.append(original, from, std::string::npos);
    original = std::string();
    std::string failedPath;
    if (!fs::ReplaceContents(path, replaced, failedPath, ec)) {
      result.errorMessage = PathError(ec, failedPath);
      return result;
    }
    result.success = true;
    result.message = "Replaced " + Plural(occurrences, "occurrence", "occurrences") + " of " +
                     Quoted(oldText) + " in " + path;
    return result;
  });
}

namespace {

// Scans whole lines of a file for a literal, block by block.
class LineSearcher {
 public:
  LineSearcher(const std::string& pattern, bool caseSensitive, bool showLineNumbers)
      : fold_(!caseSensitive &&
              std::any_of(pattern.begin(), pattern.end(),
                          [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; })),
        showLineNumbers_(showLineNumbers),
        needle_(pattern) {
    if (fold_) FoldAscii(pattern.data(), needle_.data(), pattern.size());
  }

  // Scans data[0, size), whole lines only; the last may lack its '\n' only at
  // the end of the file.
  void Scan(const char* data, size_t size) {
    const char* hay = data;
    if (fold_) {
      if (folded_.size() < size) folded_.resize(std::max(size, kBlockSize));
      FoldAscii(data, folded_.data(), size);
      hay = folded_.data();
    }
    const char* counted = data;  // line numbers are known up to here
    size_t at = 0;               // always at the start of a line
    while (at < size) {
      const char* hit = FindBytes(hay + at, size - at, needle_);
      if (hit == nullptr) break;
      const auto offset = static_cast<size_t>(hit - hay);
      const char* lineBegin = data + at;
      if (const char* before = FindLastNewline(data + at, offset - at)) lineBegin = before + 1;
      const auto* newline =
          static_cast<const char*>(std::memchr(data + offset, '\n', size - offset));
      const char* lineEnd = newline != nullptr ? newline : data + size;
      ++matchCount;
      if (kept < kMaxSearchLines) {
        if (showLineNumbers_) {
          lineNumber_ += CountNewlines(counted, lineBegin);
          counted = lineBegin;
          matches.append(std::to_string(lineNumber_)).push_back(':');
        }
        const char* textEnd = lineEnd > lineBegin && lineEnd[-1] == '\r' ? lineEnd - 1 : lineEnd;
        matches.append(lineBegin, textEnd).push_back('\n');
        ++kept;
      }
      at = static_cast<size_t>(lineEnd - data) + 1;
    }
    if (showLineNumbers_ && kept < kMaxSearchLines)
      lineNumber_ += CountNewlines(counted, data + size);
  }

  std::string matches;
  int64_t matchCount = 0;
  int32_t kept = 0;

 private:
  const bool fold_;
  const bool showLineNumbers_;
  std::string needle_;
  std::vector<char> folded_;
  int64_t lineNumber_ = 1;  // of the line starting where the last scan ended
};

}  // namespace

FileSearchResult SearchInTextFile(const std::string& path, const std::string& pattern,
                                  bool caseSensitive, bool showLineNumbers,
                                  const CancelFlag& cancel) noexcept {
  return Operation<FileSearchResult>({{path, kPathEmpty}, {pattern, kSearchPatternEmpty}}, [&] {
    FileSearchResult result;
    if (pattern.find('\n') != std::string::npos) {
      result.errorMessage = "Search pattern must not contain a line break";
      return result;
    }
    std::error_code ec;
    fs::File file = fs::OpenForReading(path, ec);
    if (!file.IsOpen()) {
      result.errorMessage = PathError(ec, path);
      return result;
    }
    LineSearcher searcher(pattern, caseSensitive, showLineNumbers);
    std::vector<char> buffer(kBlockSize);
    size_t used = 0;  // bytes in `buffer`, starting at the start of a line
    for (;;) {
      if (cancel.IsSet()) {
        result.errorMessage = kCancelled;
        result.matchCount = ClampToInt32(searcher.matchCount);
        result.matches = std::move(searcher.matches);
        return result;
      }
      if (used == buffer.size()) buffer.resize(buffer.size() * 2);  // a line longer than a block
      // Reads stay block-sized even in a grown buffer, to keep cancellation prompt.
      const int64_t count =
          file.Read(buffer.data() + used, std::min(buffer.size() - used, kBlockSize), ec);
      if (count < 0) {
        result.errorMessage = PathError(ec, path);
        return result;
      }
      if (count == 0) {
        searcher.Scan(buffer.data(), used);
        break;
      }
      const size_t filled = used + static_cast<size_t>(count);
      const char* lastNewline = FindLastNewline(buffer.data() + used, static_cast<size_t>(count));
      if (lastNewline == nullptr) {
        used = filled;
        continue;
      }
      const auto whole = static_cast<size_t>(lastNewline - buffer.data()) + 1;
      searcher.Scan(buffer.data(), whole);
      used = filled - whole;
      std::memmove(buffer.data(), buffer.data() + whole, used);
    }
    result.success = true;
    result.matchCount = ClampToInt32(searcher.matchCount);
    result.matches = std::move(searcher.matches);
    if (searcher.matchCount == 0) {
      result.message = "No matches";
    } else {
      result.message = Plural(searcher.matchCount, "matching line", "matching lines");
      if (searcher.matchCount > searcher.kept) {
        result.message += " (first " + std::to_string(searcher.kept) + " shown)";
      }
    }
    return result;
  });
}

FileFindResult FindByName(const std::string& directory, const std::string& pattern,
                          int32_t maxResults, const CancelFlag& cancel) noexcept {
  return Operation<FileFindResult>({{directory, kPathEmpty}, {pattern, kNamePatternEmpty}}, [&] {
    FileFindResult result;
    const bool literal = pattern.find_first_of(kFindMetaCharacters) == std::string::npos;
    const size_t limit = maxResults < 0 ? SIZE_MAX : static_cast<size_t>(maxResults);
    int64_t total = 0;
    int64_t unreadable = 0;
    std::error_code ec;
    const bool walked = fs::WalkTree(
        directory, cancel,
        [&](const std::string& dirPath, std::string_view name) {
          if (literal ? name != pattern : !GlobMatch(pattern, name)) return;
          ++total;
          if (result.filePaths.size() < limit) {
            std::string& found = result.filePaths.emplace_back();
            found.reserve(dirPath.size() + 1 + name.size());
            found.append(dirPath).append(1, fs::kSeparator).append(name);
          }
        },
        unreadable, ec);
    result.totalFound = ClampToInt32(total);
    result.truncated = static_cast<size_t>(total) > result.filePaths.size();
    if (!walked) {
      result.errorMessage =
          ec == std::errc::operation_canceled ? kCancelled : PathError(ec, directory);
      return result;
    }
    result.success = true;
    result.message = "Found " + Plural(total, "match", "matches");
    if (result.truncated) result.message += ", returned " + std::to_string(result.filePaths.size());
    if (unreadable > 0) {
      result.message +=
          "; skipped " + Plural(unreadable, "unreadable directory", "unreadable directories");
    }
    return result;
  });
}

namespace {

// Sorts in runs and merges pairwise so that a huge listing still notices
// cancellation between steps.
bool SortByName(std::vector<DirEntry>& entries, const CancelFlag& cancel) {
  constexpr size_t kRun = 4096;
  const auto byName = [](const DirEntry& a, const DirEntry& b) { return a.name < b.name; };
  const size_t size = entries.size();
  const auto at = [&](size_t index) {
    return entries.begin() + static_cast<ptrdiff_t>(std::min(index, size));
  };
  for (size_t begin = 0; begin < size; begin += kRun) {
    std::sort(at(begin), at(begin + kRun), byName);
    if (cancel.IsSet()) return false;
  }
  for (size_t width = kRun; width < size; width *= 2) {
    for (size_t begin = 0; begin + width < size; begin += 2 * width) {
      std::inplace_merge(at(begin), at(begin + width), at(begin + 2 * width), byName);
      if (cancel.IsSet()) return false;
    }
  }
  return true;
}

FileEntryType ToEntryType(fs::EntryKind kind) noexcept {
  switch (kind) {
    case fs::EntryKind::kFile:
      return FileEntryType::kFile;
    case fs::EntryKind::kDirectory:
      return FileEntryType::kDirectory;
    case fs::EntryKind::kSymlink:
      return FileEntryType::kSymlink;
    case fs::EntryKind::kOther:
      return FileEntryType::kOther;
    case fs::EntryKind::kUnknown:
      break;
  }
  return FileEntryType::kUnspecified;
}

}  // namespace

DirListResult ListDir(const std::string& path, bool showHidden, const CancelFlag& cancel) noexcept {
  return Operation<DirListResult>({{path, kPathEmpty}}, [&] {
    DirListResult result;
    std::error_code ec;
    bool listed = fs::ListEntries(
        path, showHidden, cancel,
        [&](std::string_view name, const fs::EntryInfo& info) {
          DirEntry& entry = result.entries.emplace_back();
          entry.name = name;
          entry.type = ToEntryType(info.kind);
          entry.size = info.size;
          entry.modifiedTime = info.modifiedMs;
          if (info.kind == fs::EntryKind::kDirectory) ++result.directoryCount;
          if (info.kind == fs::EntryKind::kFile) {
            ++result.fileCount;
            result.totalSize += info.size;
          }
        },
        ec);
    if (listed && !SortByName(result.entries, cancel)) {
      listed = false;
      ec = std::make_error_code(std::errc::operation_canceled);
    }
    if (!listed) {
      result.errorMessage = ec == std::errc::operation_canceled ? kCancelled : PathError(ec, path);
      return result;
    }
    result.success = true;
    result.message = Plural(result.directoryCount, "directory", "directories") + ", " +
                     Plural(result.fileCount, "file", "files");
    return result;
  });
}

}  // namespace quelt::ombrix::emu::loopback
