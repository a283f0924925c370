// What an SDK-side observer was told, in order. Each event is stamped with the
// thread it arrived on and whether that thread runs JavaScript.
#pragma once

#include <cstdint>
#include <mutex>

#include "support/json.h"

namespace quelt::ombrix::emu {

class EventRecorder {
 public:
  // `feedKind`: what the inspector page calls these events.
  explicit EventRecorder(const char* feedKind) : feedKind_(feedKind) {}
  // The id the control surface knows the observer by; set once held, before
  // the observer is handed to the application.
  void SetFeedId(uint64_t id) { feedId_ = id; }
  // Any thread.
  void Record(Json event);
  Json Events() const;

 private:
  const char* feedKind_;
  uint64_t feedId_ = 0;
  mutable std::mutex mutex_;
  Json events_ = Json(Json::Array());
};

}  // namespace quelt::ombrix::emu
