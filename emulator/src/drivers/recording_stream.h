// The SDK's side of a chat answer: a response stream that records, in order,
// every chunk, tool call, todo list, usage record and end it is given.
#pragma once

#include <cstdint>
#include <mutex>
#include <variant>
#include <vector>

#include "ombrix/chat_stream.h"
#include "ombrix_addon/records.h"
#include "support/json.h"

namespace quelt::ombrix::emu {

class RecordingStream final : public ChatResponseStreamItf {
 public:
  void OnChunk(const ChatStreamChunk& chunk) override;
  void OnToolCall(SharedPtr<ToolCallItf> toolCall) override;
  void OnTodos(const Todo* todos, uint32_t count) override;
  void OnUsage(const Usage& usage) override;
  void OnEnd() override;

  // [{ event: "chunk" | "toolCall" | "todos" | "usage" | "end", … }]
  Json Events() const;
  // Cancels the index-th tool call received (false when there is none).
  bool CancelToolCall(uint32_t index);
  // The id the control surface knows it by, for the inspector page; set once
  // held, before the stream is handed to the application.
  void SetFeedId(uint64_t id) { feedId_ = id; }

 private:
  // A chunk is kept as its record and described only when events are read:
  // a stream may carry many thousands, and the SDK should not spend more on
  // each than the module does.
  struct Chunk {
    ombrix_records::ChunkData data;
    bool attachmentsNull;
  };
  void Record(Json event);
  void Show(const Json& event) const;  // to a page that watches

  uint64_t feedId_ = 0;

  mutable std::mutex mutex_;
  std::vector<std::variant<Chunk, Json>> events_;
  std::vector<SharedPtr<ToolCallItf>> toolCalls_;
};

}  // namespace quelt::ombrix::emu
