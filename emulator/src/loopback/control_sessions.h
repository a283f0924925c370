// Remote-control sessions in loopback mode: which kinds of user interface are
// open with which device. Thread-safe.
//
// A session is a device and a UI type. Connecting opens it (fails when it is
// already open); disconnecting closes it (fails when it is not open). "ALL"
// connects every kind at once (kinds already open stay open), and
// disconnecting "ALL" closes every session with the device (fails when there
// is none). An empty device id or a UI type outside the enumeration fails.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ombrix/remote_control.h"

namespace quelt::ombrix::emu::loopback {

// "REMOTE_CONTROL", "TERMINAL"…; null for a value outside the enumeration.
const char* UiTypeName(RemoteControlUIType type) noexcept;

class ControlSessions {
 public:
  RemoteControlResult Connect(const std::string& deviceId, RemoteControlUIType type);
  RemoteControlResult Disconnect(const std::string& deviceId, RemoteControlUIType type);
  // Open sessions, ordered by device then UI type.
  std::vector<std::pair<std::string, RemoteControlUIType>> Open() const;

 private:
  using Key = std::pair<std::string, uint32_t>;
  mutable std::mutex mutex_;
  std::set<Key> open_;
};

}  // namespace quelt::ombrix::emu::loopback
