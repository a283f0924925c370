// Scripted mode: every SDK operation is captured here instead of being
// performed, and the test completes it later (with any record, from an SDK
// thread), drops it, or leaves it pending for ever.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu {

class CallLog {
 public:
  // Delivers a completion record to the operation's callback.
  using Completer = std::function<void(const Json& record)>;

  static CallLog& Shared();

  // Records the call and returns its id. With an auto-completion rule for the
  // operation, it is completed at once instead (and not listed).
  uint64_t Capture(const std::string& op, Json args, Completer complete);

  // Completes from a pool thread. False when the id is not pending.
  bool Complete(uint64_t id, const Json& record);
  // The SDK lets go of the callback without invoking it (on a pool thread).
  bool Drop(uint64_t id);
  bool MarkCancelled(uint64_t id);  // false once the call is completed

  // [{ id, op, args, thread, cancelled }] in capture order.
  Json Pending() const;
  // Every later call of `op` completes at once with `record`; null clears.
  void SetAutoComplete(const std::string& op, const Json& record);

 private:
  // Removes a pending call; empty when the id is not pending.
  Completer Take(uint64_t id);

  struct Entry {
    std::string op;
    std::string args;  // as text: a pending call's arguments are read only when listed
    std::string thread;
    bool cancelled = false;
    Completer complete;
  };

  mutable std::mutex mutex_;
  uint64_t nextId_ = 1;
  std::map<uint64_t, Entry> pending_;
  // Shared, not copied, by the completions in flight.
  std::map<std::string, std::shared_ptr<const Json>> autoComplete_;
};

}  // namespace quelt::ombrix::emu
