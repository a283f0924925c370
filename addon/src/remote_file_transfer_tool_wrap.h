// RemoteFileTransferTool: whole-file downloads from and uploads to a device.
#pragma once

#include <napi.h>

#include "ombrix/remote_control.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class RemoteFileTransferTool final
    : public ToolWrap<RemoteFileTransferTool, quelt::ombrix::RemoteFileTransferItf> {
 public:
  static constexpr const char* kClassName = "RemoteFileTransferTool";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;

 private:
  using TransferOperation = void (quelt::ombrix::RemoteFileTransferItf::*)(
      const char*, const char*, const char*,
      quelt::ombrix::SharedPtr<
          quelt::ombrix::CallbackItf<const quelt::ombrix::FileTransferStatus&>>);

  // "downloadFile" and "uploadFile" differ only in the SDK operation.
  template <TransferOperation Op>
  Napi::Value Transfer(const Napi::CallbackInfo& info);
};

}  // namespace ombrix_addon
