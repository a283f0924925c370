#include "drivers/event_recorder.h"

#include <thread>

#include "drivers/drive_log.h"
#include "inspect/feed.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu {

void EventRecorder::Record(Json event) {
  event.Set("thread", CurrentThreadName());
  event.Set("onJsThread", DriveLog::Shared().JsThreads().count(std::this_thread::get_id()) > 0);
  if (inspect::Watched()) {
    inspect::Publish(feedKind_, Json::MakeObject({{"observer", feedId_}, {"event", event}}));
  }
  std::lock_guard<std::mutex> lock(mutex_);
  events_.Push(std::move(event));
}

Json EventRecorder::Events() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return events_;
}

}  // namespace quelt::ombrix::emu
