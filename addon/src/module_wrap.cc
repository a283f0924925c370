#include "module_wrap.h"

#include <type_traits>
#include <vector>

#include "account_tool_wrap.h"
#include "client_wrap.h"
#include "gui_tool_wrap.h"
#include "logger_wrap.h"
#include "module_pin.h"
#include "remote_control_tool_wrap.h"
#include "remote_file_tool_wrap.h"
#include "remote_file_transfer_tool_wrap.h"
#include "remote_shell_tool_wrap.h"
#include "tool_service_wrap.h"
#include "ombrix/enums.h"
#include "ombrix/sdk.h"
#include "shm_region_wrap.h"

namespace ombrix_addon {

namespace sdk = quelt::ombrix;

namespace {

struct EnumMember {
  const char* name;
  double value;
};

struct EnumObject {
  const char* name;
  std::vector<EnumMember> members;  // in the order they are set
};

// Values come from the contract's enums, so the two cannot drift apart.
template <class E>
constexpr double V(E value) {
  return static_cast<double>(static_cast<std::underlying_type_t<E>>(value));
}

const std::vector<EnumObject>& EnumObjects() {
  using namespace quelt::ombrix;
  static const std::vector<EnumObject> kObjects = {
      {"RemoteDeviceStatus",
       {{"UNKNOWN", V(RemoteDeviceStatus::kUnknown)},
        {"OFFLINE", V(RemoteDeviceStatus::kOffline)},
        {"ONLINE", V(RemoteDeviceStatus::kOnline)}}},
      {"RemoteDeviceType",
       {{"UNKNOWN", V(RemoteDeviceType::kUnknown)},
        {"PC_WINDOWS", V(RemoteDeviceType::kPcWindows)},
        {"PC_MAC", V(RemoteDeviceType::kPcMac)},
        {"PC_LINUX", V(RemoteDeviceType::kPcLinux)},
        {"MOBILE_ANDROID", V(RemoteDeviceType::kMobileAndroid)},
        {"MOBILE_IOS", V(RemoteDeviceType::kMobileIos)},
        {"WEB", V(RemoteDeviceType::kWeb)}}},
      {"FileTransferErrorCode",
       {{"SUCCESS", V(FileTransferErrorCode::kSuccess)},
        {"FILE_NOT_FOUND", V(FileTransferErrorCode::kFileNotFound)},
        {"PERMISSION_DENIED", V(FileTransferErrorCode::kPermissionDenied)},
        {"NETWORK_ERROR", V(FileTransferErrorCode::kNetworkError)},
        {"DISK_FULL", V(FileTransferErrorCode::kDiskFull)},
        {"CANCELLED", V(FileTransferErrorCode::kCancelled)},
        {"UNKNOWN_ERROR", V(FileTransferErrorCode::kUnknownError)}}},
      {"RemoteControlUIType",
       {{"REMOTE_CONTROL", V(RemoteControlUIType::kRemoteControl)},
        {"REMOTE_CONTROL_VIEW_ONLY", V(RemoteControlUIType::kRemoteControlViewOnly)},
        {"FILE_TRANSFER", V(RemoteControlUIType::kFileTransfer)},
        {"TERMINAL", V(RemoteControlUIType::kTerminal)},
        {"AI_TERMINAL", V(RemoteControlUIType::kAiTerminal)},
        {"CAMERA", V(RemoteControlUIType::kCamera)},
        {"SCREEN_MIRROR", V(RemoteControlUIType::kScreenMirror)},
        {"ALL", V(RemoteControlUIType::kAll)}}},
      {"FileEntryType",
       {{"UNSPECIFIED", V(FileEntryType::kUnspecified)},
        {"FILE", V(FileEntryType::kFile)},
        {"DIRECTORY", V(FileEntryType::kDirectory)},
        {"SYMLINK", V(FileEntryType::kSymlink)},
        {"OTHER", V(FileEntryType::kOther)}}},
      {"LogLevel",
       {{"TRACE", V(LogLevel::kTrace)},
        {"DEBUG", V(LogLevel::kDebug)},
        {"INFO", V(LogLevel::kInfo)},
        {"WARNING", V(LogLevel::kWarning)},
        {"ERROR", V(LogLevel::kError)},
        {"FATAL", V(LogLevel::kFatal)}}},
      {"ChatStreamEventType",
       {{"START", V(ChatStreamEventType::kStart)},
        {"CHUNK", V(ChatStreamEventType::kChunk)},
        {"END", V(ChatStreamEventType::kEnd)},
        {"ERROR", V(ChatStreamEventType::kError)},
        {"THINKING_START", V(ChatStreamEventType::kThinkingStart)},
        {"THINKING_CHUNK", V(ChatStreamEventType::kThinkingChunk)},
        {"THINKING_END", V(ChatStreamEventType::kThinkingEnd)},
        {"SUGGESTIONS", V(ChatStreamEventType::kSuggestions)},
        {"ATTACHMENT", V(ChatStreamEventType::kAttachment)}}},
      {"ConfirmActionType",
       {{"HIGH_RISK_OPERATION", V(ConfirmActionType::kHighRiskOperation)},
        {"DISAMBIGUATION", V(ConfirmActionType::kDisambiguation)},
        {"QR_LOGIN", V(ConfirmActionType::kQrLogin)},
        {"FILE_CONFLICT", V(ConfirmActionType::kFileConflict)},
        {"CONTENT_REVIEW", V(ConfirmActionType::kContentReview)},
        {"ELEMENT_NOT_FOUND", V(ConfirmActionType::kElementNotFound)},
        {"SCREEN_LOCKED", V(ConfirmActionType::kScreenLocked)}}},
      {"ToolCallType", {{"START", V(ToolCallType::kStart)}, {"END", V(ToolCallType::kEnd)}}},
      {"TodoStatus",
       {{"PENDING", V(TodoStatus::kPending)},
        {"IN_PROGRESS", V(TodoStatus::kInProgress)},
        {"COMPLETED", V(TodoStatus::kCompleted)},
        {"CANCELLED", V(TodoStatus::kCancelled)}}},
      {"ResultCode",
       {{"SUCCESS", V(ResultCode::kSuccess)},
        {"ERROR_UNKNOWN", V(ResultCode::kErrorUnknown)},
        {"ERROR_NOT_CONNECTED", V(ResultCode::kErrorNotConnected)},
        {"ERROR_TIMEOUT", V(ResultCode::kErrorTimeout)},
        {"ERROR_INVALID_PARAM", V(ResultCode::kErrorInvalidParam)},
        {"ERROR_PERMISSION_DENIED", V(ResultCode::kErrorPermissionDenied)},
        {"ERROR_SESSION_NOT_FOUND", V(ResultCode::kErrorSessionNotFound)},
        {"ERROR_SESSION_EXISTS", V(ResultCode::kErrorSessionExists)},
        {"ERROR_OPERATION_FAILED", V(ResultCode::kErrorOperationFailed)}}},
      {"LanguageCode",
       {{"ENGLISH", V(LanguageCode::kEnglish)},
        {"CHINESE_SIMPLIFIED", V(LanguageCode::kChineseSimplified)},
        {"CHINESE_TRADITIONAL", V(LanguageCode::kChineseTraditional)},
        {"JAPANESE", V(LanguageCode::kJapanese)},
        {"THAI", V(LanguageCode::kThai)},
        {"VIETNAMESE", V(LanguageCode::kVietnamese)},
        {"INDONESIAN", V(LanguageCode::kIndonesian)}}},
      {"ChatMode",
       {{"OMBRIX", V(ChatMode::kOmbrix)},
        {"FERNWICK", V(ChatMode::kFernwick)},
        {"GUIAGENT", V(ChatMode::kGuiAgent)}}},
      {"NotificationType",
       {{"REMINDER", V(NotificationType::kReminder)},
        {"SYSTEM", V(NotificationType::kSystem)},
        {"TASK_COMPLETE", V(NotificationType::kTaskComplete)},
        {"ALERT", V(NotificationType::kAlert)}}},
      {"NotificationPriority",
       {{"LOW", V(NotificationPriority::kLow)},
        {"NORMAL", V(NotificationPriority::kNormal)},
        {"HIGH", V(NotificationPriority::kHigh)},
        {"URGENT", V(NotificationPriority::kUrgent)}}},
      {"AuditSessionStatus",
       {{"CREATED", V(AuditSessionStatus::kCreated)},
        {"RUNNING", V(AuditSessionStatus::kRunning)},
        {"STOPPED", V(AuditSessionStatus::kStopped)},
        {"ERROR", V(AuditSessionStatus::kError)}}},
  };
  return kObjects;
}

Napi::Value GetSdkVersion(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  const sdk::VersionInfo* version = sdk::GetSDKVersion();  // static data
  Napi::Object result = Napi::Object::New(env);
  result.Set("version", version->version);
  result.Set("commitHash", version->commitHash);
  result.Set("buildTimestamp", version->buildTimestamp);
  return result;
}

void SetFunction(Napi::Env env, Napi::Object exports, const char* name,
                 Napi::Function::Callback callback) {
  exports.Set(name, Napi::Function::New(env, callback, name));
}

}  // namespace

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  PinThisModule();
  sdk::InitializeSentry();
  env.AddCleanupHook([] { sdk::ShutdownSentry(); });

  // Classes first, then functions: factories need their class defined.
  ShmRegion::Init(env, exports);
  OmbrixClient::Init(env);
  AccountTool::Init(env);
  RemoteFileTransferTool::Init(env);
  RemoteControlTool::Init(env);
  RemoteFileTool::Init(env);
  RemoteShellTool::Init(env);
  ToolService::Init(env);
  GuiTool::Init(env);

  SetFunction(env, exports, "createOmbrixClient", OmbrixClient::Create);
  SetFunction(env, exports, "createGuiTool", CreateGuiTool);
  SetFunction(env, exports, "setLogger", SetLogger);
  SetFunction(env, exports, "getSDKVersion", GetSdkVersion);

  for (const EnumObject& object : EnumObjects()) {
    Napi::Object members = Napi::Object::New(env);
    for (const EnumMember& member : object.members) {
      members.Set(member.name, Napi::Number::New(env, member.value));
    }
    exports.Set(object.name, members);
  }
  return exports;
}

}  // namespace ombrix_addon

namespace {
Napi::Object InitOmbrixAddon(Napi::Env env, Napi::Object exports) {
  return ombrix_addon::Init(env, exports);
}
}  // namespace

NODE_API_MODULE(ombrix_addon, InitOmbrixAddon)
