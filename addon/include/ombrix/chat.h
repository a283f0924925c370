// Chat sessions, implemented by the application and driven by the SDK.
#pragma once

#include <cstdint>

#include "ombrix/callback.h"
#include "ombrix/chat_records.h"
#include "ombrix/chat_stream.h"
#include "ombrix/result.h"

namespace quelt::ombrix {

class ChatSessionItf;

class ChatSessionListItf {
 public:
  virtual ~ChatSessionListItf() = default;
  virtual uint32_t GetCount() const = 0;
  virtual SharedPtr<ChatSessionItf> GetItem(uint32_t index) const = 0;
};

struct CreateSessionResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<ChatSessionItf> session;
};

struct GetSessionsResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<ChatSessionListItf> sessions;
};

struct GetInfoResult {
  ResultCode code = ResultCode::kSuccess;
  const char* errorMessage = nullptr;
  SharedPtr<ChatSessionInfo> info;
};

class ChatSessionObserverItf {
 public:
  virtual ~ChatSessionObserverItf() = default;
  virtual void OnSessionInfoChanged(const ChatSessionInfo& info) = 0;
};

class ChatSessionManagerItf {
 public:
  virtual ~ChatSessionManagerItf() = default;
  virtual void SetLanguageCode(LanguageCode language,
                               SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void CreateSession(ChatMode mode,
                             SharedPtr<CallbackItf<const CreateSessionResult&>> callback) = 0;
  virtual void GetSessions(SharedPtr<CallbackItf<const GetSessionsResult&>> callback) = 0;
};

class ChatSessionItf {
 public:
  virtual ~ChatSessionItf() = default;
  // Synchronous; null until the info is first known.
  virtual SharedPtr<ChatSessionInfo> GetCachedInfo() = 0;
  virtual void GetInfo(SharedPtr<CallbackItf<const GetInfoResult&>> callback) = 0;
  virtual void SetTitle(const char* title,
                        SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  // stream, confirm and attachments may be empty; extra may be null.
  virtual void SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                        SharedPtr<ConfirmCallbackItf> confirm,
                        SharedPtr<CallbackItf<const OperationResult&>> callback,
                        SharedPtr<AttachmentListItf> attachments, const char* extra) = 0;
  virtual void SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                        SharedPtr<ConfirmCallbackItf> confirm,
                        SharedPtr<CallbackItf<const OperationResult&>> callback,
                        SharedPtr<AttachmentListItf> attachments) = 0;
  virtual void SendChat(const char* content, SharedPtr<ChatResponseStreamItf> stream,
                        SharedPtr<ConfirmCallbackItf> confirm,
                        SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void Stop(SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  virtual void Delete(SharedPtr<CallbackItf<const OperationResult&>> callback) = 0;
  // An empty pointer clears the observer.
  virtual void SetObserver(WeakPtr<ChatSessionObserverItf> observer) = 0;
};

}  // namespace quelt::ombrix
