// Whether an SDK object does real work on this machine or waits for a script.
#pragma once

#include <memory>

namespace quelt::ombrix::emu {

enum class Mode { kLoopback, kScripted };

// The mode given to clients created from now on (and to their tools).
Mode DefaultMode();
void SetDefaultMode(Mode mode);
const char* ModeName(Mode mode);

// What a tool carries from the client that made it.
struct ToolContext {
  Mode mode = Mode::kLoopback;
  std::weak_ptr<const void> client;  // empty for a tool no client made
  bool hasClient = false;

  ToolContext() = default;
  ToolContext(Mode toolMode, std::weak_ptr<const void> owner)
      : mode(toolMode), client(std::move(owner)), hasClient(true) {}
  bool ClientGone() const { return hasClient && client.expired(); }
};

// Each tool object is listed under the interface pointer the SDK's pointers
// hold, so that hostile mode can fail a weak lock of a tool whose client is
// gone, as an SDK that tears its tools down with their client would.
class ToolRegistration {
 public:
  ToolRegistration(const void* tool, const ToolContext& context);
  ~ToolRegistration();
  ToolRegistration(const ToolRegistration&) = delete;
  ToolRegistration& operator=(const ToolRegistration&) = delete;

 private:
  const void* tool_;
};
// True for a listed tool whose client is gone.
bool ToolClientGone(const void* tool) noexcept;

}  // namespace quelt::ombrix::emu
