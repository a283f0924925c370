// Chat data records as they cross the SDK boundary. Strings are borrowed: they
// stay valid as long as the record (or list) that carries them.
#pragma once

#include <cstdint>

#include "ombrix/enums.h"
#include "ombrix/shared_ptr.h"

namespace quelt::ombrix {

struct Attachment {
  const char* fileId = nullptr;
  const char* filename = nullptr;
  int64_t size = 0;
  const char* uploadDate = nullptr;
  const char* fileType = nullptr;
  const char* fileUrl = nullptr;
  const char* localPath = nullptr;
};

class AttachmentListItf {
 public:
  virtual ~AttachmentListItf() = default;
  virtual uint32_t GetCount() const = 0;
  virtual Attachment GetItem(uint32_t index) const = 0;  // out of range: empty record
};

// One history event or streamed chunk.
struct ChatStreamChunk {
  ChatStreamEventType type = ChatStreamEventType::kStart;
  const char* eventId = nullptr;
  const char* role = nullptr;
  const char* content = nullptr;
  int64_t createdAt = 0;
  SharedPtr<AttachmentListItf> attachments;  // null when there are none
  const char* const* suggestions = nullptr;
  uint32_t suggestionCount = 0;
};

class ChatStreamChunkListItf {
 public:
  virtual ~ChatStreamChunkListItf() = default;
  virtual uint32_t GetCount() const = 0;
  virtual ChatStreamChunk GetItem(uint32_t index) const = 0;
};

// Shared through SharedPtr; polymorphic so that an owning subclass
// (helper::ChatSessionInfo) can carry the storage its strings point into.
struct ChatSessionInfo {
  virtual ~ChatSessionInfo() = default;
  const char* sessionId = nullptr;
  const char* title = nullptr;
  const char* modelName = nullptr;
  const char* provider = nullptr;
  int64_t createdAt = 0;
  int64_t lastActiveAt = 0;
  SharedPtr<ChatStreamChunkListItf> history;  // null when not given
  ChatMode chatMode = ChatMode::kOmbrix;
};

struct ToolCallResult {
  bool success = false;
  const char* content = nullptr;
  const char* errorMessage = nullptr;
  int64_t durationMs = 0;
};

struct ToolCall {
  ToolCallType type = ToolCallType::kStart;
  const char* title = nullptr;
  const char* description = nullptr;
  const char* toolName = nullptr;
  const char* toolArgs = nullptr;
  int64_t createdAt = 0;
  ToolCallResult result;
};

struct Todo {
  const char* id = nullptr;
  const char* title = nullptr;
  const char* description = nullptr;
  TodoStatus status = TodoStatus::kPending;
  int64_t createdAt = 0;
  int64_t updatedAt = 0;
};

struct Usage {
  const char* eventId = nullptr;
  const char* modelName = nullptr;
  int64_t createdAt = 0;
  int64_t inputTokens = 0;
  int64_t outputTokens = 0;
  int64_t cachedTokens = 0;
  int64_t businessPoints = 0;
  int64_t businessCost = 0;
};

}  // namespace quelt::ombrix
