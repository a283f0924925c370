#include "loopback/control_sessions.h"

namespace quelt::ombrix::emu::loopback {

namespace {

constexpr uint32_t kAll = static_cast<uint32_t>(RemoteControlUIType::kAll);

RemoteControlResult Failed(std::string message) {
  return RemoteControlResult{false, std::move(message)};
}

// Runs `change(kind)` under `mutex` once the arguments name a session.
template <class Change>
RemoteControlResult Checked(const std::string& deviceId, RemoteControlUIType type,
                            std::mutex& mutex, Change change) {
  if (deviceId.empty()) return Failed("Device id is empty");
  if (!UiTypeName(type)) {
    return Failed("Unknown UI type: " + std::to_string(static_cast<uint32_t>(type)));
  }
  std::lock_guard<std::mutex> lock(mutex);
  return change(static_cast<uint32_t>(type));
}

}  // namespace

const char* UiTypeName(RemoteControlUIType type) noexcept {
  static const char* const kNames[] = {"REMOTE_CONTROL", "REMOTE_CONTROL_VIEW_ONLY",
                                       "FILE_TRANSFER",  "TERMINAL",
                                       "AI_TERMINAL",    "CAMERA",
                                       "SCREEN_MIRROR",  "ALL"};
  const auto index = static_cast<uint32_t>(type);
  return index < sizeof kNames / sizeof kNames[0] ? kNames[index] : nullptr;
}

RemoteControlResult ControlSessions::Connect(const std::string& deviceId,
                                             RemoteControlUIType type) {
  return Checked(deviceId, type, mutex_, [&](uint32_t kind) {
    if (kind == kAll) {
      for (uint32_t each = 0; each < kAll; ++each) open_.emplace(deviceId, each);
    } else if (!open_.emplace(deviceId, kind).second) {
      return Failed("Already connected to " + deviceId + " with " + UiTypeName(type));
    }
    return RemoteControlResult{true, ""};
  });
}

RemoteControlResult ControlSessions::Disconnect(const std::string& deviceId,
                                                RemoteControlUIType type) {
  return Checked(deviceId, type, mutex_, [&](uint32_t kind) {
    if (kind == kAll) {
      auto first = open_.lower_bound(Key(deviceId, 0));
      auto last = open_.lower_bound(Key(deviceId, kAll + 1));
      if (first == last) return Failed("Not connected to " + deviceId);
      open_.erase(first, last);
    } else if (open_.erase(Key(deviceId, kind)) == 0) {
      return Failed("Not connected to " + deviceId + " with " + UiTypeName(type));
    }
    return RemoteControlResult{true, ""};
  });
}

std::vector<std::pair<std::string, RemoteControlUIType>> ControlSessions::Open() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::pair<std::string, RemoteControlUIType>> sessions;
  for (const Key& key : open_)
    sessions.emplace_back(key.first, static_cast<RemoteControlUIType>(key.second));
  return sessions;
}

}  // namespace quelt::ombrix::emu::loopback
