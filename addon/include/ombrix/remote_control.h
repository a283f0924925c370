// Whole-file transfer and remote-control sessions.
#pragma once

#include <cstdint>
#include <string>

#include "ombrix/callback.h"
#include "ombrix/enums.h"

namespace quelt::ombrix {

struct FileTransferStatus {
  std::string path;
  uint64_t fileSize = 0;
  uint64_t transferTime = 0;
  FileTransferErrorCode errorCode = FileTransferErrorCode::kSuccess;
  std::string errorMessage;
};

class RemoteFileTransferItf {
 public:
  virtual ~RemoteFileTransferItf() = default;
  virtual void DownloadFile(const char* deviceId, const char* localPath, const char* remotePath,
                            SharedPtr<CallbackItf<const FileTransferStatus&>> callback) = 0;
  virtual void UploadFile(const char* deviceId, const char* localPath, const char* remotePath,
                          SharedPtr<CallbackItf<const FileTransferStatus&>> callback) = 0;
};

struct RemoteControlResult {
  bool success = false;
  std::string errorMessage;
};

struct RemoteDeviceLockScreenStatusResult {
  bool success = false;
  bool isLocked = false;
  std::string errorMessage;
};

class RemoteControlToolItf {
 public:
  virtual ~RemoteControlToolItf() = default;
  virtual void ConnectToDeviceWithUI(
      const char* deviceId, RemoteControlUIType uiType,
      SharedPtr<CallbackItf<const RemoteControlResult&>> callback) = 0;
  virtual void DisconnectFromDevice(
      const char* deviceId, RemoteControlUIType uiType,
      SharedPtr<CallbackItf<const RemoteControlResult&>> callback) = 0;
  virtual void GetDeviceLockScreenStatus(
      const char* deviceId,
      SharedPtr<CallbackItf<const RemoteDeviceLockScreenStatusResult&>> callback) = 0;
};

}  // namespace quelt::ombrix
