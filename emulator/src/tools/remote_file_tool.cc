#include "tools/remote_file_tool.h"

#include <string>

#include "loopback/file_ops.h"
#include "support/text.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

void RemoteFileTool::ReadFile(const char* deviceId, const char* filePath, int32_t startLine,
                              int32_t endLine,
                              SharedPtr<CallbackItf<const FileReadResult&>> callback) {
  std::string path = Str(filePath);
  Perform(context_, "ReadFile",
          Json::MakeObject({{"deviceId", Str(deviceId)},
                            {"filePath", path},
                            {"startLine", startLine},
                            {"endLine", endLine}}),
          callback, [=](const loopback::CancelFlag&) {
            return loopback::ReadTextFile(path, startLine, endLine);
          });
}

void RemoteFileTool::WriteFile(const char* deviceId, const char* filePath, const char* content,
                               bool append, bool createDirs,
                               SharedPtr<CallbackItf<const FileWriteResult&>> callback) {
  std::string path = Str(filePath), text = Str(content);
  Perform(context_, "WriteFile",
          Json::MakeObject({{"deviceId", Str(deviceId)},
                            {"filePath", path},
                            {"content", text},
                            {"append", append},
                            {"createDirs", createDirs}}),
          callback, [=](const loopback::CancelFlag&) {
            return loopback::WriteTextFile(path, text, append, createDirs);
          });
}

void RemoteFileTool::ReplaceInFile(const char* deviceId, const char* path, const char* oldPattern,
                                   const char* newText,
                                   SharedPtr<CallbackItf<const FileReplaceResult&>> callback) {
  std::string file = Str(path), oldText = Str(oldPattern), replacement = Str(newText);
  Perform(context_, "ReplaceInFile",
          Json::MakeObject({{"deviceId", Str(deviceId)},
                            {"path", file},
                            {"oldPattern", oldText},
                            {"newText", replacement}}),
          callback, [=](const loopback::CancelFlag&) {
            return loopback::ReplaceInTextFile(file, oldText, replacement);
          });
}

SharedPtr<OperationHandleItf> RemoteFileTool::SearchInFile(
    const char* deviceId, const char* filePath, const char* pattern, bool caseSensitive,
    bool showLineNumbers, SharedPtr<CallbackItf<const FileSearchResult&>> callback) {
  std::string path = Str(filePath), text = Str(pattern);
  return Perform(
      context_, "SearchInFile",
      Json::MakeObject({{"deviceId", Str(deviceId)},
                        {"filePath", path},
                        {"pattern", text},
                        {"caseSensitive", caseSensitive},
                        {"showLineNumbers", showLineNumbers}}),
      callback,
      [=](const loopback::CancelFlag& cancel) {
        return loopback::SearchInTextFile(path, text, caseSensitive, showLineNumbers, cancel);
      },
      Work::kLong);
}

SharedPtr<OperationHandleItf> RemoteFileTool::FindFilesByName(
    const char* deviceId, const char* directory, const char* pattern, int32_t maxResults,
    SharedPtr<CallbackItf<const FileFindResult&>> callback) {
  std::string dir = Str(directory), glob = Str(pattern);
  return Perform(
      context_, "FindFilesByName",
      Json::MakeObject({{"deviceId", Str(deviceId)},
                        {"directory", dir},
                        {"pattern", glob},
                        {"maxResults", maxResults}}),
      callback,
      [=](const loopback::CancelFlag& cancel) {
        return loopback::FindByName(dir, glob, maxResults, cancel);
      },
      Work::kLong);
}

SharedPtr<OperationHandleItf> RemoteFileTool::ListDirectory(
    const char* deviceId, const char* path, bool showHidden,
    SharedPtr<CallbackItf<const DirListResult&>> callback) {
  std::string dir = Str(path);
  return Perform(
      context_, "ListDirectory",
      Json::MakeObject({{"deviceId", Str(deviceId)}, {"path", dir}, {"showHidden", showHidden}}),
      callback,
      [=](const loopback::CancelFlag& cancel) {
        return loopback::ListDir(dir, showHidden, cancel);
      },
      Work::kLong);
}

}  // namespace quelt::ombrix::emu
