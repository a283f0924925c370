// The SDK's remote file tool; in loopback mode the remote device is this machine.
#pragma once

#include "ombrix/remote_file.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class RemoteFileTool final : public RemoteFileToolItf {
 public:
  explicit RemoteFileTool(ToolContext context)
      : context_(std::move(context)),
        registration_(static_cast<RemoteFileToolItf*>(this), context_) {}

  void ReadFile(const char* deviceId, const char* filePath, int32_t startLine, int32_t endLine,
                SharedPtr<CallbackItf<const FileReadResult&>> callback) override;
  void WriteFile(const char* deviceId, const char* filePath, const char* content, bool append,
                 bool createDirs, SharedPtr<CallbackItf<const FileWriteResult&>> callback) override;
  void ReplaceInFile(const char* deviceId, const char* path, const char* oldPattern,
                     const char* newText,
                     SharedPtr<CallbackItf<const FileReplaceResult&>> callback) override;
  SharedPtr<OperationHandleItf> SearchInFile(
      const char* deviceId, const char* filePath, const char* pattern, bool caseSensitive,
      bool showLineNumbers, SharedPtr<CallbackItf<const FileSearchResult&>> callback) override;
  SharedPtr<OperationHandleItf> FindFilesByName(
      const char* deviceId, const char* directory, const char* pattern, int32_t maxResults,
      SharedPtr<CallbackItf<const FileFindResult&>> callback) override;
  SharedPtr<OperationHandleItf> ListDirectory(
      const char* deviceId, const char* path, bool showHidden,
      SharedPtr<CallbackItf<const DirListResult&>> callback) override;

 private:
  ToolContext context_;
  ToolRegistration registration_;
};

}  // namespace quelt::ombrix::emu
