#include "client/sdk_fernwick_manager.h"

#include "runtime/log.h"
#include "runtime/task_pool.h"
#include "support/text.h"

namespace quelt::ombrix::emu {

void SdkFernwickManager::SetFernwickWorkspace(
    const char* workspace, SharedPtr<CallbackItf<const OperationResult&>> callback) {
  EMU_LOG(LogLevel::kInfo, "client", "%s: workspace of the second runtime: '%s'",
          serverName_.c_str(), Str(workspace).c_str());
  if (!callback) return;
  TaskPool::Quick().Post([callback] { callback->OnResult(OperationResult{}); });
}

}  // namespace quelt::ombrix::emu
