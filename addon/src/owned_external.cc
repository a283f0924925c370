#include "owned_external.h"

#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ombrix_addon {
namespace owned_external {

namespace {

// Ids, not addresses: a finalizer that runs after its environment freed the
// data must not free whatever was made at the same address since.
struct Registry {
  std::mutex mutex;
  uint64_t next = 1;
  std::unordered_map<uint64_t, std::pair<napi_env, std::unique_ptr<Data>>> data;
  std::unordered_map<napi_env, std::unordered_set<uint64_t>> byEnv;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // finalizers may run while the process exits
  return *registry;
}

void FreeEnvironment(void* arg) {
  auto env = static_cast<napi_env>(arg);
  std::vector<std::unique_ptr<Data>> freed;
  {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    auto ids = registry.byEnv.find(env);
    if (ids == registry.byEnv.end()) return;
    for (uint64_t id : ids->second) {
      auto found = registry.data.find(id);
      freed.push_back(std::move(found->second.second));
      registry.data.erase(found);
    }
    registry.byEnv.erase(ids);
  }
  // Outside the lock: releasing an SDK object may run SDK code.
}

}  // namespace

uint64_t Adopt(napi_env env, std::unique_ptr<Data> data) {
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> lock(registry.mutex);
  auto ids = registry.byEnv.find(env);
  if (ids == registry.byEnv.end()) {
    napi_add_env_cleanup_hook(env, FreeEnvironment, env);
    ids = registry.byEnv.emplace(env, std::unordered_set<uint64_t>()).first;
  }
  const uint64_t id = registry.next++;
  ids->second.insert(id);
  registry.data.emplace(id, std::make_pair(env, std::move(data)));
  return id;
}

void Free(uint64_t id) {
  std::unique_ptr<Data> freed;
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> lock(registry.mutex);
  auto found = registry.data.find(id);
  if (found == registry.data.end()) return;
  freed = std::move(found->second.second);
  registry.byEnv[found->second.first].erase(id);
  registry.data.erase(found);
}

}  // namespace owned_external
}  // namespace ombrix_addon
