// What a chat answer is streamed into, and how the agent asks for confirmation.
#pragma once

#include <cstdint>

#include "ombrix/callback.h"
#include "ombrix/chat_records.h"

namespace quelt::ombrix {

class ToolCallItf {
 public:
  virtual ~ToolCallItf() = default;
  // The returned record's strings live as long as this object.
  virtual ToolCall GetToolCall() const = 0;
  virtual void Cancel() = 0;
};

class ChatResponseStreamItf {
 public:
  virtual ~ChatResponseStreamItf() = default;
  virtual void OnChunk(const ChatStreamChunk& chunk) = 0;
  virtual void OnToolCall(SharedPtr<ToolCallItf> toolCall) = 0;
  virtual void OnTodos(const Todo* todos, uint32_t count) = 0;
  virtual void OnUsage(const Usage& usage) = 0;
  virtual void OnEnd() = 0;
};

struct ConfirmResult {
  const char* responseJson = nullptr;
};

class ConfirmCallbackItf {
 public:
  virtual ~ConfirmCallbackItf() = default;
  virtual void RequestConfirm(ConfirmActionType actionType, const char* title, const char* content,
                              SharedPtr<CallbackItf<ConfirmResult>> callback) = 0;
};

}  // namespace quelt::ombrix
