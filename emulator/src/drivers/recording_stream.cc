#include "drivers/recording_stream.h"

#include "hostile/hostile.h"
#include "inspect/feed.h"
#include "scripted/faults.h"
#include "ombrix_addon/records.h"
#include "runtime/worker_thread.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu {

namespace {

Json ChunkJson(const ombrix_records::ChunkData& data, bool attachmentsNull) {
  Json event = Json::MakeObject({{"event", "chunk"}});
  const Json fields = ToJson(data);
  for (const auto& member : fields.AsObject()) event.Set(member.first, member.second);
  // The SDK sees an empty attachment list as null: record which it got.
  event.Set("attachmentsNull", attachmentsNull);
  return event;
}

}  // namespace

void RecordingStream::Show(const Json& event) const {
  if (!inspect::Watched()) return;
  inspect::Publish("chat.stream", Json::MakeObject({{"stream", feedId_}, {"event", event}}));
}

void RecordingStream::Record(Json event) {
  Show(event);
  std::lock_guard<std::mutex> lock(mutex_);
  events_.emplace_back(std::move(event));
}

void RecordingStream::OnChunk(const ChatStreamChunk& chunk) {
  if (ApplyFault("OnChunk")) return;  // "empty": ignored
  Chunk copy{ombrix_records::Copy(chunk), !chunk.attachments};
  if (inspect::Watched()) Show(ChunkJson(copy.data, copy.attachmentsNull));
  std::lock_guard<std::mutex> lock(mutex_);
  events_.emplace_back(std::move(copy));
}

void RecordingStream::OnToolCall(SharedPtr<ToolCallItf> toolCall) {
  if (ApplyFault("OnToolCall")) return;  // "empty": ignored
  Json event = Json::MakeObject({{"event", "toolCall"}});
  if (toolCall) event.Set("call", ToJson(ombrix_records::Copy(toolCall->GetToolCall())));
  std::lock_guard<std::mutex> lock(mutex_);
  event.Set("index", static_cast<uint32_t>(toolCalls_.size()));
  toolCalls_.push_back(std::move(toolCall));
  Show(event);
  events_.emplace_back(std::move(event));
}

void RecordingStream::OnTodos(const Todo* todos, uint32_t count) {
  if (ApplyFault("OnTodos")) return;  // "empty": ignored
  std::vector<ombrix_records::TodoData> copies;
  for (uint32_t i = 0; todos && i < count; ++i) copies.push_back(ombrix_records::Copy(todos[i]));
  Record(Json::MakeObject({{"event", "todos"}, {"count", count}, {"todos", ToJson(copies)}}));
}

void RecordingStream::OnUsage(const Usage& usage) {
  if (ApplyFault("OnUsage")) return;  // "empty": ignored
  Record(Json::MakeObject({{"event", "usage"}, {"usage", ToJson(ombrix_records::Copy(usage))}}));
}

void RecordingStream::OnEnd() {
  if (ApplyFault("OnEnd")) return;  // "empty": ignored
  Record(Json::MakeObject({{"event", "end"}}));
}

Json RecordingStream::Events() const {
  std::lock_guard<std::mutex> lock(mutex_);
  Json events = Json(Json::Array());
  for (const auto& entry : events_) {
    if (const Json* event = std::get_if<Json>(&entry)) {
      events.Push(*event);
      continue;
    }
    const Chunk& chunk = std::get<Chunk>(entry);
    events.Push(ChunkJson(chunk.data, chunk.attachmentsNull));
  }
  return events;
}

bool RecordingStream::CancelToolCall(uint32_t index) {
  SharedPtr<ToolCallItf> call;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (index >= toolCalls_.size() || !toolCalls_[index]) return false;
    call = toolCalls_[index];
  }
  hostile::OnSdkThread([call] {
    call->Cancel();
    return Json();
  });
  return true;
}

}  // namespace quelt::ombrix::emu
