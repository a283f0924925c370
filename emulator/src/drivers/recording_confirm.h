// The SDK's confirmation requester: it records each request the application
// makes and holds its callback until the test answers it (or never does).
#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include "ombrix/chat_stream.h"
#include "support/json.h"

namespace quelt::ombrix::emu {

class RecordingConfirm final : public ConfirmCallbackItf {
 public:
  void RequestConfirm(ConfirmActionType actionType, const char* title, const char* content,
                      SharedPtr<CallbackItf<ConfirmResult>> callback) override;

  // [{ request, actionType, title, content, answered }]
  Json Requests() const;
  // Answers from an SDK thread; false when there is no such unanswered request.
  bool Answer(uint32_t request, const std::string& responseJson);
  // The SDK gives up on every unanswered request: their callbacks are
  // released without a result. Returns how many there were.
  size_t Abandon();
  // The id the control surface knows it by, for the inspector page; set once
  // held, before the requester is handed to the application.
  void SetFeedId(uint64_t id) { feedId_ = id; }

 private:
  struct Request {
    Json description;
    SharedPtr<CallbackItf<ConfirmResult>> callback;
  };
  void Show(Json event) const;  // to a page that watches

  uint64_t feedId_ = 0;
  mutable std::mutex mutex_;
  std::map<uint32_t, Request> requests_;
  uint32_t next_ = 0;
};

}  // namespace quelt::ombrix::emu
