#include "remote_file_transfer_tool_wrap.h"

#include <string>

#include "args.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

void RemoteFileTransferTool::Init(Napi::Env env) {
  Register(env,
           {TaggedMethod<&RemoteFileTransferTool::Transfer<&RemoteFileTransferItf::DownloadFile>>(
                "downloadFile"),
            TaggedMethod<&RemoteFileTransferTool::Transfer<&RemoteFileTransferItf::UploadFile>>(
                "uploadFile")});
}

template <RemoteFileTransferTool::TransferOperation Op>
Napi::Value RemoteFileTransferTool::Transfer(const Napi::CallbackInfo& info) {
  const auto strings =
      StringArgs<3>(info, "Expected (deviceId: string, localPath: string, remotePath: string)");
  const std::string &device = strings[0], &localPath = strings[1], &remotePath = strings[2];
  return CallUnlessDestroyed<const FileTransferStatus&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteFileTransferItf& tool, auto callback) {
        (tool.*Op)(device.c_str(), localPath.c_str(), remotePath.c_str(), callback);
      });
}

}  // namespace ombrix_addon
