// Remote file access by device id.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ombrix/callback.h"
#include "ombrix/enums.h"

namespace quelt::ombrix {

struct FileReadResult {
  bool success = false;
  std::string content;
  std::string errorMessage;
  int32_t dataStartLine = 0;
  int32_t dataEndLine = 0;
  int32_t originalLineCount = 0;
  bool isTruncated = false;
  int64_t durationMs = 0;
};

struct FileWriteResult {
  bool success = false;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

struct FileReplaceResult {
  bool success = false;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

struct FileSearchResult {
  bool success = false;
  std::string matches;  // all matching lines as one text
  int32_t matchCount = 0;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

struct FileFindResult {
  bool success = false;
  std::vector<std::string> filePaths;
  int32_t totalFound = 0;
  bool truncated = false;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

struct DirEntry {
  std::string name;
  FileEntryType type = FileEntryType::kUnspecified;
  int64_t size = 0;
  int64_t modifiedTime = 0;
};

struct DirListResult {
  bool success = false;
  std::vector<DirEntry> entries;
  int32_t directoryCount = 0;
  int32_t fileCount = 0;
  int64_t totalSize = 0;
  std::string message;
  std::string errorMessage;
  int64_t durationMs = 0;
};

class RemoteFileToolItf {
 public:
  virtual ~RemoteFileToolItf() = default;
  // Line numbers are 1-based; -1 leaves that end of the range open.
  virtual void ReadFile(const char* deviceId, const char* filePath, int32_t startLine,
                        int32_t endLine,
                        SharedPtr<CallbackItf<const FileReadResult&>> callback) = 0;
  virtual void WriteFile(const char* deviceId, const char* filePath, const char* content,
                         bool append, bool createDirs,
                         SharedPtr<CallbackItf<const FileWriteResult&>> callback) = 0;
  virtual void ReplaceInFile(const char* deviceId, const char* path, const char* oldPattern,
                             const char* newText,
                             SharedPtr<CallbackItf<const FileReplaceResult&>> callback) = 0;
  virtual SharedPtr<OperationHandleItf> SearchInFile(
      const char* deviceId, const char* filePath, const char* pattern, bool caseSensitive,
      bool showLineNumbers, SharedPtr<CallbackItf<const FileSearchResult&>> callback) = 0;
  virtual SharedPtr<OperationHandleItf> FindFilesByName(
      const char* deviceId, const char* directory, const char* pattern, int32_t maxResults,
      SharedPtr<CallbackItf<const FileFindResult&>> callback) = 0;
  virtual SharedPtr<OperationHandleItf> ListDirectory(
      const char* deviceId, const char* path, bool showHidden,
      SharedPtr<CallbackItf<const DirListResult&>> callback) = 0;
};

}  // namespace quelt::ombrix
