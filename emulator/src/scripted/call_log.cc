#include "scripted/call_log.h"

#include "hostile/hostile.h"
#include "runtime/log.h"
#include "runtime/task_pool.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu {

CallLog& CallLog::Shared() {
  static CallLog* log = new CallLog;
  return *log;
}

uint64_t CallLog::Capture(const std::string& op, Json args, Completer complete) {
  uint64_t id;
  std::shared_ptr<const Json> autoRecord;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    id = nextId_++;
    auto rule = autoComplete_.find(op);
    if (rule != autoComplete_.end()) {
      autoRecord = rule->second;
    } else {
      std::string text = args.Dump();
      text.shrink_to_fit();  // Dump grows it by doubling; it is kept for as long as the call pends
      pending_[id] = Entry{op, std::move(text), CurrentThreadName(), false, std::move(complete)};
    }
  }
  if (autoRecord) {
    // Hostile mode may complete it here, inside the caller's call.
    std::function<void()> deliver = [complete = std::move(complete), autoRecord] {
      complete(*autoRecord);
    };
    if (!hostile::Deliver(deliver, true)) TaskPool::Quick().Post(std::move(deliver));
  } else {
    EMU_LOG(LogLevel::kDebug, "scripted", "captured %s #%llu", op.c_str(),
            static_cast<unsigned long long>(id));
  }
  return id;
}

CallLog::Completer CallLog::Take(uint64_t id) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = pending_.find(id);
  if (found == pending_.end()) return nullptr;
  Completer complete = std::move(found->second.complete);
  pending_.erase(found);
  return complete;
}

bool CallLog::Complete(uint64_t id, const Json& record) {
  Completer complete = Take(id);
  if (!complete) return false;
  std::function<void()> deliver = [complete = std::move(complete), record] { complete(record); };
  if (!hostile::Deliver(deliver, true)) TaskPool::Quick().Post(std::move(deliver));
  return true;
}

bool CallLog::Drop(uint64_t id) {
  Completer complete = Take(id);
  if (!complete) return false;
  // The callback is released on an SDK thread, as a real SDK would.
  TaskPool::Quick().Post([complete = std::move(complete)]() mutable { complete = nullptr; });
  return true;
}

bool CallLog::MarkCancelled(uint64_t id) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = pending_.find(id);
  if (found == pending_.end()) return false;
  found->second.cancelled = true;
  return true;
}

Json CallLog::Pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  Json calls = Json(Json::Array());
  for (const auto& entry : pending_) {
    calls.Push(Json::MakeObject({{"id", Json(entry.first)},
                                 {"op", Json(entry.second.op)},
                                 {"args", Json::Parse(entry.second.args)},
                                 {"thread", Json(entry.second.thread)},
                                 {"cancelled", Json(entry.second.cancelled)}}));
  }
  return calls;
}

void CallLog::SetAutoComplete(const std::string& op, const Json& record) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (record.IsNull()) {
    autoComplete_.erase(op);
  } else {
    autoComplete_[op] = std::make_shared<const Json>(record);
  }
}

}  // namespace quelt::ombrix::emu
