// Owning companions of the borrowed SDK records, shared by the module and the
// substitute SDK (neither is part of the SDK's contract). A `…Data` struct
// owns the values; the lists own Data and hand out records whose pointers
// borrow from it, valid as long as the list lives. Lists are neither copied
// nor moved, so the borrowed pointers never dangle.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ombrix/account.h"
#include "ombrix/audit.h"
#include "ombrix/chat.h"
#include "ombrix/helper.h"
#include "ombrix/notification.h"

namespace ombrix_records {

namespace sdk = quelt::ombrix;
using namespace quelt::ombrix;

struct AttachmentData {
  std::string fileId, filename;
  int64_t size = 0;
  std::string uploadDate, fileType, fileUrl, localPath;
};

inline Attachment View(const AttachmentData& d) {
  return Attachment{d.fileId.c_str(),     d.filename.c_str(), d.size,
                    d.uploadDate.c_str(), d.fileType.c_str(), d.fileUrl.c_str(),
                    d.localPath.c_str()};
}

struct ToolCallResultData {
  bool success = false;
  std::string content, errorMessage;
  int64_t durationMs = 0;
};

struct ToolCallData {
  ToolCallType type = ToolCallType::kStart;
  std::string title, description, toolName, toolArgs;
  int64_t createdAt = 0;
  ToolCallResultData result;
};

inline ToolCall View(const ToolCallData& d) {
  ToolCall call;
  call.type = d.type;
  call.title = d.title.c_str();
  call.description = d.description.c_str();
  call.toolName = d.toolName.c_str();
  call.toolArgs = d.toolArgs.c_str();
  call.createdAt = d.createdAt;
  call.result = ToolCallResult{d.result.success, d.result.content.c_str(),
                               d.result.errorMessage.c_str(), d.result.durationMs};
  return call;
}

struct TodoData {
  std::string id, title, description;
  TodoStatus status = TodoStatus::kPending;
  int64_t createdAt = 0, updatedAt = 0;
};

inline Todo View(const TodoData& d) {
  return Todo{d.id.c_str(), d.title.c_str(), d.description.c_str(),
              d.status,     d.createdAt,     d.updatedAt};
}

struct UsageData {
  std::string eventId, modelName;
  int64_t createdAt = 0, inputTokens = 0, outputTokens = 0, cachedTokens = 0, businessPoints = 0,
          businessCost = 0;
};

inline Usage View(const UsageData& d) {
  return Usage{d.eventId.c_str(), d.modelName.c_str(), d.createdAt,      d.inputTokens,
               d.outputTokens,    d.cachedTokens,      d.businessPoints, d.businessCost};
}

struct NotificationData {
  std::string id;
  NotificationType type = NotificationType::kReminder;
  std::string title, content;
  NotificationPriority priority = NotificationPriority::kLow;
  int64_t createdAt = 0, expiresAt = 0;
  std::string sourceId;
  bool isRead = false;
};

inline Notification View(const NotificationData& d) {
  return Notification{d.id.c_str(), d.type,      d.title.c_str(),    d.content.c_str(), d.priority,
                      d.createdAt,  d.expiresAt, d.sourceId.c_str(), d.isRead};
}

struct RemoteDeviceData {
  std::string deviceId, deviceName;
  RemoteDeviceType deviceType = RemoteDeviceType::kUnknown;
  RemoteDeviceStatus deviceStatus = RemoteDeviceStatus::kUnknown;
};

inline RemoteDeviceInfo View(const RemoteDeviceData& d) {
  return RemoteDeviceInfo{d.deviceId.c_str(), d.deviceName.c_str(), d.deviceType, d.deviceStatus};
}

struct AuditReportData {
  std::string fileUrl;
  int64_t createdAt = 0;
};

inline AuditReport View(const AuditReportData& d) {
  return AuditReport{d.fileUrl.c_str(), d.createdAt};
}

// A list over owned Data, handing out borrowed records: the SDK list
// interfaces of attachments, notifications and devices.
template <class ListItf, class Data>
class DataList final : public ListItf {
 public:
  explicit DataList(std::vector<Data> items) : items_(std::move(items)) {}
  DataList(const DataList&) = delete;
  DataList& operator=(const DataList&) = delete;

  uint32_t GetCount() const override { return static_cast<uint32_t>(items_.size()); }
  decltype(View(std::declval<const Data&>())) GetItem(uint32_t index) const override {
    return index < items_.size() ? View(items_[index]) : decltype(View(items_[0])){};
  }
  const std::vector<Data>& items() const { return items_; }

 private:
  std::vector<Data> items_;
};

using AttachmentList = DataList<AttachmentListItf, AttachmentData>;
using NotificationList = DataList<NotificationListItf, NotificationData>;
using RemoteDeviceList = DataList<RemoteDeviceListItf, RemoteDeviceData>;

// Null when there are no attachments, as the SDK expects.
inline SharedPtr<AttachmentListItf> MakeAttachmentList(std::vector<AttachmentData> items) {
  if (items.empty()) return SharedPtr<AttachmentListItf>();
  return SharedPtr<AttachmentListItf>(new AttachmentList(std::move(items)));
}

// A list of SDK objects: chat sessions, audit sessions.
template <class ListItf, class Item>
class PointerList final : public ListItf {
 public:
  explicit PointerList(std::vector<SharedPtr<Item>> items) : items_(std::move(items)) {}
  uint32_t GetCount() const override { return static_cast<uint32_t>(items_.size()); }
  SharedPtr<Item> GetItem(uint32_t index) const override {
    return index < items_.size() ? items_[index] : SharedPtr<Item>();
  }

 private:
  std::vector<SharedPtr<Item>> items_;
};

using ChatSessionList = PointerList<ChatSessionListItf, ChatSessionItf>;
using AuditSessionList = PointerList<AuditSessionListItf, AuditSessionItf>;

struct ChunkData {
  ChatStreamEventType type = ChatStreamEventType::kStart;
  std::string eventId, role, content;
  int64_t createdAt = 0;
  std::vector<AttachmentData> attachments;
  std::vector<std::string> suggestions;
};

// A chunk record together with the storage it borrows from.
class ChatStreamChunk {
 public:
  explicit ChatStreamChunk(ChunkData data) : data_(std::move(data)) {
    for (const std::string& text : data_.suggestions) suggestions_.push_back(text.c_str());
    record_.type = data_.type;
    record_.eventId = data_.eventId.c_str();
    record_.role = data_.role.c_str();
    record_.content = data_.content.c_str();
    record_.createdAt = data_.createdAt;
    record_.attachments = MakeAttachmentList(data_.attachments);
    record_.suggestions = suggestions_.empty() ? nullptr : suggestions_.data();
    record_.suggestionCount = static_cast<uint32_t>(suggestions_.size());
  }
  ChatStreamChunk(const ChatStreamChunk&) = delete;
  ChatStreamChunk& operator=(const ChatStreamChunk&) = delete;

  const sdk::ChatStreamChunk& record() const { return record_; }
  const ChunkData& data() const { return data_; }

 private:
  ChunkData data_;
  std::vector<const char*> suggestions_;
  sdk::ChatStreamChunk record_;
};

class ChatStreamChunkList final : public ChatStreamChunkListItf {
 public:
  explicit ChatStreamChunkList(std::vector<ChunkData> chunks) {
    for (ChunkData& chunk : chunks)
      chunks_.push_back(std::make_unique<ChatStreamChunk>(std::move(chunk)));
  }
  uint32_t GetCount() const override { return static_cast<uint32_t>(chunks_.size()); }
  sdk::ChatStreamChunk GetItem(uint32_t index) const override {
    return index < chunks_.size() ? chunks_[index]->record() : sdk::ChatStreamChunk();
  }

 private:
  std::vector<std::unique_ptr<ChatStreamChunk>> chunks_;
};

struct SessionInfoData {
  std::string sessionId, title, modelName, provider;
  int64_t createdAt = 0, lastActiveAt = 0;
  std::vector<ChunkData> history;
  ChatMode chatMode = ChatMode::kOmbrix;
};

// The record over `data`, borrowing its texts; no history.
inline sdk::ChatSessionInfo View(const SessionInfoData& d) {
  sdk::ChatSessionInfo info;
  info.sessionId = d.sessionId.c_str();
  info.title = d.title.c_str();
  info.modelName = d.modelName.c_str();
  info.provider = d.provider.c_str();
  info.createdAt = d.createdAt;
  info.lastActiveAt = d.lastActiveAt;
  info.chatMode = d.chatMode;
  return info;
}

// The SDK's shared, owning form: texts copied, history (when asked for) a list
// over the events, else null.
inline SharedPtr<sdk::ChatSessionInfo> MakeChatSessionInfo(const SessionInfoData& data,
                                                           bool withHistory) {
  sdk::ChatSessionInfo view = View(data);
  if (withHistory)
    view.history = SharedPtr<ChatStreamChunkListItf>(new ChatStreamChunkList(data.history));
  return SharedPtr<sdk::ChatSessionInfo>(new sdk::helper::ChatSessionInfo(view));
}

struct AuditSessionInfoData {
  std::string sessionId;
  AuditSessionStatus status = AuditSessionStatus::kCreated;
  int64_t createdAt = 0, lastActiveAt = 0;
};

inline SharedPtr<sdk::AuditSessionInfo> MakeAuditSessionInfo(const AuditSessionInfoData& d) {
  sdk::AuditSessionInfo view;
  view.sessionId = d.sessionId.c_str();
  view.status = d.status;
  view.createdAt = d.createdAt;
  view.lastActiveAt = d.lastActiveAt;
  return SharedPtr<sdk::AuditSessionInfo>(new sdk::helper::AuditSessionInfo(view));
}

// Borrowed records back into owning form (null strings become empty).
inline std::string Copy(const char* text) { return text ? text : ""; }

inline AttachmentData Copy(const Attachment& a) {
  return AttachmentData{Copy(a.fileId),   Copy(a.filename), a.size,           Copy(a.uploadDate),
                        Copy(a.fileType), Copy(a.fileUrl),  Copy(a.localPath)};
}

inline std::vector<AttachmentData> Copy(const AttachmentListItf* list) {
  std::vector<AttachmentData> items;
  if (!list) return items;
  for (uint32_t i = 0; i < list->GetCount(); ++i) items.push_back(Copy(list->GetItem(i)));
  return items;
}

inline ChunkData Copy(const sdk::ChatStreamChunk& c) {
  ChunkData data;
  data.type = c.type;
  data.eventId = Copy(c.eventId);
  data.role = Copy(c.role);
  data.content = Copy(c.content);
  data.createdAt = c.createdAt;
  data.attachments = Copy(c.attachments.get());
  for (uint32_t i = 0; c.suggestions && i < c.suggestionCount; ++i) {
    data.suggestions.push_back(Copy(c.suggestions[i]));
  }
  return data;
}

inline SessionInfoData Copy(const sdk::ChatSessionInfo& info) {
  SessionInfoData data;
  data.sessionId = Copy(info.sessionId);
  data.title = Copy(info.title);
  data.modelName = Copy(info.modelName);
  data.provider = Copy(info.provider);
  data.createdAt = info.createdAt;
  data.lastActiveAt = info.lastActiveAt;
  if (info.history) {
    for (uint32_t i = 0; i < info.history->GetCount(); ++i) {
      data.history.push_back(Copy(info.history->GetItem(i)));
    }
  }
  data.chatMode = info.chatMode;
  return data;
}

inline ToolCallData Copy(const ToolCall& c) {
  return ToolCallData{c.type,
                      Copy(c.title),
                      Copy(c.description),
                      Copy(c.toolName),
                      Copy(c.toolArgs),
                      c.createdAt,
                      ToolCallResultData{c.result.success, Copy(c.result.content),
                                         Copy(c.result.errorMessage), c.result.durationMs}};
}

inline TodoData Copy(const Todo& t) {
  return TodoData{Copy(t.id), Copy(t.title), Copy(t.description),
                  t.status,   t.createdAt,   t.updatedAt};
}

inline UsageData Copy(const Usage& u) {
  return UsageData{Copy(u.eventId), Copy(u.modelName), u.createdAt,      u.inputTokens,
                   u.outputTokens,  u.cachedTokens,    u.businessPoints, u.businessCost};
}

inline NotificationData Copy(const Notification& n) {
  return NotificationData{Copy(n.id),  n.type,      Copy(n.title),    Copy(n.content), n.priority,
                          n.createdAt, n.expiresAt, Copy(n.sourceId), n.isRead};
}

inline RemoteDeviceData Copy(const RemoteDeviceInfo& d) {
  return RemoteDeviceData{Copy(d.deviceId), Copy(d.deviceName), d.deviceType, d.deviceStatus};
}

inline AuditSessionInfoData Copy(const sdk::AuditSessionInfo& info) {
  return AuditSessionInfoData{Copy(info.sessionId), info.status, info.createdAt, info.lastActiveAt};
}

inline AuditReportData Copy(const AuditReport& report) {
  return AuditReportData{Copy(report.fileUrl), report.createdAt};
}

}  // namespace ombrix_records
