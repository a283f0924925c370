// Enumerations shared by the SDK records. Values are part of the contract
// (gaps included) and are exported to JavaScript unchanged.
#pragma once

#include <cstdint>

namespace quelt::ombrix {

enum class RemoteDeviceStatus : uint32_t { kUnknown = 0, kOffline = 1, kOnline = 2 };

enum class RemoteDeviceType : uint32_t {
  kUnknown = 0,
  kPcWindows = 1,
  kPcMac = 2,
  kPcLinux = 3,
  kMobileAndroid = 4,
  kMobileIos = 5,
  kWeb = 6,
};

enum class FileTransferErrorCode : uint32_t {
  kSuccess = 0,
  kFileNotFound = 1,
  kPermissionDenied = 2,
  kNetworkError = 3,
  kDiskFull = 4,
  kCancelled = 5,
  kUnknownError = 99,
};

enum class RemoteControlUIType : uint32_t {
  kRemoteControl = 0,
  kRemoteControlViewOnly = 1,
  kFileTransfer = 2,
  kTerminal = 3,
  kAiTerminal = 4,
  kCamera = 5,
  kScreenMirror = 6,
  kAll = 7,
};

enum class FileEntryType : int32_t {
  kUnspecified = 0,
  kFile = 1,
  kDirectory = 2,
  kSymlink = 3,
  kOther = 4,
};

enum class ChatStreamEventType : uint32_t {
  kStart = 0,
  kChunk = 1,
  kEnd = 2,
  kError = 3,
  kThinkingStart = 4,
  kThinkingChunk = 5,
  kThinkingEnd = 6,
  kSuggestions = 7,
  kAttachment = 8,
};

enum class ConfirmActionType : int32_t {
  kHighRiskOperation = 0,
  kDisambiguation = 1,
  kQrLogin = 3,
  kFileConflict = 4,
  kContentReview = 5,
  kElementNotFound = 6,
  kScreenLocked = 7,
};

enum class ToolCallType : uint32_t { kStart = 0, kEnd = 1 };

enum class TodoStatus : uint32_t {
  kPending = 0,
  kInProgress = 1,
  kCompleted = 2,
  kCancelled = 3,
};

enum class ResultCode : uint32_t {
  kSuccess = 0,
  kErrorUnknown = 1,
  kErrorNotConnected = 2,
  kErrorTimeout = 3,
  kErrorInvalidParam = 4,
  kErrorPermissionDenied = 5,
  kErrorSessionNotFound = 6,
  kErrorSessionExists = 7,
  kErrorOperationFailed = 8,
};

enum class LanguageCode : uint32_t {
  kEnglish = 0,
  kChineseSimplified = 1,
  kChineseTraditional = 2,
  kJapanese = 3,
  kThai = 4,
  kVietnamese = 5,
  kIndonesian = 6,
};

enum class ChatMode : uint32_t { kOmbrix = 0, kFernwick = 1, kGuiAgent = 2 };

enum class NotificationType : uint32_t {
  kReminder = 0,
  kSystem = 1,
  kTaskComplete = 2,
  kAlert = 3,
};

enum class NotificationPriority : uint32_t {
  kLow = 0,
  kNormal = 1,
  kHigh = 2,
  kUrgent = 3,
};

enum class AuditSessionStatus : uint32_t {
  kCreated = 0,
  kRunning = 1,
  kStopped = 2,
  kError = 3,
};

}  // namespace quelt::ombrix
