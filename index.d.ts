/// <reference types="node" />
// Declarations of the module's JavaScript surface. Classes that the module
// creates but does not export (OmbrixClient, the tools, GuiTool) are
// interfaces: there is no constructor to call. Objects the application
// supplies are interfaces it implements. docs/api/ explains each of them.

// ---------------------------------------------------------------------------
// Enumerations: plain objects of numbers, and the union of their values.
// ---------------------------------------------------------------------------

/** Whether a remote device is reachable. */
export declare const RemoteDeviceStatus: {
  readonly UNKNOWN: 0;
  readonly OFFLINE: 1;
  readonly ONLINE: 2;
};
export type RemoteDeviceStatus = (typeof RemoteDeviceStatus)[keyof typeof RemoteDeviceStatus];

/** The platform of a remote device. */
export declare const RemoteDeviceType: {
  readonly UNKNOWN: 0;
  readonly PC_WINDOWS: 1;
  readonly PC_MAC: 2;
  readonly PC_LINUX: 3;
  readonly MOBILE_ANDROID: 4;
  readonly MOBILE_IOS: 5;
  readonly WEB: 6;
};
export type RemoteDeviceType = (typeof RemoteDeviceType)[keyof typeof RemoteDeviceType];

/** Outcome of a file transfer; UNKNOWN_ERROR is 99. */
export declare const FileTransferErrorCode: {
  readonly SUCCESS: 0;
  readonly FILE_NOT_FOUND: 1;
  readonly PERMISSION_DENIED: 2;
  readonly NETWORK_ERROR: 3;
  readonly DISK_FULL: 4;
  readonly CANCELLED: 5;
  readonly UNKNOWN_ERROR: 99;
};
export type FileTransferErrorCode = (typeof FileTransferErrorCode)[keyof typeof FileTransferErrorCode];

/** The user interface a remote-control session opens. */
export declare const RemoteControlUIType: {
  readonly REMOTE_CONTROL: 0;
  readonly REMOTE_CONTROL_VIEW_ONLY: 1;
  readonly FILE_TRANSFER: 2;
  readonly TERMINAL: 3;
  readonly AI_TERMINAL: 4;
  readonly CAMERA: 5;
  readonly SCREEN_MIRROR: 6;
  readonly ALL: 7;
};
export type RemoteControlUIType = (typeof RemoteControlUIType)[keyof typeof RemoteControlUIType];

/** Kind of a directory entry in a dirList result. */
export declare const FileEntryType: {
  readonly UNSPECIFIED: 0;
  readonly FILE: 1;
  readonly DIRECTORY: 2;
  readonly SYMLINK: 3;
  readonly OTHER: 4;
};
export type FileEntryType = (typeof FileEntryType)[keyof typeof FileEntryType];

/** SDK log levels; also the minLevel of setLogger. */
export declare const LogLevel: {
  readonly TRACE: 0;
  readonly DEBUG: 1;
  readonly INFO: 2;
  readonly WARNING: 3;
  readonly ERROR: 4;
  readonly FATAL: 5;
};
export type LogLevel = (typeof LogLevel)[keyof typeof LogLevel];

/** Kind of a chat history event or streamed chunk. */
export declare const ChatStreamEventType: {
  readonly START: 0;
  readonly CHUNK: 1;
  readonly END: 2;
  readonly ERROR: 3;
  readonly THINKING_START: 4;
  readonly THINKING_CHUNK: 5;
  readonly THINKING_END: 6;
  readonly SUGGESTIONS: 7;
  readonly ATTACHMENT: 8;
};
export type ChatStreamEventType = (typeof ChatStreamEventType)[keyof typeof ChatStreamEventType];

/** What a confirmation asks the user about; there is no member 2. */
export declare const ConfirmActionType: {
  readonly HIGH_RISK_OPERATION: 0;
  readonly DISAMBIGUATION: 1;
  readonly QR_LOGIN: 3;
  readonly FILE_CONFLICT: 4;
  readonly CONTENT_REVIEW: 5;
  readonly ELEMENT_NOT_FOUND: 6;
  readonly SCREEN_LOCKED: 7;
};
export type ConfirmActionType = (typeof ConfirmActionType)[keyof typeof ConfirmActionType];

/** Whether a streamed tool call starts or ends. */
export declare const ToolCallType: {
  readonly START: 0;
  readonly END: 1;
};
export type ToolCallType = (typeof ToolCallType)[keyof typeof ToolCallType];

/** State of a streamed todo item. */
export declare const TodoStatus: {
  readonly PENDING: 0;
  readonly IN_PROGRESS: 1;
  readonly COMPLETED: 2;
  readonly CANCELLED: 3;
};
export type TodoStatus = (typeof TodoStatus)[keyof typeof TodoStatus];

/** The "code" of every result the application's services fulfil with. */
export declare const ResultCode: {
  readonly SUCCESS: 0;
  readonly ERROR_UNKNOWN: 1;
  readonly ERROR_NOT_CONNECTED: 2;
  readonly ERROR_TIMEOUT: 3;
  readonly ERROR_INVALID_PARAM: 4;
  readonly ERROR_PERMISSION_DENIED: 5;
  readonly ERROR_SESSION_NOT_FOUND: 6;
  readonly ERROR_SESSION_EXISTS: 7;
  readonly ERROR_OPERATION_FAILED: 8;
};
export type ResultCode = (typeof ResultCode)[keyof typeof ResultCode];

/** Language the chat session manager is asked to use. */
export declare const LanguageCode: {
  readonly ENGLISH: 0;
  readonly CHINESE_SIMPLIFIED: 1;
  readonly CHINESE_TRADITIONAL: 2;
  readonly JAPANESE: 3;
  readonly THAI: 4;
  readonly VIETNAMESE: 5;
  readonly INDONESIAN: 6;
};
export type LanguageCode = (typeof LanguageCode)[keyof typeof LanguageCode];

/** Agent runtime a chat session runs on. */
export declare const ChatMode: {
  readonly OMBRIX: 0;
  readonly FERNWICK: 1;
  readonly GUIAGENT: 2;
};
export type ChatMode = (typeof ChatMode)[keyof typeof ChatMode];

/** Kind of an application notification. */
export declare const NotificationType: {
  readonly REMINDER: 0;
  readonly SYSTEM: 1;
  readonly TASK_COMPLETE: 2;
  readonly ALERT: 3;
};
export type NotificationType = (typeof NotificationType)[keyof typeof NotificationType];

/** Priority of an application notification. */
export declare const NotificationPriority: {
  readonly LOW: 0;
  readonly NORMAL: 1;
  readonly HIGH: 2;
  readonly URGENT: 3;
};
export type NotificationPriority = (typeof NotificationPriority)[keyof typeof NotificationPriority];

/** State of an audit session. */
export declare const AuditSessionStatus: {
  readonly CREATED: 0;
  readonly RUNNING: 1;
  readonly STOPPED: 2;
  readonly ERROR: 3;
};
export type AuditSessionStatus = (typeof AuditSessionStatus)[keyof typeof AuditSessionStatus];

// ---------------------------------------------------------------------------
// Module functions, version and logging
// ---------------------------------------------------------------------------

/** Build identity of the loaded SDK. */
export interface VersionInfo {
  /** SDK version text. */
  version: string;
  /** Source revision the SDK was built from. */
  commitHash: string;
  /** When the SDK was built. */
  buildTimestamp: string;
}

/** Returns a new record of the loaded SDK's version; arguments are ignored. */
export declare function getSDKVersion(): VersionInfo;

/** The stable `code` of every Error the module raises (docs/api/README.md lists when). */
export type OmbrixErrorCode =
  | 'ERR_OMBRIX_INVALID_ARG'
  | 'ERR_OMBRIX_NOT_INITIALIZED'
  | 'ERR_OMBRIX_TOOL_DESTROYED'
  | 'ERR_OMBRIX_NO_RESULT'
  | 'ERR_OMBRIX_SDK_FAILURE'
  | 'ERR_OMBRIX_UNAVAILABLE'
  | 'ERR_OMBRIX_ABORTED'
  | 'ERR_OMBRIX_NOT_OPEN'
  | 'ERR_OMBRIX_ALREADY_LOCKED'
  | 'ERR_OMBRIX_OUT_OF_RANGE'
  | 'ERR_OMBRIX_ILLEGAL_INVOCATION'
  | 'ERR_OMBRIX_INTERNAL'
  | 'ERR_OMBRIX_LOAD';

/** An Error raised by the module: its text is the one the API guide gives, `code` is stable. */
export interface OmbrixError extends Error {
  code: OmbrixErrorCode;
}

/** Level names a log line can carry; "UNKNOWN" for a level outside 0..5. */
export type LogLevelName = 'TRACE' | 'DEBUG' | 'INFO' | 'WARNING' | 'ERROR' | 'FATAL' | 'UNKNOWN';

/** Where an SDK log line comes from; absent strings arrive as "". */
export interface LogContext {
  /** Name of the line's level. */
  level: LogLevelName;
  /** Module tag of the writer. */
  module: string;
  /** Source file of the writer. */
  file: string;
  /** Source line of the writer. */
  line: number;
  /** Function of the writer. */
  function: string;
}

/** Receives every SDK log line at or above the installed level, on the JavaScript thread. */
export type LogCallback = (context: LogContext, message: string) => void;

/**
 * Installs `callback` as the SDK log sink (minLevel 0..5, else INFO), or clears it with null or no argument; returns true.
 * @throws {TypeError} "Expected callback function or null as first argument"
 * @throws {Error} "Failed to set logger: " followed by the SDK's message
 * @throws {Error} "Failed to clear logger: " followed by the SDK's message
 */
export declare function setLogger(callback?: LogCallback | null, minLevel?: LogLevel): true;

/** Creates a GuiTool; arguments are ignored. */
export declare function createGuiTool(): GuiTool;

// ---------------------------------------------------------------------------
// Client
// ---------------------------------------------------------------------------

/** Configuration of createOmbrixClient; no other key is read. */
export interface OmbrixClientConfig {
  /** Server the client connects to; non-empty. */
  serverName: string;
}

/**
 * Creates the agent client over the application's chat session manager and notification service (either may be null).
 * @throws {TypeError} "Expected at least 1 argument: config"
 * @throws {TypeError} "Expected config object as first argument"
 * @throws {TypeError} "createOmbrixClient: config.serverName (string) is required"
 * @throws {TypeError} "createOmbrixClient: config.serverName must be non-empty"
 * @throws {TypeError} "Expected ChatSessionManager object as second argument"
 * @throws {TypeError} "Expected NotificationService object as third argument"
 * @throws {Error} "Failed to create signaling thread"
 * @throws {Error} "Failed to create OmbrixClient"
 * @throws {Error} "Failed to create OmbrixClient: " followed by the SDK's message
 */
export declare function createOmbrixClient(
  config: OmbrixClientConfig,
  chatSessionManager?: ChatSessionManager | null,
  notificationService?: NotificationService | null,
): OmbrixClient;

/** Callbacks for the client's events; each may be left out. */
export interface OmbrixClientObserver {
  /** Called with a new ToolService when the SDK announces one. */
  onNewToolService?: (service: ToolService) => void;
  /** Stored but never called: connection-state changes do not reach JavaScript. */
  onConnectionStateChanged?: (state: number) => void;
  /** Called with no arguments when the tool service disconnects. */
  onToolServiceDisconnected?: () => void;
}

declare const fernwickManagerHandle: unique symbol;

/** Opaque handle that keeps the SDK's Fernwick manager alive while it is reachable. */
export interface FernwickManagerHandle {
  /** Brand only: the handle has no properties. */
  readonly [fernwickManagerHandle]: never;
}

/**
 * What a tool factory of OmbrixClient rejects with when the SDK gives no tool: the bare string, not an Error, so it
 * has no `code`; test `typeof reason === 'string'`.
 */
export type FactoryRejection =
  | 'Failed to create AccountTool'
  | 'Failed to create RemoteFileTransfer'
  | 'Failed to create RemoteControlTool'
  | 'Failed to create RemoteFileTool'
  | 'Failed to create RemoteShellTool';

/** The agent client; made by createOmbrixClient and kept alive (with the process) until collected. */
export interface OmbrixClient {
  /**
   * Creates the account tool.
   * @throws {Error} "Client is not initialized"
   * @rejects {FactoryRejection} "Failed to create AccountTool"
   */
  createAccountTool(): Promise<AccountTool>;
  /**
   * Creates the remote file transfer tool.
   * @throws {Error} "Client is not initialized"
   * @rejects {FactoryRejection} "Failed to create RemoteFileTransfer"
   */
  createRemoteFileTransferTool(): Promise<RemoteFileTransferTool>;
  /**
   * Creates the remote control tool.
   * @throws {Error} "Client is not initialized"
   * @rejects {FactoryRejection} "Failed to create RemoteControlTool"
   */
  createRemoteControlTool(): Promise<RemoteControlTool>;
  /**
   * Creates the remote file tool.
   * @throws {Error} "Client is not initialized"
   * @rejects {FactoryRejection} "Failed to create RemoteFileTool"
   */
  createRemoteFileTool(): Promise<RemoteFileTool>;
  /**
   * Creates the remote shell tool.
   * @throws {Error} "Client is not initialized"
   * @rejects {FactoryRejection} "Failed to create RemoteShellTool"
   */
  createRemoteShellTool(): Promise<RemoteShellTool>;
  /**
   * Stores the observer's callbacks; a key left out keeps the earlier callback.
   * @throws {TypeError} "Expected observer object as first argument"
   */
  setObserver(observer: OmbrixClientObserver): void;
  /**
   * Gives the SDK the application's audit session manager, or takes it away with null or no argument.
   * @throws {Error} "Client is not initialized"
   * @throws {TypeError} "Expected AuditSessionManager object or null"
   */
  setAuditManager(manager?: AuditSessionManager | null): void;
  /**
   * Asks the SDK for the Fernwick workspace path.
   * @throws {Error} "OmbrixClient is not initialized"
   * @rejects {Error} "Fernwick workspace not available"
   * @rejects {Error} "Fernwick workspace request aborted"
   */
  getFernwickWorkspace(): Promise<string>;
  /**
   * Hosts the Fernwick runtime with the application's workspace manager (or none) and returns the SDK's manager handle.
   * @throws {Error} "OmbrixClient is not initialized"
   * @throws {TypeError} "createFernwickManager: arg 1 must be an FernwickManager object, null, or undefined"
   * @throws {Error} "createFernwickManager returned null (client not yet initialized?)"
   * @throws {Error} "createFernwickManager failed: " followed by the SDK's message
   */
  createFernwickManager(manager?: FernwickManager | null): FernwickManagerHandle;
  /**
   * Lets go of the SDK client now instead of at collection: observer events stop, the client no
   * longer keeps the process alive, and its methods throw "Client is not initialized" (or
   * "OmbrixClient is not initialized") from then on. Tools made earlier keep their own hold on the
   * SDK and answer as the SDK does without a client. Calling it again does nothing.
   */
  close(): void;
  /** The same as close(): `using client = createOmbrixClient(…)` closes it at the end of the scope. */
  [Symbol.dispose](): void;
}

// ---------------------------------------------------------------------------
// Account tool
// ---------------------------------------------------------------------------

/** One of the account's remote devices. */
export interface RemoteDevice {
  /** Device identifier, as the other tools take it. */
  deviceId: string;
  /** Display name. */
  deviceName: string;
  /** Platform of the device. */
  deviceType: RemoteDeviceType;
  /** Reachability of the device. */
  deviceStatus: RemoteDeviceStatus;
}

/** Callbacks for token renewals; each may be left out. */
export interface AccountObserver {
  /** Called with the renewed account token. */
  onTokenUpdated?: (token: string) => void;
  /** Called with the renewed MCP token. */
  onMcpTokenUpdated?: (token: string) => void;
}

/** The signed-in account, the local device and the account's remote devices. */
export interface AccountTool {
  /**
   * Resolves with the account's identifier.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  getAccountId(): Promise<string>;
  /**
   * Resolves with the account's description.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  getAccountDescription(): Promise<string>;
  /**
   * Resolves with a new account token.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  generateAccountToken(): Promise<string>;
  /**
   * Resolves with a new MCP token.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  generateMcpToken(): Promise<string>;
  /**
   * Resolves with this device's identifier.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  getLocalDeviceId(): Promise<string>;
  /**
   * Resolves with this device's name.
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  getLocalDeviceName(): Promise<string>;
  /**
   * Resolves with the account's remote devices, in the SDK's order ([] when there are none).
   * @rejects {Error} "Tool is not initialized"
   * @rejects {Error} "Tool has been destroyed"
   */
  getRemoteDeviceList(): Promise<RemoteDevice[]>;
  /**
   * Stores the observer's token callbacks, replacing earlier ones.
   * @throws {TypeError} "Expected observer object as first argument"
   */
  setObserver(observer: AccountObserver): void;
}

// ---------------------------------------------------------------------------
// Remote file transfer and remote control
// ---------------------------------------------------------------------------

/** Outcome of a file transfer; there is no "success": errorCode tells. */
export interface FileTransferStatus {
  /** Path of the transferred file. */
  path: string;
  /** Bytes transferred. */
  fileSize: number;
  /** Duration of the transfer, in the SDK's unit. */
  transferTime: number;
  /** SUCCESS, or why the transfer failed (99 when the tool was destroyed). */
  errorCode: FileTransferErrorCode;
  /** Failure text; "" on success. */
  errorMessage: string;
}

/** Copies whole files between this machine and a remote device. */
export interface RemoteFileTransferTool {
  /**
   * Copies remotePath on the device to localPath.
   * @throws {TypeError} "Expected (deviceId: string, localPath: string, remotePath: string)"
   * @rejects {Error} "Tool is not initialized"
   */
  downloadFile(deviceId: string, localPath: string, remotePath: string): Promise<FileTransferStatus>;
  /**
   * Copies localPath to remotePath on the device.
   * @throws {TypeError} "Expected (deviceId: string, localPath: string, remotePath: string)"
   * @rejects {Error} "Tool is not initialized"
   */
  uploadFile(deviceId: string, localPath: string, remotePath: string): Promise<FileTransferStatus>;
}

/** Outcome of opening or closing a remote-control session. */
export interface RemoteControlResult {
  /** Whether the SDK succeeded. */
  success: boolean;
  /** Failure text; "" on success. */
  errorMessage: string;
}

/** Whether a remote device's screen is locked. */
export interface RemoteDeviceLockScreenStatusResult {
  /** Whether the query succeeded. */
  success: boolean;
  /** Whether the screen is locked. */
  isLocked: boolean;
  /** Failure text; "" on success. */
  errorMessage: string;
}

/** Opens and closes remote-control user interfaces and queries the lock screen. */
export interface RemoteControlTool {
  /**
   * Opens a remote-control session with the given user interface.
   * @throws {TypeError} "Expected (deviceId: string, uiType: number)"
   * @rejects {Error} "Tool is not initialized"
   */
  connectToDeviceWithUI(deviceId: string, uiType: RemoteControlUIType): Promise<RemoteControlResult>;
  /**
   * Closes the remote-control session opened with that user interface.
   * @throws {TypeError} "Expected (deviceId: string, uiType: number)"
   * @rejects {Error} "Tool is not initialized"
   */
  disconnectFromDevice(deviceId: string, uiType: RemoteControlUIType): Promise<RemoteControlResult>;
  /**
   * Asks whether the device's screen is locked.
   * @throws {TypeError} "Expected (deviceId: string)"
   * @rejects {Error} "Tool is not initialized"
   */
  getDeviceLockScreenStatus(deviceId: string): Promise<RemoteDeviceLockScreenStatusResult>;
}

// ---------------------------------------------------------------------------
// Remote file tool
// ---------------------------------------------------------------------------

/** Lines read from a remote file. */
export interface FileReadResult {
  /** Whether the read succeeded. */
  success: boolean;
  /** The text read. */
  content: string;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** First line returned. */
  dataStartLine: number;
  /** Last line returned. */
  dataEndLine: number;
  /** Lines in the whole file. */
  originalLineCount: number;
  /** Whether the content was cut. */
  isTruncated: boolean;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Outcome of a write. */
export interface FileWriteResult {
  /** Whether the write succeeded. */
  success: boolean;
  /** The SDK's report. */
  message: string;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Outcome of a replacement; the same shape as a write's. */
export interface FileReplaceResult {
  /** Whether the replacement succeeded. */
  success: boolean;
  /** The SDK's report. */
  message: string;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Lines of a file that match a pattern. */
export interface FileSearchResult {
  /** Whether the search succeeded. */
  success: boolean;
  /** The matching lines as one text. */
  matches: string;
  /** Number of matches. */
  matchCount: number;
  /** The SDK's report. */
  message: string;
  /** Failure text, "Cancelled" after an abort. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Paths whose names match a pattern. */
export interface FileFindResult {
  /** Whether the search succeeded. */
  success: boolean;
  /** The paths found, in the SDK's order. */
  filePaths: string[];
  /** How many were found in all. */
  totalFound: number;
  /** Whether more were found than returned. */
  truncated: boolean;
  /** The SDK's report. */
  message: string;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** One entry of a directory listing. */
export interface DirEntry {
  /** Entry name. */
  name: string;
  /** Kind of entry. */
  type: FileEntryType;
  /** Size in bytes. */
  size: number;
  /** Modification time as the SDK gives it. */
  modifiedTime: number;
}

/** A directory listing. */
export interface DirListResult {
  /** Whether the listing succeeded. */
  success: boolean;
  /** The entries, in the SDK's order. */
  entries: DirEntry[];
  /** Number of directories. */
  directoryCount: number;
  /** Number of files. */
  fileCount: number;
  /** Bytes in all entries. */
  totalSize: number;
  /** The SDK's report. */
  message: string;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Reads, writes, edits, searches and lists files on a remote device. */
export interface RemoteFileTool {
  /**
   * Reads lines startLine..endLine of a file (-1: open start or end, the defaults).
   * @throws {TypeError} "Expected (deviceId: string, filePath: string, startLine?: number, endLine?: number)"
   * @rejects {Error} "Tool is not initialized"
   */
  fileRead(deviceId: string, filePath: string, startLine?: number, endLine?: number): Promise<FileReadResult>;
  /**
   * Writes content to a file (append false, createDirs true by default).
   * @throws {TypeError} "Expected (deviceId: string, filePath: string, content: string, append?: boolean, createDirs?: boolean)"
   * @rejects {Error} "Tool is not initialized"
   */
  fileWrite(
    deviceId: string,
    filePath: string,
    content: string,
    append?: boolean,
    createDirs?: boolean,
  ): Promise<FileWriteResult>;
  /**
   * Replaces oldPattern with newText in a file.
   * @throws {TypeError} "Expected (deviceId: string, path: string, oldPattern: string, newText: string)"
   * @rejects {Error} "Tool is not initialized"
   */
  fileReplace(deviceId: string, path: string, oldPattern: string, newText: string): Promise<FileReplaceResult>;
  /**
   * Searches a file for a pattern (caseSensitive false, showLineNumbers true by default); cancellable.
   * @throws {TypeError} "Expected (deviceId: string, filePath: string, pattern: string, caseSensitive?: boolean, showLineNumbers?: boolean, signal?: AbortSignal)"
   * @rejects {Error} "Tool is not initialized"
   */
  fileSearch(
    deviceId: string,
    filePath: string,
    pattern: string,
    caseSensitive?: boolean,
    showLineNumbers?: boolean,
    signal?: AbortSignal,
  ): Promise<FileSearchResult>;
  /**
   * Finds files by name pattern under a directory (maxResults 500 by default); cancellable.
   * @throws {TypeError} "Expected (deviceId: string, directory: string, pattern: string, maxResults?: number, signal?: AbortSignal)"
   * @rejects {Error} "Tool is not initialized"
   */
  fileFindByName(
    deviceId: string,
    directory: string,
    pattern: string,
    maxResults?: number,
    signal?: AbortSignal,
  ): Promise<FileFindResult>;
  /**
   * Lists a directory (showHidden false by default); cancellable.
   * @throws {TypeError} "Expected (deviceId: string, path: string, showHidden?: boolean, signal?: AbortSignal)"
   * @rejects {Error} "Tool is not initialized"
   */
  dirList(deviceId: string, path: string, showHidden?: boolean, signal?: AbortSignal): Promise<DirListResult>;
}

// ---------------------------------------------------------------------------
// Remote shell tool and tool service
// ---------------------------------------------------------------------------

/** Outcome of a shell command; a non-zero exit still resolves. */
export interface ShellExecResult {
  /** Whether the SDK ran the command. */
  success: boolean;
  /** Captured standard output. */
  stdoutOutput: string;
  /** Captured standard error. */
  stderrOutput: string;
  /** The command's exit code. */
  exitCode: number;
  /** The SDK's report. */
  message: string;
  /** Failure text, "Cancelled" after an abort. */
  errorMessage: string;
  /** Time the SDK took, in milliseconds. */
  durationMs: number;
}

/** Runs shell commands on a remote device. */
export interface RemoteShellTool {
  /**
   * Runs command in workingDir on the device; cancellable.
   * @throws {TypeError} "Expected (deviceId: string, command: string, workingDir: string, signal?: AbortSignal)"
   * @rejects {Error} "Tool is not initialized"
   */
  shellExec(deviceId: string, command: string, workingDir: string, signal?: AbortSignal): Promise<ShellExecResult>;
}

/** Outcome of listing or calling tools; data is the SDK's text, unparsed. */
export interface ToolServiceResult {
  /** Whether the SDK succeeded. */
  success: boolean;
  /** Failure text; "" on success. */
  errorMessage: string;
  /** The tool list, or the tool's output. */
  data: string;
}

/** Tools of a connected tool service; delivered by OmbrixClientObserver.onNewToolService. */
export interface ToolService {
  /**
   * Lists the service's tools; arguments are ignored.
   * @rejects {Error} "Tool service is not initialized"
   */
  listTools(): Promise<ToolServiceResult>;
  /**
   * Calls a tool by name with its arguments as text (typically JSON); cancellable.
   * @throws {TypeError} "Expected (toolName: string, arguments: string, signal?: AbortSignal)"
   * @rejects {Error} "Tool service is not initialized"
   */
  call(toolName: string, args: string, signal?: AbortSignal): Promise<ToolServiceResult>;
}

// ---------------------------------------------------------------------------
// Services the application implements: shared result shapes
// ---------------------------------------------------------------------------

/**
 * A result's code: a ResultCode, or any other number, which reaches the SDK as it is (read as unsigned 32-bit).
 * Plain numbers are accepted so that `return { code: 0 }` type-checks where no result type is in context.
 */
export type ResultCodeNumber = ResultCode | (number & {});

/** What a chat request fulfils with; without a numeric code the SDK sees ERROR_OPERATION_FAILED. */
export interface OperationResult {
  /** Outcome; SUCCESS is 0. */
  code: ResultCodeNumber;
  /** Failure text passed to the SDK. */
  errorMessage?: string;
}

/** What a notification or audit request fulfils with; a missing code counts as SUCCESS. */
export interface SuccessByDefaultResult {
  /** Outcome; absent means SUCCESS. A non-number code makes the request never answer. */
  code?: ResultCodeNumber;
  /** Failure text passed to the SDK. */
  errorMessage?: string;
}

// ---------------------------------------------------------------------------
// Chat records (what the application hands over; every key is optional)
// ---------------------------------------------------------------------------

/** An attachment the application gives; size accepts number or BigInt. */
export interface AttachmentInit {
  /** File identifier. */
  fileId?: string;
  /** File name. */
  filename?: string;
  /** Size in bytes. */
  size?: number | bigint;
  /** Upload date, as text. */
  uploadDate?: string;
  /** File type. */
  fileType?: string;
  /** File URL. */
  fileUrl?: string;
  /** Local path. */
  localPath?: string;
}

/** An attachment the SDK sends with a message; every key is present. */
export interface Attachment {
  /** File identifier. */
  fileId: string;
  /** File name. */
  filename: string;
  /** Size in bytes. */
  size: number;
  /** Upload date, as text. */
  uploadDate: string;
  /** File type. */
  fileType: string;
  /** File URL. */
  fileUrl: string;
  /** Local path. */
  localPath: string;
}

/** A history event, or a chunk given to ChatResponseStream.onChunk. */
export interface ChatEvent {
  /** Kind of event. */
  type?: ChatStreamEventType;
  /** Event identifier. */
  eventId?: string;
  /** Author role, as text. */
  role?: string;
  /** Text of the event. */
  content?: string;
  /** Time of the event. */
  createdAt?: number | bigint;
  /** Attached files. */
  attachments?: AttachmentInit[];
  /** Suggested follow-ups. */
  suggestions?: string[];
}

/** A chat session's description. */
export interface ChatSessionInfo {
  /** Session identifier. */
  sessionId?: string;
  /** Session title. */
  title?: string;
  /** Model name. */
  modelName?: string;
  /** Model provider. */
  provider?: string;
  /** Creation time. */
  createdAt?: number | bigint;
  /** Time of the last activity. */
  lastActiveAt?: number | bigint;
  /** Past events, in order. */
  history?: ChatEvent[];
  /** Runtime of the session. */
  chatMode?: ChatMode;
}

/** Result of a tool call inside ToolCall. */
export interface ToolCallResult {
  /** Whether the tool succeeded. */
  success?: boolean;
  /** The tool's output. */
  content?: string;
  /** Failure text. */
  errorMessage?: string;
  /** Time the tool took, in milliseconds. */
  durationMs?: number | bigint;
}

/** A tool call given to ChatResponseStream.onToolCall. */
export interface ToolCall {
  /** Start or end of the call. */
  type?: ToolCallType;
  /** Title shown to the user. */
  title?: string;
  /** Description shown to the user. */
  description?: string;
  /** Name of the tool. */
  toolName?: string;
  /** Arguments, as text (typically JSON). */
  toolArgs?: string;
  /** Time of the call. */
  createdAt?: number | bigint;
  /** The call's result. */
  result?: ToolCallResult;
  /** Called with no arguments, on the JavaScript thread, when the SDK cancels the call. */
  cancel?: () => void;
}

/** A todo item given to ChatResponseStream.onTodos. */
export interface Todo {
  /** Todo identifier. */
  id?: string;
  /** Title. */
  title?: string;
  /** Description. */
  description?: string;
  /** State of the item. */
  status?: TodoStatus;
  /** Creation time. */
  createdAt?: number | bigint;
  /** Time of the last change. */
  updatedAt?: number | bigint;
}

/** Token usage given to ChatResponseStream.onUsage. */
export interface Usage {
  /** Event identifier. */
  eventId?: string;
  /** Model name. */
  modelName?: string;
  /** Time of the usage. */
  createdAt?: number | bigint;
  /** Input tokens. */
  inputTokens?: number | bigint;
  /** Output tokens. */
  outputTokens?: number | bigint;
  /** Cached tokens. */
  cachedTokens?: number | bigint;
  /** Business points. */
  businessPoints?: number | bigint;
  /** Business cost. */
  businessCost?: number | bigint;
}

// ---------------------------------------------------------------------------
// Chat: objects the module hands to the application
// ---------------------------------------------------------------------------

/** Streams one answer into the SDK; made for each sendChat. Call its functions as its methods. */
export interface ChatResponseStream {
  /** Forwards a chunk; a missing or non-object argument is ignored. */
  onChunk(this: ChatResponseStream, chunk: ChatEvent): void;
  /** Forwards a tool call, whose cancel the SDK may call later; a non-object is ignored. */
  onToolCall(this: ChatResponseStream, toolCall: ToolCall): void;
  /** Forwards the todo list; a non-array is ignored, non-object elements are skipped. */
  onTodos(this: ChatResponseStream, todos: Todo[]): void;
  /** Forwards token usage; a non-object is ignored. */
  onUsage(this: ChatResponseStream, usage: Usage): void;
  /** Marks the end of the answer. */
  onEnd(this: ChatResponseStream): void;
}

/** The user's answer to a confirmation. */
export interface ConfirmResponse {
  /** The answer as JSON text. */
  responseJson: string;
}

/** Asks the SDK to have the user confirm an action; made for each sendChat. */
export interface ChatConfirm {
  /** Requests a confirmation; resolves with the answer and never rejects (returns undefined for wrong arguments). */
  reqConfirm(this: ChatConfirm, actionType: ConfirmActionType, title: string, content: string): Promise<ConfirmResponse>;
}

/** Given to ChatSession.setObserver. */
export interface ChatSessionObserver {
  /** Tells the SDK the session's info changed; history is not forwarded. */
  onSessionInfoChanged(info: ChatSessionInfo): void;
}

// ---------------------------------------------------------------------------
// Chat: objects the application implements
// ---------------------------------------------------------------------------

/** What createSession fulfils with. */
export interface CreateSessionResult extends OperationResult {
  /** The new session; absent means none. */
  session?: ChatSession;
}

/** What getSessions fulfils with. */
export interface GetSessionsResult extends OperationResult {
  /** The sessions, in order; non-objects are skipped. */
  sessions?: ChatSession[];
}

/** What ChatSession.getInfo fulfils with; a non-zero code without errorMessage reports "Operation failed". */
export interface GetInfoResult extends SuccessByDefaultResult {
  /** The session's info; required on success. */
  info?: ChatSessionInfo;
}

/**
 * The application's chat session manager (second argument of createOmbrixClient).
 * The module refuses only a non-object; every method is looked up when the SDK calls it, so each may be left out.
 * A missing method, a non-function or another return value reaches the SDK as ERROR_OPERATION_FAILED with
 * "<method> method not found", "<method> is not a function" or "<method> did not return a Promise";
 * a rejection as ERROR_OPERATION_FAILED with its message or "Unknown error".
 */
export interface ChatSessionManager {
  /** Sets the language of the chat. */
  setLanguageCode?(language: LanguageCode): Promise<OperationResult>;
  /** Creates a session for the given runtime. */
  createSession?(mode: ChatMode): Promise<CreateSessionResult>;
  /** Lists the sessions. */
  getSessions?(): Promise<GetSessionsResult>;
}

/**
 * One of the application's chat sessions; its requests are answered like ChatSessionManager's, and each member may be
 * left out (a missing request method fails that request, a missing setObserver is skipped).
 */
export interface ChatSession {
  /** Read when the session is handed to the SDK: its cached info until getInfo succeeds. */
  sessionInfo?: ChatSessionInfo;
  /** Describes the session; a success replaces the SDK's cached info. */
  getInfo?(): Promise<GetInfoResult>;
  /** Renames the session. */
  setTitle?(title: string): Promise<OperationResult>;
  /** Answers content through stream; absent SDK objects and an empty attachment list or extra text arrive as undefined. */
  sendChat?(
    content: string,
    stream: ChatResponseStream | undefined,
    confirm: ChatConfirm | undefined,
    attachments: Attachment[] | undefined,
    extra: string | undefined,
  ): Promise<OperationResult>;
  /** Stops the running answer. */
  stop?(): Promise<OperationResult>;
  /** Deletes the session. */
  delete?(): Promise<OperationResult>;
  /** Receives the observer to report info changes to, or null when the SDK clears it. */
  setObserver?(observer: ChatSessionObserver | null): void;
}

// ---------------------------------------------------------------------------
// Notification service
// ---------------------------------------------------------------------------

/** A notification; absent or mistyped keys take their defaults. */
export interface NotificationRecord {
  /** Notification identifier. */
  id?: string;
  /** Kind of notification. */
  type?: NotificationType;
  /** Title. */
  title?: string;
  /** Text. */
  content?: string;
  /** Priority. */
  priority?: NotificationPriority;
  /** Creation time. */
  createdAt?: number;
  /** Expiry time. */
  expiresAt?: number;
  /** Identifier of the source. */
  sourceId?: string;
  /** Whether it has been read. */
  isRead?: boolean;
}

/** What getNotifications fulfils with. */
export interface GetNotificationsResult extends SuccessByDefaultResult {
  /** The notifications, in order; non-objects are skipped. */
  notifications?: NotificationRecord[];
}

/** Given to NotificationService.setObserver; reports events to the SDK. */
export interface NotificationObserver {
  /** Reports a new notification. */
  onNotification(notification: NotificationRecord): void;
  /** Reports a changed notification. */
  onNotificationUpdated(notification: NotificationRecord): void;
  /** Reports a removed notification by id. */
  onNotificationRemoved(id: string): void;
}

/**
 * The application's notification service (third argument of createOmbrixClient).
 * The module refuses only a non-object; each method may be left out: a missing or non-function request method
 * reaches the SDK as ERROR_OPERATION_FAILED with "<method> method not found", a missing setObserver is skipped.
 */
export interface NotificationService {
  /** Receives a new observer object each time the SDK installs one. */
  setObserver?(observer: NotificationObserver): void;
  /** Lists the notifications. */
  getNotifications?(): Promise<GetNotificationsResult>;
  /** Marks a notification as read. */
  markAsRead?(id: string): Promise<SuccessByDefaultResult>;
  /** Dismisses a notification. */
  dismiss?(id: string): Promise<SuccessByDefaultResult>;
  /** Dismisses every notification. */
  dismissAll?(): Promise<SuccessByDefaultResult>;
}

// ---------------------------------------------------------------------------
// Audit session manager and audit sessions
// ---------------------------------------------------------------------------

/** An audit session's description; absent or mistyped keys take their defaults. */
export interface AuditSessionInfo {
  /** Session identifier. */
  sessionId?: string;
  /** State of the session. */
  status?: AuditSessionStatus;
  /** Creation time. */
  createdAt?: number;
  /** Time of the last activity. */
  lastActiveAt?: number;
}

/** Where an audit report is. */
export interface AuditReport {
  /** Location of the report. */
  fileUrl?: string;
  /** Creation time. */
  createdAt?: number;
}

/** What AuditSessionManager.createSession fulfils with. */
export interface CreateAuditSessionResult extends SuccessByDefaultResult {
  /** The new session; absent means none. */
  session?: AuditSession;
}

/** What AuditSessionManager.getSessions fulfils with. */
export interface GetAuditSessionsResult extends SuccessByDefaultResult {
  /** The sessions, in order; non-objects are skipped. */
  sessions?: AuditSession[];
}

/** What AuditSession.getInfo fulfils with; a non-zero code without errorMessage reports "Operation failed". */
export interface GetAuditInfoResult extends SuccessByDefaultResult {
  /** The session's info; required on success. */
  info?: AuditSessionInfo;
}

/** What AuditSession.getReport fulfils with. */
export interface GetAuditReportResult extends SuccessByDefaultResult {
  /** The report. */
  report?: AuditReport;
}

/** Given to AuditSession.setObserver; reports recording events to the SDK. */
export interface AuditSessionObserver {
  /** Reports that recording finished. */
  onRecordingDone(): void;
  /** Reports that the report is ready. */
  onReportReady(): void;
  /** Reports an error; a missing or non-string message reports "Unknown error". */
  onError(message?: string): void;
}

/**
 * The application's audit session manager (argument of OmbrixClient.setAuditManager).
 * The module refuses only a non-object; each method may be left out: a missing or non-function request method
 * reaches the SDK as ERROR_OPERATION_FAILED with "<method> method not found" (and a WARNING log line).
 */
export interface AuditSessionManager {
  /** Creates an audit session. */
  createSession?(): Promise<CreateAuditSessionResult>;
  /** Lists the audit sessions. */
  getSessions?(): Promise<GetAuditSessionsResult>;
}

/** One of the application's audit sessions; its requests are answered like AuditSessionManager's, and each may be left out. */
export interface AuditSession {
  /** Read when the session is handed to the SDK: its cached info until getInfo succeeds. */
  sessionInfo?: AuditSessionInfo;
  /** Describes the session; a success refreshes the SDK's cached info. */
  getInfo?(): Promise<GetAuditInfoResult>;
  /** Starts recording with the SDK's options text. */
  start?(options: string): Promise<SuccessByDefaultResult>;
  /** Stops recording. */
  stop?(): Promise<SuccessByDefaultResult>;
  /** Produces the report. */
  getReport?(): Promise<GetAuditReportResult>;
  /** Receives the observer to report recording events to, or null when the SDK clears it. */
  setObserver?(observer: AuditSessionObserver | null): void;
}

// ---------------------------------------------------------------------------
// Fernwick workspace manager
// ---------------------------------------------------------------------------

/** The application's workspace manager (argument of OmbrixClient.createFernwickManager). */
export interface FernwickManager {
  /** Receives the workspace path; absent, a non-Promise return or any fulfilment is success, a rejection is failure. */
  setFernwickWorkspace?(workspace: string): void | Promise<unknown>;
}

// ---------------------------------------------------------------------------
// Shared-memory region
// ---------------------------------------------------------------------------

/** A named shared-memory section created by another local process, optionally guarded by a named mutex. */
export declare class ShmRegion {
  /** Makes a closed region; no arguments are read. */
  constructor();
  /**
   * Opens the existing section (and the mutex, created if missing); returns false when it cannot.
   * @throws {TypeError} "Expected shmName string"
   */
  open(shmName: string, mutexName?: string): boolean;
  /** Unlocks if locked, then closes; a closed region can be opened again. */
  close(): void;
  /** Whether the region is open. */
  get isOpen(): boolean;
  /**
   * Waits up to timeoutMs (default 100; -1 without end) for the mutex; true without a mutex.
   * @throws {Error} "ShmRegion already locked (non-recursive)"
   */
  lock(timeoutMs?: number): boolean;
  /** Releases the mutex if this region holds it. */
  unlock(): void;
  /**
   * Copies length bytes from offset; bytes past the end read as zeros.
   * @throws {Error} "ShmRegion is not open"
   * @throws {TypeError} "Expected (offset: number, length: number)"
   * @throws {RangeError} "offset and length must be non-negative uint32"
   */
  readBytes(offset: number, length: number): Buffer;
  /**
   * Stores value as a little-endian 32-bit word at offset; a write past the end is dropped.
   * @throws {Error} "ShmRegion is not open"
   * @throws {TypeError} "Expected (offset: number, value: number)"
   * @throws {RangeError} "offset and value must be non-negative uint32"
   */
  writeU32(offset: number, value: number): void;
}

// ---------------------------------------------------------------------------
// GUI window tool
// ---------------------------------------------------------------------------

/** A visible top-level window with a title. */
export interface WindowRecord {
  /** Window handle. */
  hwnd: bigint;
  /** Window title (at most 255 characters). */
  title: string;
}

/** Outcome of activateWindow. */
export interface ActivationResult {
  /** Whether the window became the foreground window. */
  ok: boolean;
  /** The tier that ended the attempt. */
  tier: 'direct' | 'alt' | 'attach';
  /** 0 on success, else the last error after the final tier. */
  lastError: number;
}

/** Desktop windows: enumeration, placement, foreground activation, process queries and shell execution. Handles are BigInt. */
export interface GuiTool {
  /**
   * Brings the window to the foreground, trying the tiers direct, alt and attach in turn; never rejects.
   * @throws {Error} "A bigint was expected"
   */
  activateWindow(hwnd: bigint): Promise<ActivationResult>;
  /** Lists visible top-level windows with a non-empty title, top to bottom. */
  enumerateVisibleTopLevelWindows(): WindowRecord[];
  /** Returns the foreground window, or null when there is none. */
  getForegroundHwnd(): bigint | null;
  /**
   * Asks the system to make the window the foreground window.
   * @throws {Error} "A bigint was expected"
   */
  setForegroundWindow(hwnd: bigint): boolean;
  /**
   * Returns a copy of the window's 44-byte placement, or null when it cannot be read.
   * @throws {Error} "A bigint was expected"
   */
  getWindowPlacement(hwnd: bigint): Buffer | null;
  /**
   * Applies a placement read by getWindowPlacement; false for fewer than 44 bytes.
   * @throws {Error} "A bigint was expected"
   * @throws {Error} "Invalid argument"
   */
  setWindowPlacement(hwnd: bigint, placement: Buffer): boolean;
  /**
   * Whether the handle names an existing window.
   * @throws {Error} "A bigint was expected"
   */
  isWindow(hwnd: bigint): boolean;
  /**
   * Whether the window is minimised.
   * @throws {Error} "A bigint was expected"
   */
  isIconic(hwnd: bigint): boolean;
  /**
   * Whether the window would appear in the task switcher.
   * @throws {Error} "A bigint was expected"
   */
  isAltTabWindow(hwnd: bigint): boolean;
  /**
   * Shows the window with a show command; true when it was visible before.
   * @throws {Error} "A bigint was expected"
   * @throws {TypeError} "A number was expected"
   */
  showWindow(hwnd: bigint, cmd: number): boolean;
  /**
   * Opens a document, folder or link with its default handler.
   * @throws {TypeError} "A string was expected"
   */
  shellExecute(target: string): boolean;
  /**
   * Returns the id of the window's process, 0 when the window does not exist.
   * @throws {Error} "A bigint was expected"
   */
  getWindowProcessId(hwnd: bigint): number;
  /**
   * Returns the executable path of a process, or null when it cannot be queried.
   * @throws {TypeError} "A number was expected"
   */
  getProcessExePath(pid: number): string | null;
  /**
   * Lets a process (-1: any) set the foreground window.
   * @throws {TypeError} "A number was expected"
   */
  allowSetForegroundWindow(pid: number): boolean;
  /** Returns the JavaScript thread's last system error, meaningful after a failed call. */
  getLastError(): number;
}

export {};
