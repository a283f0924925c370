#include "tools/mode.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace quelt::ombrix::emu {

namespace {
std::atomic<Mode> g_defaultMode{Mode::kLoopback};
}

Mode DefaultMode() { return g_defaultMode.load(); }
void SetDefaultMode(Mode mode) { g_defaultMode.store(mode); }
const char* ModeName(Mode mode) { return mode == Mode::kScripted ? "scripted" : "loopback"; }

namespace {
struct Tools {
  std::mutex mutex;
  std::unordered_map<const void*, std::weak_ptr<const void>> clients;
};
Tools& TheTools() {
  static Tools* tools = new Tools;  // weak locks may happen while the process exits
  return *tools;
}
}  // namespace

ToolRegistration::ToolRegistration(const void* tool, const ToolContext& context) : tool_(tool) {
  if (!context.hasClient) return;
  Tools& tools = TheTools();
  std::lock_guard<std::mutex> lock(tools.mutex);
  tools.clients[tool] = context.client;
}

ToolRegistration::~ToolRegistration() {
  Tools& tools = TheTools();
  std::lock_guard<std::mutex> lock(tools.mutex);
  tools.clients.erase(tool_);
}

bool ToolClientGone(const void* tool) noexcept {
  Tools& tools = TheTools();
  std::lock_guard<std::mutex> lock(tools.mutex);
  auto found = tools.clients.find(tool);
  return found != tools.clients.end() && found->second.expired();
}

}  // namespace quelt::ombrix::emu
