#include "tools/operation.h"

#include <chrono>

namespace quelt::ombrix::emu {

void Handover::Finish(std::function<void()> deliver) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (waiting_) {
    deliver_ = std::move(deliver);
    ready_.notify_all();
    return;
  }
  finished_ = true;
  lock.unlock();
  deliver();
}

void Handover::DeliverHere() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (finished_ || waiting_) return;
  waiting_ = true;
  // Cancelled work ends within milliseconds; one that is not even running
  // yet (every worker busy) is left to deliver on its own.
  if (!ready_.wait_for(lock, std::chrono::seconds(5),
                       [this] { return static_cast<bool>(deliver_); })) {
    waiting_ = false;
    return;
  }
  std::function<void()> deliver = std::move(deliver_);
  finished_ = true;
  lock.unlock();
  deliver();
}

}  // namespace quelt::ombrix::emu
