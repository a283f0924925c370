// What each driven SDK callback received. A "drive" is one SDK call into a
// JavaScript-backed service, made by the control surface; its callback's
// arguments are decoded to JSON here, with the thread it ran on and how many
// times it ran, and the control surface is told.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "scripted/faults.h"
#include "ombrix/callback.h"
#include "support/json.h"

namespace quelt::ombrix::emu {

class DriveLog {
 public:
  using Listener = std::function<void(uint64_t drive)>;

  static DriveLog& Shared();

  // A listener per control-surface environment; drives report to the one
  // that started them.
  int AddListener(Listener listener);
  void RemoveListener(int token);
  // Threads that run JavaScript, so reports can tell whether a callback did.
  void AddJsThread(std::thread::id thread);
  void RemoveJsThread(std::thread::id thread);
  std::set<std::thread::id> JsThreads() const;

  uint64_t Begin(const std::string& op, int listener);
  // Called by the drive's callback, each time it runs.
  void Report(uint64_t drive, Json received);
  // Called when the drive's callback is destroyed without having run: the
  // report becomes { dropped: true, calls: 0 }.
  void Dropped(uint64_t drive);
  // How many times, in all, a drive's callback ran after its first run.
  uint64_t Duplicates() const;
  // The first report, with "thread", "onJsThread" and the current "calls";
  // null while the callback has neither run nor been dropped.
  Json Get(uint64_t drive) const;
  // The drives whose callback has neither run nor been dropped:
  // [{ dir: "js", id, op, ageMs }].
  Json Pending() const;

 private:
  struct Drive {
    std::string op;
    int listener = 0;
    int calls = 0;
    Json report;
    double started = 0;  // inspect::SteadyMs()
  };
  void Notify(uint64_t drive, const Drive& entry);    // under mutex_
  void Finished(uint64_t drive, const Drive& entry);  // under mutex_

  mutable std::mutex mutex_;
  uint64_t nextDrive_ = 1;
  uint64_t duplicates_ = 0;
  int nextListener_ = 1;
  std::map<uint64_t, Drive> drives_;
  std::map<int, Listener> listeners_;
  std::multiset<std::thread::id> jsThreads_;
};

// The callback a drive hands to the SDK operation.
template <class Record>
class DriveCallback final : public CallbackItf<const Record&> {
 public:
  DriveCallback(uint64_t drive, std::function<Json(const Record&)> describe)
      : drive_(drive), describe_(std::move(describe)) {}
  // A drive whose callback has run ignores this.
  ~DriveCallback() override { DriveLog::Shared().Dropped(drive_); }
  void OnResult(const Record& record) override {
    DriveLog::Shared().Report(drive_, describe_(record));
    ApplyFault("DriveCallback");  // after recording: the answer did arrive
  }

 private:
  uint64_t drive_;
  std::function<Json(const Record&)> describe_;
};

}  // namespace quelt::ombrix::emu
