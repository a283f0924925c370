// Every type the SDK's SharedPtr/WeakPtr are instantiated for. The SDK binary
// defines the pointer members for exactly this list; the label names the type
// in the SDK's live-object counters.
#pragma once

#include "ombrix/client.h"

// X(label, type)
#define OMBRIX_SHARED_TYPES(X)                                                  \
  X(Thread, ThreadItf)                                                          \
  X(OperationHandle, OperationHandleItf)                                        \
  X(OmbrixClient, OmbrixClientItf)                                              \
  X(OmbrixClientObserver, OmbrixClientObserverItf)                              \
  X(AccountTool, AccountToolItf)                                                \
  X(AccountObserver, AccountObserverItf)                                        \
  X(RemoteDeviceList, RemoteDeviceListItf)                                      \
  X(RemoteFileTransfer, RemoteFileTransferItf)                                  \
  X(RemoteControlTool, RemoteControlToolItf)                                    \
  X(RemoteFileTool, RemoteFileToolItf)                                          \
  X(RemoteShellTool, RemoteShellToolItf)                                        \
  X(ToolService, ToolServiceItf)                                                \
  X(ToolCall, ToolCallItf)                                                      \
  X(ChatSessionManager, ChatSessionManagerItf)                                  \
  X(ChatSession, ChatSessionItf)                                                \
  X(ChatSessionObserver, ChatSessionObserverItf)                                \
  X(ChatSessionInfo, ChatSessionInfo)                                           \
  X(ChatSessionList, ChatSessionListItf)                                        \
  X(ChatStreamChunkList, ChatStreamChunkListItf)                                \
  X(AttachmentList, AttachmentListItf)                                          \
  X(ChatResponseStream, ChatResponseStreamItf)                                  \
  X(ConfirmCallback, ConfirmCallbackItf)                                        \
  X(FernwickManager, FernwickManagerItf)                                        \
  X(NotificationService, NotificationServiceItf)                                \
  X(NotificationObserver, NotificationObserverItf)                              \
  X(NotificationList, NotificationListItf)                                      \
  X(AuditSessionManager, AuditSessionManagerItf)                                \
  X(AuditSession, AuditSessionItf)                                              \
  X(AuditSessionObserver, AuditSessionObserverItf)                              \
  X(AuditSessionList, AuditSessionListItf)                                      \
  X(AuditSessionInfo, AuditSessionInfo)                                         \
  X(StringCallback, CallbackItf<const char*>)                                   \
  X(DeviceListCallback, CallbackItf<SharedPtr<RemoteDeviceListItf>>)            \
  X(FileTransferCallback, CallbackItf<const FileTransferStatus&>)               \
  X(RemoteControlCallback, CallbackItf<const RemoteControlResult&>)             \
  X(LockScreenCallback, CallbackItf<const RemoteDeviceLockScreenStatusResult&>) \
  X(FileReadCallback, CallbackItf<const FileReadResult&>)                       \
  X(FileWriteCallback, CallbackItf<const FileWriteResult&>)                     \
  X(FileReplaceCallback, CallbackItf<const FileReplaceResult&>)                 \
  X(FileSearchCallback, CallbackItf<const FileSearchResult&>)                   \
  X(FileFindCallback, CallbackItf<const FileFindResult&>)                       \
  X(DirListCallback, CallbackItf<const DirListResult&>)                         \
  X(ShellExecCallback, CallbackItf<const ShellExecResult&>)                     \
  X(ToolServiceCallback, CallbackItf<const ToolServiceResult&>)                 \
  X(OperationCallback, CallbackItf<const OperationResult&>)                     \
  X(CreateSessionCallback, CallbackItf<const CreateSessionResult&>)             \
  X(GetSessionsCallback, CallbackItf<const GetSessionsResult&>)                 \
  X(GetInfoCallback, CallbackItf<const GetInfoResult&>)                         \
  X(ConfirmResultCallback, CallbackItf<ConfirmResult>)                          \
  X(GetNotificationsCallback, CallbackItf<const GetNotificationsResult&>)       \
  X(CreateAuditSessionCallback, CallbackItf<const CreateAuditSessionResult&>)   \
  X(GetAuditSessionsCallback, CallbackItf<const GetAuditSessionsResult&>)       \
  X(GetAuditInfoCallback, CallbackItf<const GetAuditInfoResult&>)               \
  X(GetAuditReportCallback, CallbackItf<const GetAuditReportResult&>)

namespace quelt::ombrix {

// Defined only in the SDK binary; never instantiate them here.
#define OMBRIX_DECLARE_EXTERN_POINTERS(label, ...) \
  extern template class SharedPtr<__VA_ARGS__>;    \
  extern template class WeakPtr<__VA_ARGS__>;
OMBRIX_SHARED_TYPES(OMBRIX_DECLARE_EXTERN_POINTERS)
#undef OMBRIX_DECLARE_EXTERN_POINTERS

}  // namespace quelt::ombrix
