// Exports, enumerations, version and logging.
import * as ombrix from '../..';
import {
  ChatMode, ConfirmActionType, FileTransferErrorCode, LogLevel, ResultCode, TodoStatus,
  getSDKVersion, setLogger,
} from '../..';
import type { LogContext, LogLevelName, VersionInfo } from '../..';

const version: VersionInfo = getSDKVersion();
const text: string = `${version.version} ${version.commitHash} ${version.buildTimestamp}`;
// @ts-expect-error the version record has exactly three strings
version.buildNumber;

// Enumeration members are literal numbers, and their object's type alias is the union.
const warning: 3 = LogLevel.WARNING;
const unknownError: 99 = FileTransferErrorCode.UNKNOWN_ERROR;
const cancelled: TodoStatus = TodoStatus.CANCELLED;
const mode: ChatMode = ombrix.ChatMode.GUIAGENT;
const failed: ResultCode = 8;
// @ts-expect-error ConfirmActionType has no member with value 2
const gap: ConfirmActionType = 2;
// @ts-expect-error a value of another enumeration is not a ChatMode
const wrongEnum: ChatMode = ombrix.RemoteControlUIType.ALL;
// @ts-expect-error enumeration members are read-only
LogLevel.INFO = 7;
// @ts-expect-error there is no such member
ombrix.ResultCode.OK;

// Every enumeration object is exported with its members.
const allEnums = [
  ombrix.RemoteDeviceStatus.ONLINE, ombrix.RemoteDeviceType.WEB, ombrix.FileTransferErrorCode.DISK_FULL,
  ombrix.RemoteControlUIType.SCREEN_MIRROR, ombrix.FileEntryType.SYMLINK, ombrix.LogLevel.FATAL,
  ombrix.ChatStreamEventType.ATTACHMENT, ombrix.ConfirmActionType.SCREEN_LOCKED, ombrix.ToolCallType.END,
  ombrix.TodoStatus.IN_PROGRESS, ombrix.ResultCode.ERROR_SESSION_EXISTS, ombrix.LanguageCode.INDONESIAN,
  ombrix.ChatMode.FERNWICK, ombrix.NotificationType.TASK_COMPLETE, ombrix.NotificationPriority.URGENT,
  ombrix.AuditSessionStatus.STOPPED,
] as const;

// Logging: a callback receiving the context and the message, or null to clear.
const installed: true = setLogger((context: LogContext, message: string) => {
  const level: LogLevelName = context.level;
  const where = `${context.module} ${context.file}:${context.line} ${context.function}`;
  console.log(level, where, message);
}, LogLevel.DEBUG);
setLogger((context) => context.level === 'UNKNOWN');
setLogger(null);
setLogger();
// @ts-expect-error the level is a LogLevel number, not its name
setLogger(() => {}, 'DEBUG');
// @ts-expect-error the callback is a function, not an object with one
setLogger({ log() {} });
// @ts-expect-error the line number is a number
setLogger((context) => { const line: string = context.line; return line; });
// @ts-expect-error a level is one of the names, never a number
setLogger((context) => context.level === 3);

// The native classes are not exported: only ShmRegion has a constructor.
// @ts-expect-error OmbrixClient is a type only
new ombrix.OmbrixClient();
// @ts-expect-error GuiTool is a type only
ombrix.GuiTool;

export { text, warning, unknownError, cancelled, mode, failed, gap, wrongEnum, allEnums, installed };
