#include "remote_file_tool_wrap.h"

#include <string>

#include "args.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

void RemoteFileTool::Init(Napi::Env env) {
  Register(env, {TaggedMethod<&RemoteFileTool::FileRead>("fileRead"),
                 TaggedMethod<&RemoteFileTool::FileWrite>("fileWrite"),
                 TaggedMethod<&RemoteFileTool::FileReplace>("fileReplace"),
                 TaggedMethod<&RemoteFileTool::FileSearch>("fileSearch"),
                 TaggedMethod<&RemoteFileTool::FileFindByName>("fileFindByName"),
                 TaggedMethod<&RemoteFileTool::DirList>("dirList")});
}

Napi::Value RemoteFileTool::FileRead(const Napi::CallbackInfo& info) {
  const auto strings = StringArgs<2>(
      info, "Expected (deviceId: string, filePath: string, startLine?: number, endLine?: number)");
  const std::string &device = strings[0], &path = strings[1];
  int32_t startLine = OptionalInt32(info, 2, -1), endLine = OptionalInt32(info, 3, -1);
  return CallUnlessDestroyed<const FileReadResult&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteFileToolItf& tool, auto callback) {
        tool.ReadFile(device.c_str(), path.c_str(), startLine, endLine, callback);
      });
}

Napi::Value RemoteFileTool::FileWrite(const Napi::CallbackInfo& info) {
  const auto strings = StringArgs<3>(
      info,
      "Expected (deviceId: string, filePath: string, content: string, append?: boolean, "
      "createDirs?: boolean)");
  const std::string &device = strings[0], &path = strings[1], &content = strings[2];
  bool append = OptionalBool(info, 3, false), createDirs = OptionalBool(info, 4, true);
  return CallUnlessDestroyed<const FileWriteResult&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteFileToolItf& tool, auto callback) {
        tool.WriteFile(device.c_str(), path.c_str(), content.c_str(), append, createDirs, callback);
      });
}

Napi::Value RemoteFileTool::FileReplace(const Napi::CallbackInfo& info) {
  const auto strings = StringArgs<4>(
      info, "Expected (deviceId: string, path: string, oldPattern: string, newText: string)");
  const std::string &device = strings[0], &path = strings[1], &oldPattern = strings[2],
                    &newText = strings[3];
  return CallUnlessDestroyed<const FileReplaceResult&>(
      info.Env(), tool_, "PromiseCallback", [&](RemoteFileToolItf& tool, auto callback) {
        tool.ReplaceInFile(device.c_str(), path.c_str(), oldPattern.c_str(), newText.c_str(),
                           callback);
      });
}

Napi::Value RemoteFileTool::FileSearch(const Napi::CallbackInfo& info) {
  const auto strings = StringArgs<3>(
      info,
      "Expected (deviceId: string, filePath: string, pattern: string, caseSensitive?: "
      "boolean, showLineNumbers?: boolean, signal?: AbortSignal)");
  const std::string &device = strings[0], &path = strings[1], &pattern = strings[2];
  bool caseSensitive = OptionalBool(info, 3, false), lineNumbers = OptionalBool(info, 4, true);
  return CallCancellable<const FileSearchResult&>(
      info.Env(), tool_, kToolNotInitialized, "FileSearchCallback", info[5],
      [&](RemoteFileToolItf& tool, auto callback) {
        return tool.SearchInFile(device.c_str(), path.c_str(), pattern.c_str(), caseSensitive,
                                 lineNumbers, callback);
      });
}

Napi::Value RemoteFileTool::FileFindByName(const Napi::CallbackInfo& info) {
  const auto strings =
      StringArgs<3>(info,
                    "Expected (deviceId: string, directory: string, pattern: string, maxResults?: "
                    "number, signal?: AbortSignal)");
  const std::string &device = strings[0], &directory = strings[1], &pattern = strings[2];
  int32_t maxResults = OptionalInt32(info, 3, 500);
  return CallCancellable<const FileFindResult&>(
      info.Env(), tool_, kToolNotInitialized, "FileFindByNameCallback", info[4],
      [&](RemoteFileToolItf& tool, auto callback) {
        return tool.FindFilesByName(device.c_str(), directory.c_str(), pattern.c_str(), maxResults,
                                    callback);
      });
}

Napi::Value RemoteFileTool::DirList(const Napi::CallbackInfo& info) {
  const auto strings =
      StringArgs<2>(info,
                    "Expected (deviceId: string, path: string, showHidden?: boolean, signal?: "
                    "AbortSignal)");
  const std::string &device = strings[0], &path = strings[1];
  bool showHidden = OptionalBool(info, 2, false);
  return CallCancellable<const DirListResult&>(
      info.Env(), tool_, kToolNotInitialized, "DirListCallback", info[3],
      [&](RemoteFileToolItf& tool, auto callback) {
        return tool.ListDirectory(device.c_str(), path.c_str(), showHidden, callback);
      });
}

}  // namespace ombrix_addon
