// The control surface of the substitute SDK: `require('ombrix_addon/emulator')`.
// For tests, examples and benchmarks; an application never ships it.
// Records are what the SDK side received, decoded to JSON: enumerations are
// their numbers, 64-bit integers plain numbers, and absent texts empty. The
// types describe what a working application's answers give; where the SDK
// reports null instead (an unknown id, an answer without the record), the
// member's comment says so.

declare namespace emulator {
  /** 'loopback': every tool does real work here; 'scripted': tool calls wait for the test. */
  type Mode = 'loopback' | 'scripted';

  /** A live client: `thisThread` is true when it was created on the calling thread. */
  interface ClientEntry {
    id: number;
    serverName: string;
    mode: Mode;
    /** The SDK name of its signaling thread. */
    signalingThread: string;
    thisThread: boolean;
  }

  /**
   * Which client a drive acts on: a client id, or a server name that names
   * exactly one live client. Without it, the newest live client created on
   * the calling thread, or, when that thread created none, the newest of all.
   */
  interface ClientOption {
    client?: number | string;
  }

  /** A notification drive may act on a service the SDK held (an id from `notification.hold()`). */
  interface NotificationOptions extends ClientOption {
    service?: number;
  }

  /** A workspace drive may act on a manager the SDK held (an id from `workspace.hold()`). */
  interface WorkspaceOptions extends ClientOption {
    manager?: number;
  }

  /** What every finished drive reports besides the record its callback received. */
  interface DriveMeta {
    /** The SDK name of the thread the callback ran on; '' for a JavaScript thread. */
    thread: string;
    onJsThread: boolean;
    /** How many times the callback ran (more than once is logged as an error). */
    calls: number;
  }

  /** A callback the SDK released without its having run. */
  interface DroppedReport {
    dropped: true;
    calls: 0;
  }

  /** Hostile mode passed no callback: nothing will be reported. */
  interface NoCallbackReport {
    noCallback: true;
  }

  /** `{ code, errorMessage }` as an OperationResult reached the SDK. */
  interface Outcome {
    code: number;
    errorMessage: string | null;
  }

  /**
   * The report of a drive whose callback received `R`, typed for the callback
   * that ran. A callback the SDK released unanswered reports only
   * `{ dropped: true, calls: 0 }`, and one hostile mode did not pass only
   * `{ noCallback: true }`: check those flags before reading the rest.
   */
  type Report<R = {}> = Outcome & R & DriveMeta & Partial<DroppedReport & NoCallbackReport>;

  /** A drive that returns at once: its id, and its report once the callback has run. */
  interface StartedDrive<R = {}> {
    drive: number;
    done: Promise<Report<R>>;
  }

  /** A session the SDK now holds, by the id later calls name it with. */
  interface HeldSession<Info> {
    id: number;
    /** What the session had cached when it reached the SDK (null when it had nothing). */
    cachedInfo: Info;
  }

  interface ChatSessionInfoRecord {
    sessionId: string;
    title: string;
    modelName: string;
    provider: string;
    createdAt: number;
    lastActiveAt: number;
    /** null when the session gave no history. */
    history: object[] | null;
    chatMode: number;
  }

  /**
   * What the SDK's side of a chat stream received, in order. `event` says
   * which call it was, and which of the other fields it has.
   */
  interface StreamEvent {
    event: 'chunk' | 'toolCall' | 'todos' | 'usage' | 'end';
    /** chunk: the chunk's fields. */
    type?: number;
    eventId?: string;
    role?: string;
    content?: string;
    createdAt?: number;
    attachments?: object[];
    suggestions?: object[];
    /** chunk: true when the chunk had no attachment list. */
    attachmentsNull?: boolean;
    /** toolCall: the call, and the index `cancelToolCall` names it by. */
    call?: Record<string, unknown>;
    index?: number;
    /** todos: how many, and the items. */
    count?: number;
    todos?: object[];
    /** usage: the usage record. */
    usage?: Record<string, unknown>;
  }

  /** A confirmation request the application made of the SDK. */
  interface ConfirmRequestRecord {
    request: number;
    actionType: number;
    title: string;
    content: string;
    answered: boolean;
  }

  /** A chat observer event: the session info it was told, with the thread it came on. */
  type ChatObserverEvent = Omit<ChatSessionInfoRecord, 'history'> & { history: null } & EventMeta;

  interface NotificationRecordJson {
    id: string;
    type: number;
    title: string;
    content: string;
    priority: number;
    createdAt: number;
    expiresAt: number;
    sourceId: string;
    isRead: boolean;
  }

  /** The thread an observer was called on. */
  interface EventMeta {
    thread: string;
    onJsThread: boolean;
  }

  type NotificationObserverEvent =
    | ({ event: 'notification' | 'updated'; notification: NotificationRecordJson } & EventMeta)
    | ({ event: 'removed'; id: string | null } & EventMeta);

  interface AuditSessionInfoRecord {
    sessionId: string;
    status: number;
    createdAt: number;
    lastActiveAt: number;
  }

  interface AuditReportRecord {
    fileUrl: string;
    createdAt: number;
  }

  type AuditObserverEvent =
    | ({ event: 'recordingDone' | 'reportReady' } & EventMeta)
    | ({ event: 'error'; message: string | null } & EventMeta);

  /** A scripted tool call waiting for the test to answer it. */
  interface PendingCall {
    id: number;
    /** The SDK operation: 'ReadFile', 'ExecuteShell', 'GetAccountId', … */
    op: string;
    args: Record<string, unknown>;
    /** The SDK name of the calling thread; '' for the JavaScript thread. */
    thread: string;
    cancelled: boolean;
  }

  interface LogOptions {
    level?: number;
    module?: string | null;
    file?: string | null;
    line?: number;
    function?: string | null;
    message?: string;
    /** How many new SDK threads log. */
    threads?: number;
    /** How many lines each thread logs. */
    lines?: number;
  }

  type HostileHabit =
    | 'inline' | 'elsewhere' | 'late' | 'twice' | 'loggerNoWait' | 'observerRace' | 'sdkThread'
    | 'throw' | 'never' | 'drop' | 'nullArgs' | 'clientGone';

  interface HostileOptions {
    enabled?: boolean;
    seed?: string | number | bigint;
    /** 'quiet' (results unchanged; the default), 'all', or habit names. */
    habits?: 'quiet' | 'all' | HostileHabit | HostileHabit[] | string;
    /** How often a habit strikes where it may, in percent (25 by default). */
    percent?: number;
  }

  interface HostileStatus {
    enabled: boolean;
    /** The seed, as a decimal string. */
    seed: string;
    percent: number;
    /** How many times each enabled habit struck. */
    habits: Partial<Record<HostileHabit, number>>;
    /** Callbacks held by the 'never' habit. */
    held: number;
  }

  interface StormResult {
    issued: number;
    completed: number;
    /** Callbacks let go unanswered (the application's environment ended mid-storm). */
    dropped: number;
    duplicates: number;
    offJsThread: number;
    seconds: number;
  }

  interface SendChatOptions {
    /** false: no stream is passed. */
    stream?: boolean;
    /** false: no confirmation requester is passed. */
    confirm?: boolean;
    attachments?: object[];
    extra?: string | null;
    /** Which SendChat overload the SDK calls. */
    form?: 'full' | 'attachments' | 'short';
  }

  interface SentChat extends StartedDrive {
    /** The stream's id for `streamEvents`/`cancelToolCall` (undefined with `stream: false`). */
    stream: number;
    /** The requester's id for `confirmRequests`/`answerConfirm` (undefined with `confirm: false`). */
    confirm: number;
  }

  interface Chat {
    /**
     * The SDK calls the manager's setLanguageCode. `{ noCallback: true }`
     * passes no callback and returns at once, with nothing to report.
     * @rejects naming the live clients when `client` names none of them
     */
    setLanguageCode(language: number, options?: ClientOption & { noCallback?: false }): Promise<Report>;
    setLanguageCode(language: number, options: ClientOption & { noCallback: true }): {};
    /** The SDK asks the manager for a session of `mode` (`session` is null when it answered none). */
    createSession(mode: number, options?: ClientOption): Promise<Report<{ session: HeldSession<ChatSessionInfoRecord> }>>;
    /** The SDK asks the manager for its sessions (null when it gave no list). */
    getSessions(options?: ClientOption): Promise<Report<{ sessions: HeldSession<ChatSessionInfoRecord>[] }>>;
    /** The session's cached info, read by the SDK synchronously (null when none). @throws for an unknown session */
    getCachedInfo(session: number): ChatSessionInfoRecord;
    /** The SDK asks the session for its info (null when it answered none). */
    getInfo(session: number): Promise<Report<{ info: ChatSessionInfoRecord }>>;
    /** The SDK renames the session; null passes a null pointer. */
    setTitle(session: number, title: string | null): Promise<Report>;
    /** Returns at once; `done` resolves with the report while stream and confirmations can be inspected. */
    sendChat(session: number, content: string | null, options?: SendChatOptions): SentChat;
    /** The SDK stops the session's answer. */
    stop(session: number): Promise<Report>;
    /** The SDK deletes the session. */
    delete(session: number): Promise<Report>;
    /** Registers an SDK observer (false clears it); resolves with its id (null for false) once the session has it. */
    setObserver(session: number, attach?: true): Promise<number>;
    setObserver(session: number, attach: false): Promise<null>;
    setObserver(session: number, attach: boolean): Promise<number | null>;
    /** The SDK drops its reference to the session; in effect on return. */
    release(session: number): void;
    /** The SDK drops every session, stream, confirmation and observer it holds; returns how many sessions. */
    releaseAll(): number;
    /** What the SDK's side of a stream received, in order (null for an unknown id). */
    streamEvents(stream: number): StreamEvent[];
    /** The SDK cancels the stream's tool call number `index`; false when there is none. */
    cancelToolCall(stream: number, index: number): boolean;
    /** The confirmation requests made of the SDK (null for an unknown id). */
    confirmRequests(confirm: number): ConfirmRequestRecord[];
    /** Answers request `request` from an SDK thread. @throws "no unanswered request" when it has none */
    answerConfirm(confirm: number, request: number, response: string | object): void;
    /** What the SDK observer was told (null for an unknown id). */
    observerEvents(observer: number): ChatObserverEvent[];
    /** `threads` SDK threads make `calls` setLanguageCode calls each, at once. */
    storm(threads: number, calls: number, options?: ClientOption): Promise<StormResult>;
  }

  interface Notification {
    /** Hands the service a new SDK observer (false: an empty one); resolves with its id (null for false) once the service has it. */
    setObserver(attach?: true, options?: NotificationOptions): Promise<number>;
    setObserver(attach: false, options?: NotificationOptions): Promise<null>;
    setObserver(attach: boolean, options?: NotificationOptions): Promise<number | null>;
    /** The SDK lists the notifications (null when it got no list). */
    getNotifications(options?: NotificationOptions): Promise<Report<{ notifications: NotificationRecordJson[] }>>;
    /** The SDK marks a notification read; null passes a null pointer. */
    markAsRead(id: string | null, options?: NotificationOptions): Promise<Report>;
    /** The SDK dismisses a notification; null passes a null pointer. */
    dismiss(id: string | null, options?: NotificationOptions): Promise<Report>;
    /** The SDK dismisses every notification. */
    dismissAll(options?: NotificationOptions): Promise<Report>;
    /** The SDK keeps the client's service beyond the client's life; returns the id `{ service }` names it by. */
    hold(options?: ClientOption): number;
    /** What the SDK observer was told (null for an unknown id). */
    observerEvents(observer: number): NotificationObserverEvent[];
    /** The SDK drops its observer; in effect on return. */
    release(observer: number): void;
    /** The SDK drops every observer and held service; returns how many observers. */
    releaseAll(): number;
  }

  interface Audit {
    /** The SDK asks the manager for a new audit session (`session` is null when it answered none). */
    createSession(options?: ClientOption): Promise<Report<{ session: HeldSession<AuditSessionInfoRecord> }>>;
    /** The SDK asks the manager for its sessions (null when it gave no list). */
    getSessions(options?: ClientOption): Promise<Report<{ sessions: HeldSession<AuditSessionInfoRecord>[] }>>;
    /** The session's cached info, read synchronously (null when none). @throws for an unknown session */
    getCachedInfo(session: number): AuditSessionInfoRecord;
    /** The SDK asks the session for its info (null when it answered none). */
    getInfo(session: number): Promise<Report<{ info: AuditSessionInfoRecord }>>;
    /** The SDK starts recording; `options` is its text argument, null a null pointer. */
    start(session: number, options?: string | null): Promise<Report>;
    /** The SDK stops recording. */
    stop(session: number): Promise<Report>;
    /** The SDK asks for the session's report. */
    getReport(session: number): Promise<Report<{ report: AuditReportRecord }>>;
    /** Registers an SDK observer (false clears it); resolves with its id (null for false) once the session has it. */
    setObserver(session: number, attach?: true): Promise<number>;
    setObserver(session: number, attach: false): Promise<null>;
    setObserver(session: number, attach: boolean): Promise<number | null>;
    /** What the SDK observer was told (null for an unknown id). */
    observerEvents(observer: number): AuditObserverEvent[];
    /** The SDK drops the session; in effect on return. */
    release(session: number): void;
    /** The SDK drops every audit session and observer; returns how many sessions. */
    releaseAll(): number;
  }

  interface Workspace {
    /** Returns at once; `done` resolves with `{ code, errorMessage }`. */
    setWorkspace(workspace: string | null, options?: WorkspaceOptions): StartedDrive;
    /** The SDK keeps the client's manager beyond the client's life; returns the id `{ manager }` names it by. */
    hold(options?: ClientOption): number;
    /** The SDK drops a held manager; in effect on return. */
    release(manager: number): void;
    /** Returns how many managers were held. */
    releaseAll(): number;
  }

  interface Hostile {
    /** Turns hostile mode on (or off with `enabled: false`). @throws "unknown habit" for a bad habit or percent */
    set(options?: HostileOptions): void;
    /** Turns hostile mode off. */
    off(): void;
    /** The seed, and how often each habit struck. */
    status(): HostileStatus;
    /** Lets go of the callbacks the 'never' habit held, unanswered; returns how many. */
    releaseHeld(): number;
  }

  /** How the inspector page is served. */
  interface InspectOptions {
    /** The port on 127.0.0.1; 0 (the default) picks a free one. */
    port?: number;
    /** Print the URL to stderr (the default). */
    print?: boolean;
  }

  /** The inspector page's server: nothing of it keeps the process alive. */
  interface Inspector {
    /** The page's address, with its token: http://127.0.0.1:<port>/?token=… */
    readonly url: string;
    readonly port: number;
    /** Every request must carry it (`?token=` or an X-Ombrix-Token header). */
    readonly token: string;
    /** Stops serving; open pages lose their connection. */
    close(): Promise<void>;
  }

  interface Emulator {
    /**
     * Serves the inspector page on 127.0.0.1 and prints its URL once; a second
     * call while it serves resolves with the same server.
     * Rejects with a RangeError for a port outside 0 to 65535, or with the
     * error of a port that cannot be listened on.
     */
    inspect(options?: InspectOptions): Promise<Inspector>;
    /** How often crash reporting was started and stopped. */
    sentryCounts(): { initialized: number; shutdown: number };
    /** Live SDK objects, by contract type ('OmbrixClient', 'RemoteFileTool', …). */
    liveObjects(): Record<string, number>;
    /** Bytes the whole process holds from malloc (-1 where unknown). */
    mallocBytes(): number;
    /** The next SDK thread fails to start. */
    injectThreadCreateFailure(): void;
    /** Writes log lines from new SDK threads; resolves with how many once all are written. */
    emitLogs(options: LogOptions): Promise<number>;
    /** SDK threads log INFO lines without pause until stopLogStorm(). */
    startLogStorm(threads?: number): void;
    /** Stops the storm; resolves with how many lines were written. */
    stopLogStorm(): Promise<number>;
    /** What the SDK's logger::IsEnabled answers for `level` now. */
    loggerEnabled(level: number): boolean;
    /** The name of the signaling thread the newest live client was given ('' with none). */
    signalingThreadName(): string;
    /** Hostile mode: every legal but unkind habit of an SDK, at random, from a seed. */
    hostile: Hostile;

    /** For clients created afterwards; in effect on return. @throws "unknown mode" for another name */
    setMode(mode: Mode): void;
    /** The mode clients are created in now. */
    mode(): Mode;
    /** Scripted calls waiting for an answer, oldest first (of `op`, if given). */
    calls(op?: string): PendingCall[];
    /** Resolves with the next pending call (of `op`) not returned before. @rejects "no … call within" on time-out */
    nextCall(op?: string, options?: { timeoutMs?: number }): Promise<PendingCall>;
    /** Delivers `record` to the call's callback from an SDK thread. @throws "is not pending" */
    complete(call: PendingCall | number, record?: unknown): void;
    /** The SDK lets go of the call's callback unanswered. @throws "is not pending" */
    drop(call: PendingCall | number): void;
    /** Whether an AbortSignal cancelled the pending call (undefined once it is not pending). */
    isCancelled(call: PendingCall | number): boolean | undefined;
    /** Every later scripted call of `op` completes at once with `record`; null stops it. */
    autoComplete(op: string, record: unknown): void;

    /**
     * The next call at `site` returns empty ('empty') or throws ('throw').
     * @throws "unknown fault site" or "unknown fault kind", listing the valid ones
     */
    injectFault(site: string, kind?: 'empty' | 'throw'): void;
    /** The next weak re-lock of a contract type fails. @throws "unknown contract type", listing the valid ones */
    injectWeakLockFailure(type: string): void;
    /** Disarms every fault, weak-lock failure and thread-create failure; returns how many were armed. */
    clearFaults(): number;

    /** The live clients, oldest first. */
    clients(): ClientEntry[];
    /** Every live client (or the one `client` names) reports `state`; resolves once each has told its observer. */
    emitConnectionState(state: number, options?: ClientOption): Promise<void>;
    /** A new tool service (an empty pointer with `empty`); resolves once each client has told its observer. */
    announceToolService(options?: ClientOption & { empty?: boolean }): Promise<void>;
    /** The tool service goes; resolves once each client has told its observer. */
    disconnectToolService(options?: ClientOption): Promise<void>;
    /** How many clients are alive. */
    liveClients(): number;

    /** A token renewal to the observer of every live account tool; resolves once each has been told. */
    emitTokenUpdated(token: string): Promise<void>;
    /** An MCP token renewal, as emitTokenUpdated. */
    emitMcpTokenUpdated(token: string): Promise<void>;
    /** Cancels every loopback transfer in flight; returns how many there were. */
    cancelTransfers(): number;
    /** Holds transfers started afterwards to `bytesPerSecond`; 0 lifts the limit. */
    setTransferRate(bytesPerSecond: number): void;
    /** The lock screen loopback remote-control tools report. */
    setScreenLocked(locked: boolean): void;

    /** The SDK driving the application's chat session manager and its sessions. */
    chat: Chat;
    /** The SDK driving the application's notification service. */
    notification: Notification;
    /** The SDK driving the application's audit session manager and its sessions. */
    audit: Audit;
    /** The SDK driving the workspace manager of the second agent runtime. */
    workspace: Workspace;

    /** A drive's report as it stands now (null while its callback has neither run nor been dropped). */
    driveReport(drive: number): Report<Record<string, unknown>> | null;
    /** How many times, in all, drive callbacks ran again after their first run. */
    driveDuplicates(): number;
  }
}

declare const emulator: emulator.Emulator;
export = emulator;
