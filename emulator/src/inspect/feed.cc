#include "inspect/feed.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <utility>

#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu::inspect {

std::atomic<bool> gWatched{false};

namespace {

struct Queue {
  std::mutex mutex;
  std::deque<std::string> events;
  uint64_t dropped = 0;
  bool wakeDue = true;  // the next event calls wake
  std::function<void()> wake;
};

Queue& TheQueue() {
  static auto* queue = new Queue;  // SDK threads may publish while the process exits
  return *queue;
}

// Long texts (a file read, a shell's output) are cut, so that one event stays
// small; at a character boundary, so the page still reads valid UTF-8.
constexpr size_t kMaxText = 2048;

bool TooLong(const Json& value) {
  switch (value.type()) {
    case Json::Type::kString:
      return value.AsString().size() > kMaxText;
    case Json::Type::kArray:
      for (const Json& item : value.AsArray()) {
        if (TooLong(item)) return true;
      }
      return false;
    case Json::Type::kObject:
      for (const auto& member : value.AsObject()) {
        if (TooLong(member.second)) return true;
      }
      return false;
    default:
      return false;
  }
}

Json Shortened(const Json& value) {
  switch (value.type()) {
    case Json::Type::kString: {
      const std::string& text = value.AsString();
      if (text.size() <= kMaxText) return value;
      size_t cut = kMaxText;
      while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
      return Json(text.substr(0, cut) + "\xE2\x80\xA6 (" + std::to_string(text.size() - cut) +
                  " more bytes)");
    }
    case Json::Type::kArray: {
      Json::Array items;
      for (const Json& item : value.AsArray()) items.push_back(Shortened(item));
      return Json(std::move(items));
    }
    case Json::Type::kObject: {
      Json::Object members;
      for (const auto& member : value.AsObject()) {
        members.emplace_back(member.first, Shortened(member.second));
      }
      return Json(std::move(members));
    }
    default:
      return value;
  }
}

Json CallEvent(const char* dir, const Json& id, const std::string& op, Json details) {
  Json event = Json::MakeObject({{"dir", dir}, {"id", id}, {"op", op}});
  for (const auto& member : details.AsObject()) event.Set(member.first, member.second);
  return event;
}

}  // namespace

void Publish(const char* kind, Json event) {
  if (!Watched()) return;
  event.Set("kind", Json(kind));
  event.Set("t", Json(static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                              std::chrono::system_clock::now().time_since_epoch())
                                              .count())));
  event.Set("thread", Json(CurrentThreadName()));
  // Most events hold no long text: they are not copied.
  std::string text = TooLong(event) ? Shortened(event).Dump() : event.Dump();
  Queue& queue = TheQueue();
  std::lock_guard<std::mutex> lock(queue.mutex);
  if (!queue.wake) return;
  if (queue.events.size() >= kCapacity) {
    ++queue.dropped;
    return;
  }
  queue.events.push_back(std::move(text));
  if (queue.wakeDue) {
    queue.wakeDue = false;
    queue.wake();
  }
}

void Watch(std::function<void()> wake) {
  Queue& queue = TheQueue();
  std::lock_guard<std::mutex> lock(queue.mutex);
  queue.wake = std::move(wake);
  queue.wakeDue = true;
  gWatched.store(true);
}

void Unwatch() {
  Queue& queue = TheQueue();
  std::function<void()> gone;
  {
    std::lock_guard<std::mutex> lock(queue.mutex);
    gWatched.store(false);
    gone.swap(queue.wake);
    queue.events.clear();
    queue.dropped = 0;
  }
}

std::string Drain() {
  std::deque<std::string> events;
  uint64_t dropped = 0;
  Queue& queue = TheQueue();
  {
    std::lock_guard<std::mutex> lock(queue.mutex);
    events.swap(queue.events);
    std::swap(dropped, queue.dropped);
    queue.wakeDue = true;
  }
  std::string out = "{\"dropped\":" + std::to_string(dropped) +
                    ",\"count\":" + std::to_string(events.size()) + ",\"events\":[";
  for (size_t i = 0; i < events.size(); ++i) {
    if (i) out += ',';
    out += events[i];
  }
  return out + "]}";
}

void ShowCallStart(const char* dir, const Json& id, const std::string& op, Json details) {
  if (!Watched()) return;
  Publish("call.start", CallEvent(dir, id, op, std::move(details)));
}

void ShowCallEnd(const char* dir, const Json& id, const std::string& op, double startedMs,
                 Json details) {
  if (!Watched()) return;
  Json event = CallEvent(dir, id, op, std::move(details));
  event.Set("ms", SteadyMs() - startedMs);
  Publish("call.end", std::move(event));
}

uint64_t NextCallId() {
  static std::atomic<uint64_t> next{1};
  return next.fetch_add(1, std::memory_order_relaxed);
}

double SteadyMs() {
  return std::chrono::duration<double, std::milli>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace quelt::ombrix::emu::inspect
