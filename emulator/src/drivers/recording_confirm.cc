#include "drivers/recording_confirm.h"

#include <string>
#include <vector>

#include "hostile/hostile_callback.h"
#include "inspect/feed.h"
#include "ombrix_addon/records.h"
#include "runtime/task_pool.h"
#include "scripted/faults.h"

namespace quelt::ombrix::emu {

void RecordingConfirm::RequestConfirm(ConfirmActionType actionType, const char* title,
                                      const char* content,
                                      SharedPtr<CallbackItf<ConfirmResult>> callback) {
  if (ApplyFault("RequestConfirm")) return;  // "empty": ignored
  std::lock_guard<std::mutex> lock(mutex_);
  uint32_t id = next_++;
  Json description = Json::MakeObject({{"request", id},
                                       {"actionType", static_cast<int32_t>(actionType)},
                                       {"title", ombrix_records::Copy(title)},
                                       {"content", ombrix_records::Copy(content)}});
  Show(description);
  requests_[id] = Request{std::move(description), std::move(callback)};
}

void RecordingConfirm::Show(Json event) const {
  if (!inspect::Watched()) return;
  event.Set("confirm", feedId_);
  inspect::Publish("chat.confirm", std::move(event));
}

Json RecordingConfirm::Requests() const {
  std::lock_guard<std::mutex> lock(mutex_);
  Json list = Json(Json::Array());
  for (const auto& entry : requests_) {
    Json request = entry.second.description;
    request.Set("answered", !entry.second.callback);
    list.Push(std::move(request));
  }
  return list;
}

bool RecordingConfirm::Answer(uint32_t request, const std::string& responseJson) {
  SharedPtr<CallbackItf<ConfirmResult>> callback;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = requests_.find(request);
    if (found == requests_.end() || !found->second.callback) return false;
    callback = std::move(found->second.callback);
  }
  Show(Json::MakeObject({{"request", request}, {"answer", responseJson}}));
  SharedPtr<CallbackItf<ConfirmResult>> answer = hostile::Wrap(std::move(callback));
  std::function<void()> deliver = [answer, responseJson] {
    answer->OnResult(ConfirmResult{responseJson.c_str()});
  };
  if (!hostile::Deliver(deliver, true)) TaskPool::Quick().Post(std::move(deliver));
  return true;
}

size_t RecordingConfirm::Abandon() {
  std::vector<SharedPtr<CallbackItf<ConfirmResult>>> abandoned;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& entry : requests_) {
      if (entry.second.callback) abandoned.push_back(std::move(entry.second.callback));
    }
  }
  return abandoned.size();  // released here, outside the lock
}

}  // namespace quelt::ombrix::emu
