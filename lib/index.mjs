// The ES module face of the same native exports: `import { createOmbrixClient }
// from 'ombrix_addon'` and `import ombrix from 'ombrix_addon'` both work. Node
// cannot see named exports inside a .node file, so they are listed here.
import { createRequire } from 'node:module';

const ombrix = createRequire(import.meta.url)('./index.js');

export default ombrix;
export const {
  ShmRegion,
  createOmbrixClient,
  createGuiTool,
  setLogger,
  getSDKVersion,
  RemoteDeviceStatus,
  RemoteDeviceType,
  FileTransferErrorCode,
  RemoteControlUIType,
  FileEntryType,
  LogLevel,
  ChatStreamEventType,
  ConfirmActionType,
  ToolCallType,
  TodoStatus,
  ResultCode,
  LanguageCode,
  ChatMode,
  NotificationType,
  NotificationPriority,
  AuditSessionStatus,
} = ombrix;
