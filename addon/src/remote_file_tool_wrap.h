// RemoteFileTool: read, write, edit, search and list files on a device.
#pragma once

#include <napi.h>

#include "ombrix/remote_file.h"
#include "tool_wrap.h"

namespace ombrix_addon {

class RemoteFileTool final : public ToolWrap<RemoteFileTool, quelt::ombrix::RemoteFileToolItf> {
 public:
  static constexpr const char* kClassName = "RemoteFileTool";
  static void Init(Napi::Env env);
  using ToolWrap::ToolWrap;

 private:
  Napi::Value FileRead(const Napi::CallbackInfo& info);
  Napi::Value FileWrite(const Napi::CallbackInfo& info);
  Napi::Value FileReplace(const Napi::CallbackInfo& info);
  Napi::Value FileSearch(const Napi::CallbackInfo& info);
  Napi::Value FileFindByName(const Napi::CallbackInfo& info);
  Napi::Value DirList(const Napi::CallbackInfo& info);
};

}  // namespace ombrix_addon
