// The SDK's file transfer tool. In loopback mode the remote device is this
// machine: a download copies remotePath to localPath, an upload the other way.
#pragma once

#include "ombrix/remote_control.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class RemoteFileTransfer final : public RemoteFileTransferItf {
 public:
  explicit RemoteFileTransfer(ToolContext context)
      : context_(std::move(context)),
        registration_(static_cast<RemoteFileTransferItf*>(this), context_) {}

  void DownloadFile(const char* deviceId, const char* localPath, const char* remotePath,
                    SharedPtr<CallbackItf<const FileTransferStatus&>> callback) override;
  void UploadFile(const char* deviceId, const char* localPath, const char* remotePath,
                  SharedPtr<CallbackItf<const FileTransferStatus&>> callback) override;

 private:
  void Transfer(const char* op, const char* deviceId, const char* localPath, const char* remotePath,
                bool download, SharedPtr<CallbackItf<const FileTransferStatus&>> callback);

  ToolContext context_;
  ToolRegistration registration_;
};

}  // namespace quelt::ombrix::emu
