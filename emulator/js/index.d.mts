// Declarations of the ES module face (index.mjs): the default export is the
// whole control surface, and each of its members is a named export too.
import emulator from './index.js';

export default emulator;

export type {
  Mode, ClientEntry, ClientOption, NotificationOptions, WorkspaceOptions, DriveMeta, DroppedReport,
  NoCallbackReport, Outcome, Report, StartedDrive, HeldSession, ChatSessionInfoRecord, StreamEvent,
  ConfirmRequestRecord, ChatObserverEvent, NotificationRecordJson, EventMeta, NotificationObserverEvent,
  AuditSessionInfoRecord, AuditReportRecord, AuditObserverEvent, PendingCall, LogOptions, HostileHabit,
  HostileOptions, HostileStatus, StormResult, SendChatOptions, SentChat, Chat, Notification, Audit,
  Workspace, Hostile, Emulator, InspectOptions, Inspector,
} from './index.js';

export declare const inspect: emulator.Emulator['inspect'];
export declare const sentryCounts: emulator.Emulator['sentryCounts'];
export declare const liveObjects: emulator.Emulator['liveObjects'];
export declare const mallocBytes: emulator.Emulator['mallocBytes'];
export declare const injectThreadCreateFailure: emulator.Emulator['injectThreadCreateFailure'];
export declare const emitLogs: emulator.Emulator['emitLogs'];
export declare const startLogStorm: emulator.Emulator['startLogStorm'];
export declare const stopLogStorm: emulator.Emulator['stopLogStorm'];
export declare const loggerEnabled: emulator.Emulator['loggerEnabled'];
export declare const signalingThreadName: emulator.Emulator['signalingThreadName'];
export declare const hostile: emulator.Emulator['hostile'];
export declare const setMode: emulator.Emulator['setMode'];
export declare const mode: emulator.Emulator['mode'];
export declare const calls: emulator.Emulator['calls'];
export declare const nextCall: emulator.Emulator['nextCall'];
export declare const complete: emulator.Emulator['complete'];
export declare const drop: emulator.Emulator['drop'];
export declare const isCancelled: emulator.Emulator['isCancelled'];
export declare const autoComplete: emulator.Emulator['autoComplete'];
export declare const injectFault: emulator.Emulator['injectFault'];
export declare const injectWeakLockFailure: emulator.Emulator['injectWeakLockFailure'];
export declare const clearFaults: emulator.Emulator['clearFaults'];
export declare const clients: emulator.Emulator['clients'];
export declare const emitConnectionState: emulator.Emulator['emitConnectionState'];
export declare const announceToolService: emulator.Emulator['announceToolService'];
export declare const disconnectToolService: emulator.Emulator['disconnectToolService'];
export declare const liveClients: emulator.Emulator['liveClients'];
export declare const emitTokenUpdated: emulator.Emulator['emitTokenUpdated'];
export declare const emitMcpTokenUpdated: emulator.Emulator['emitMcpTokenUpdated'];
export declare const cancelTransfers: emulator.Emulator['cancelTransfers'];
export declare const setTransferRate: emulator.Emulator['setTransferRate'];
export declare const setScreenLocked: emulator.Emulator['setScreenLocked'];
export declare const chat: emulator.Emulator['chat'];
export declare const notification: emulator.Emulator['notification'];
export declare const audit: emulator.Emulator['audit'];
export declare const workspace: emulator.Emulator['workspace'];
export declare const driveReport: emulator.Emulator['driveReport'];
export declare const driveDuplicates: emulator.Emulator['driveDuplicates'];
