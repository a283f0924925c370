// The fields of the tool result records, in order, with the names they carry
// outside C++. The module turns records into JavaScript objects from these
// tables and the substitute SDK reads and writes scripted records with them,
// so key order is written down exactly once. The module's own, not the SDK's.
#pragma once

#include <tuple>
#include <type_traits>

#include "ombrix/remote_control.h"
#include "ombrix/remote_file.h"
#include "ombrix/shell.h"
#include "ombrix_addon/records.h"

namespace ombrix_records {

template <class Record, class Member>
struct FieldRef {
  const char* name;
  Member Record::*member;
};

template <class Record, class Member>
constexpr FieldRef<Record, Member> Field(const char* name, Member Record::*member) {
  return {name, member};
}

// Specialised per record with `static constexpr auto list = std::make_tuple(...)`.
template <class Record>
struct RecordFields;

template <class Record, class = void>
struct IsRecord : std::false_type {};
template <class Record>
struct IsRecord<Record, std::void_t<decltype(RecordFields<Record>::list)>> : std::true_type {};

// Calls fn(field) for each field of Record, in order.
template <class Record, class Fn>
void ForEachField(Fn&& fn) {
  std::apply([&](const auto&... field) { (fn(field), ...); }, RecordFields<Record>::list);
}

#define OMBRIX_FIELD(R, name) Field(#name, &R::name)

template <>
struct RecordFields<FileReadResult> {
  using R = FileReadResult;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, content),
                      OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, dataStartLine),
                      OMBRIX_FIELD(R, dataEndLine), OMBRIX_FIELD(R, originalLineCount),
                      OMBRIX_FIELD(R, isTruncated), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<FileWriteResult> {
  using R = FileWriteResult;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, message),
                      OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<FileReplaceResult> {
  using R = FileReplaceResult;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, message),
                      OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<FileSearchResult> {
  using R = FileSearchResult;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, matches), OMBRIX_FIELD(R, matchCount),
      OMBRIX_FIELD(R, message), OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<FileFindResult> {
  using R = FileFindResult;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, filePaths), OMBRIX_FIELD(R, totalFound),
      OMBRIX_FIELD(R, truncated), OMBRIX_FIELD(R, message), OMBRIX_FIELD(R, errorMessage),
      OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<DirEntry> {
  using R = DirEntry;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, name), OMBRIX_FIELD(R, type), OMBRIX_FIELD(R, size),
                      OMBRIX_FIELD(R, modifiedTime));
};

template <>
struct RecordFields<DirListResult> {
  using R = DirListResult;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, entries), OMBRIX_FIELD(R, directoryCount),
      OMBRIX_FIELD(R, fileCount), OMBRIX_FIELD(R, totalSize), OMBRIX_FIELD(R, message),
      OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<ShellExecResult> {
  using R = ShellExecResult;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, stdoutOutput), OMBRIX_FIELD(R, stderrOutput),
      OMBRIX_FIELD(R, exitCode), OMBRIX_FIELD(R, message), OMBRIX_FIELD(R, errorMessage),
      OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<ToolServiceResult> {
  using R = ToolServiceResult;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, data));
};

template <>
struct RecordFields<FileTransferStatus> {
  using R = FileTransferStatus;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, path), OMBRIX_FIELD(R, fileSize), OMBRIX_FIELD(R, transferTime),
      OMBRIX_FIELD(R, errorCode), OMBRIX_FIELD(R, errorMessage));
};

template <>
struct RecordFields<RemoteControlResult> {
  using R = RemoteControlResult;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, errorMessage));
};

template <>
struct RecordFields<RemoteDeviceLockScreenStatusResult> {
  using R = RemoteDeviceLockScreenStatusResult;
  static constexpr auto list = std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, isLocked),
                                               OMBRIX_FIELD(R, errorMessage));
};

// The owning forms of the records that cross as JavaScript objects; the
// names are the objects' keys, in the order they are read and written.

template <>
struct RecordFields<AttachmentData> {
  using R = AttachmentData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, fileId), OMBRIX_FIELD(R, filename), OMBRIX_FIELD(R, size),
                      OMBRIX_FIELD(R, uploadDate), OMBRIX_FIELD(R, fileType),
                      OMBRIX_FIELD(R, fileUrl), OMBRIX_FIELD(R, localPath));
};

template <>
struct RecordFields<ChunkData> {
  using R = ChunkData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, type), OMBRIX_FIELD(R, eventId), OMBRIX_FIELD(R, role),
                      OMBRIX_FIELD(R, content), OMBRIX_FIELD(R, createdAt),
                      OMBRIX_FIELD(R, attachments), OMBRIX_FIELD(R, suggestions));
};

template <>
struct RecordFields<SessionInfoData> {
  using R = SessionInfoData;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, sessionId), OMBRIX_FIELD(R, title), OMBRIX_FIELD(R, modelName),
      OMBRIX_FIELD(R, provider), OMBRIX_FIELD(R, createdAt), OMBRIX_FIELD(R, lastActiveAt),
      OMBRIX_FIELD(R, history), OMBRIX_FIELD(R, chatMode));
};

template <>
struct RecordFields<ToolCallResultData> {
  using R = ToolCallResultData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, success), OMBRIX_FIELD(R, content),
                      OMBRIX_FIELD(R, errorMessage), OMBRIX_FIELD(R, durationMs));
};

template <>
struct RecordFields<ToolCallData> {
  using R = ToolCallData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, type), OMBRIX_FIELD(R, title), OMBRIX_FIELD(R, description),
                      OMBRIX_FIELD(R, toolName), OMBRIX_FIELD(R, toolArgs),
                      OMBRIX_FIELD(R, createdAt), OMBRIX_FIELD(R, result));
};

template <>
struct RecordFields<TodoData> {
  using R = TodoData;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, id), OMBRIX_FIELD(R, title), OMBRIX_FIELD(R, description),
      OMBRIX_FIELD(R, status), OMBRIX_FIELD(R, createdAt), OMBRIX_FIELD(R, updatedAt));
};

template <>
struct RecordFields<UsageData> {
  using R = UsageData;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, eventId), OMBRIX_FIELD(R, modelName), OMBRIX_FIELD(R, createdAt),
      OMBRIX_FIELD(R, inputTokens), OMBRIX_FIELD(R, outputTokens), OMBRIX_FIELD(R, cachedTokens),
      OMBRIX_FIELD(R, businessPoints), OMBRIX_FIELD(R, businessCost));
};

template <>
struct RecordFields<NotificationData> {
  using R = NotificationData;
  static constexpr auto list = std::make_tuple(
      OMBRIX_FIELD(R, id), OMBRIX_FIELD(R, type), OMBRIX_FIELD(R, title), OMBRIX_FIELD(R, content),
      OMBRIX_FIELD(R, priority), OMBRIX_FIELD(R, createdAt), OMBRIX_FIELD(R, expiresAt),
      OMBRIX_FIELD(R, sourceId), OMBRIX_FIELD(R, isRead));
};

template <>
struct RecordFields<RemoteDeviceData> {
  using R = RemoteDeviceData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, deviceId), OMBRIX_FIELD(R, deviceName),
                      OMBRIX_FIELD(R, deviceType), OMBRIX_FIELD(R, deviceStatus));
};

template <>
struct RecordFields<AuditSessionInfoData> {
  using R = AuditSessionInfoData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, sessionId), OMBRIX_FIELD(R, status),
                      OMBRIX_FIELD(R, createdAt), OMBRIX_FIELD(R, lastActiveAt));
};

template <>
struct RecordFields<AuditReportData> {
  using R = AuditReportData;
  static constexpr auto list =
      std::make_tuple(OMBRIX_FIELD(R, fileUrl), OMBRIX_FIELD(R, createdAt));
};

#undef OMBRIX_FIELD

}  // namespace ombrix_records
