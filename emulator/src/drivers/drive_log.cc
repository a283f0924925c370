#include "drivers/drive_log.h"

#include "inspect/feed.h"
#include "runtime/log.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu {

DriveLog& DriveLog::Shared() {
  static DriveLog* log = new DriveLog;
  return *log;
}

int DriveLog::AddListener(Listener listener) {
  std::lock_guard<std::mutex> lock(mutex_);
  int token = nextListener_++;
  listeners_[token] = std::move(listener);
  return token;
}

void DriveLog::RemoveListener(int token) {
  std::lock_guard<std::mutex> lock(mutex_);
  listeners_.erase(token);
}

void DriveLog::AddJsThread(std::thread::id thread) {
  std::lock_guard<std::mutex> lock(mutex_);
  jsThreads_.insert(thread);
}

void DriveLog::RemoveJsThread(std::thread::id thread) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = jsThreads_.find(thread);
  if (found != jsThreads_.end()) jsThreads_.erase(found);
}

std::set<std::thread::id> DriveLog::JsThreads() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::set<std::thread::id>(jsThreads_.begin(), jsThreads_.end());
}

uint64_t DriveLog::Begin(const std::string& op, int listener) {
  uint64_t id;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    id = nextDrive_++;
    drives_[id] = Drive{op, listener, 0, Json(), inspect::SteadyMs()};
  }
  inspect::ShowCallStart("js", Json(id), op, Json::MakeObject({}));
  return id;
}

// What the page is told when a drive's callback first runs or is dropped.
void DriveLog::Finished(uint64_t drive, const Drive& entry) {
  inspect::ShowCallEnd("js", Json(drive), entry.op, entry.started,
                       Json::MakeObject({{"result", entry.report}}));
}

Json DriveLog::Pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  const double now = inspect::SteadyMs();
  Json pending = Json(Json::Array());
  for (const auto& [id, entry] : drives_) {
    if (entry.calls > 0 || !entry.report.IsNull()) continue;
    pending.Push(Json::MakeObject(
        {{"dir", "js"}, {"id", id}, {"op", entry.op}, {"ageMs", now - entry.started}}));
  }
  return pending;
}

void DriveLog::Report(uint64_t drive, Json received) {
  // The listener is called under the lock, so that once RemoveListener has
  // returned it is never called again. Listeners only queue, never wait.
  std::lock_guard<std::mutex> lock(mutex_);
  {
    auto found = drives_.find(drive);
    if (found == drives_.end()) return;
    Drive& entry = found->second;
    if (++entry.calls > 1) {
      ++duplicates_;
      EMU_LOG(LogLevel::kError, "driver", "%s #%llu: callback invoked %d times", entry.op.c_str(),
              static_cast<unsigned long long>(drive), entry.calls);
      return;
    }
    received.Set("thread", CurrentThreadName());
    received.Set("onJsThread", jsThreads_.count(std::this_thread::get_id()) > 0);
    entry.report = std::move(received);
    Notify(drive, entry);
    Finished(drive, entry);
  }
}

void DriveLog::Dropped(uint64_t drive) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = drives_.find(drive);
  if (found == drives_.end() || found->second.calls > 0) return;
  found->second.report = Json::MakeObject({{"dropped", true}});
  Notify(drive, found->second);
  Finished(drive, found->second);
}

void DriveLog::Notify(uint64_t drive, const Drive& entry) {
  auto listener = listeners_.find(entry.listener);
  if (listener != listeners_.end()) listener->second(drive);
}

uint64_t DriveLog::Duplicates() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return duplicates_;
}

Json DriveLog::Get(uint64_t drive) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = drives_.find(drive);
  if (found == drives_.end() || found->second.report.IsNull()) return Json();
  Json report = found->second.report;
  report.Set("calls", found->second.calls);
  return report;
}

}  // namespace quelt::ombrix::emu
