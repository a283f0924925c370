// What an SDK-side observer was told, in order. Each event is stamped with the
// thread it arrived on and whether that thread runs JavaScript.
#pragma once

#include <mutex>

#include "support/json.h"

namespace quelt::ombrix::emu {

class EventRecorder {
 public:
  // Any thread.
  void Record(Json event);
  Json Events() const;

 private:
  mutable std::mutex mutex_;
  Json events_ = Json(Json::Array());
};

}  // namespace quelt::ombrix::emu
