'use strict';
// Control surface of the substitute SDK, for tests, examples and benchmarks.
// It steers the same SDK instance as the module, in the same process.
const native = require('./native');

const claimed = new Set();

// Drives: each resolves when the SDK callback it made has run.
const waiting = new Map();
let listener = 0;

function onDriveReport(drive) {
  const resolve = waiting.get(drive);
  if (!resolve) return;
  waiting.delete(drive);
  if (waiting.size === 0) native.holdEvents(false);
  resolve(JSON.parse(native.driveReport(drive)));
}

// Registers this environment for reports (and its thread as a JS thread).
function listen() {
  if (!listener) listener = native.onDriveReport(onDriveReport);
  return listener;
}

// What a drive acts on, from its options: `client` (an id, or a server name
// naming one live client; by default the newest client created on this
// thread, else the newest of all), or an object the SDK holds by id.
function routed(args, options) {
  const routing = {};
  for (const key of ['client', 'service', 'manager']) {
    if (options && options[key] !== undefined) routing[key] = options[key];
  }
  return { ...args, ...routing };
}

/** Starts a drive; returns what it returned at once, plus `done` for asynchronous ones. */
function startDrive(service, op, args = {}, options = undefined) {
  listen();
  const started = JSON.parse(native.drive(service, op, JSON.stringify(routed(args, options)), listener));
  if (started.error) throw new Error(started.error);
  if (started.drive !== undefined) {
    started.done = new Promise((resolve) => {
      waiting.set(started.drive, resolve);
      if (waiting.size === 1) native.holdEvents(true);
    });
  }
  return started;
}

/** A drive's report once its callback has run: the decoded record, thread, calls. */
async function drive(service, op, args, options) {
  const started = startDrive(service, op, args, options);
  return started.done ? started.done : started;
}

const nextImmediate = () => new Promise((resolve) => setImmediate(resolve));
const nextTimer = () => new Promise((resolve) => setTimeout(resolve, 0));

/**
 * A change of SDK state made on other threads: resolves with the drive's
 * report once the SDK has made it and then the module has had two turns of
 * this thread's event loop to hand it on (an observer to the application's
 * setObserver, an event to its observer). The module runs what it is handed
 * in the poll phase that follows, or, when a turn of its was left over, from
 * setImmediate, which signals that poll phase again: a check phase, a timer
 * and another check phase are past both.
 */
async function change(service, op, args, options) {
  const report = await drive(service, op, args, options);
  await nextImmediate();
  await nextTimer();
  await nextImmediate();
  return report;
}

function idOf(call) {
  return typeof call === 'object' && call !== null ? call.id : call;
}

function check(ok, what) {
  if (!ok) throw new Error(what);
}

const emulator = {
  // --- the inspector page -------------------------------------------------------
  /**
   * Serves the inspector page on 127.0.0.1 (`port` 0: a free one), prints its
   * URL once, and resolves with { url, port, token, close() }.
   */
  inspect: (options) => require('./inspector').inspect(options),

  // --- runtime ---------------------------------------------------------------
  /** How often crash reporting was started and stopped: { initialized, shutdown }. */
  sentryCounts: native.sentryCounts,
  /** Objects currently owned through the SDK's SharedPtr, by contract type. */
  liveObjects: native.liveObjects,
  /** Bytes held from malloc by the whole process (-1 where unknown): for memory benchmarks. */
  mallocBytes: native.mallocBytes,
  /** The next ThreadItf::Create returns empty. */
  injectThreadCreateFailure: native.injectThreadCreateFailure,
  /**
   * Writes log lines from new SDK threads; resolves when all are written.
   * Strings given as null stay null pointers; `level` may be any number.
   * @param {{level?: number, module?: string|null, file?: string|null, line?: number,
   *          function?: string|null, message?: string, threads?: number, lines?: number}} options
   */
  emitLogs: async (options) => Number(await native.emitLogs(options)),
  /** SDK threads that log INFO lines without pause until stopLogStorm() (resolves with the count). */
  startLogStorm: native.startLogStorm,
  stopLogStorm: async () => Number(await native.stopLogStorm()),

  /** What the SDK's logger::IsEnabled answers for `level` now. */
  loggerEnabled: (level) => native.loggerEnabled(level),
  /** The name of the signaling thread the newest live client was given ('' with none). */
  signalingThreadName: native.signalingThreadName,

  // --- hostile mode ------------------------------------------------------------
  // Every legal but unkind habit of a vendor SDK, striking at random from a
  // seed (docs/substitute-sdk.md). OMBRIX_HOSTILE sets it when the SDK loads.
  hostile: {
    /**
     * @param {{enabled?: boolean, seed?: string|number|bigint, habits?: string|string[],
     *          percent?: number}} [options] habits: 'quiet' (the default: results
     *   stay as they are), 'all', or habit names
     */
    set({ enabled = true, seed = 0, habits = 'quiet', percent = 25 } = {}) {
      const list = Array.isArray(habits) ? habits.join(',') : habits;
      check(native.setHostile(enabled, String(seed), list, percent), `unknown habit in "${list}" or bad percent`);
    },
    off() {
      native.setHostile(false, '0', 'quiet', 25);
    },
    /** { enabled, seed (a string), percent, habits: { name: times struck }, held } */
    status: () => JSON.parse(native.hostileStatus()),
    /** Lets go of the callbacks held by the 'never' habit (unanswered); returns how many. */
    releaseHeld: native.releaseHeldCallbacks,
  },

  // --- modes and scripted calls ---------------------------------------------
  /** 'loopback' (real work on this machine) or 'scripted'; for clients created afterwards. */
  setMode(mode) {
    check(native.setMode(mode), `unknown mode "${mode}" (loopback or scripted)`);
  },
  mode: native.getMode,
  /**
   * Scripted calls waiting for completion, oldest first:
   * [{ id, op, args, thread, cancelled }]; thread '' means the JavaScript thread.
   */
  calls(op) {
    const all = JSON.parse(native.pendingCalls());
    return op ? all.filter((call) => call.op === op) : all;
  },
  /** Resolves with the next pending call (of `op`, if given) not returned before. */
  async nextCall(op, { timeoutMs = 10000 } = {}) {
    const deadline = Date.now() + timeoutMs;
    for (;;) {
      const call = emulator.calls(op).find((c) => !claimed.has(c.id));
      if (call) {
        claimed.add(call.id);
        return call;
      }
      if (Date.now() > deadline) throw new Error(`no ${op || ''} call within ${timeoutMs} ms`);
      await new Promise((resolve) => setTimeout(resolve, 1));
    }
  },
  /** Delivers `record` (an object, string or null) to the call's callback from an SDK thread. */
  complete(call, record = null) {
    check(native.completeCall(idOf(call), JSON.stringify(record)), `call ${idOf(call)} is not pending`);
  },
  /** The SDK lets go of the call's callback without invoking it. */
  drop(call) {
    check(native.dropCall(idOf(call)), `call ${idOf(call)} is not pending`);
  },
  /** Whether Cancel was called on a pending call's operation handle. */
  isCancelled(call) {
    const found = emulator.calls().find((c) => c.id === idOf(call));
    return found ? found.cancelled : undefined;
  },
  /** Every later scripted call of `op` completes at once with `record`; null stops it. */
  autoComplete(op, record) {
    native.setAutoComplete(op, record === null || record === undefined ? '' : JSON.stringify(record));
  },

  // --- faults ----------------------------------------------------------------
  /**
   * The next call at `site` (a factory or an operation: 'CreateOmbrixClient',
   * 'CreateRemoteFileTool', 'ReadFile', …, or 'SetLogger') returns empty
   * ('empty'; an operation drops its callback unanswered, SetLogger ignores
   * the call) or throws ('throw'). An unknown site or kind throws an Error
   * that lists the valid ones.
   */
  injectFault(site, kind = 'empty') {
    const refused = native.injectFault(String(site), String(kind));
    if (refused) throw new Error(refused);
  },
  /** The next WeakPtr lock of a contract type ('RemoteFileTool', …) fails; an unknown type throws. */
  injectWeakLockFailure(type) {
    const refused = native.injectWeakLockFailure(String(type));
    if (refused) throw new Error(refused);
  },
  /** Disarms every injected fault, weak-lock failure and thread-create failure; returns how many. */
  clearFaults: native.clearFaults,

  // --- clients and their events ---------------------------------------------
  // Events resolve once every client they reach has told its observer; the
  // `client` option sends one to that client only, else to every live client.
  /** The live clients, oldest first: [{ id, serverName, mode, signalingThread, thisThread }]. */
  clients: () => JSON.parse(native.clients()),
  /** Sent from the signaling thread of every live client (or the one `client` names). */
  emitConnectionState: async (state, options) => {
    await change('events', 'connectionState', { state }, options);
  },
  /** Announces a new tool service; `{ empty: true }` sends an empty pointer. */
  announceToolService: async ({ empty = false, ...options } = {}) => {
    await change('events', 'announceToolService', { empty }, options);
  },
  disconnectToolService: async (options) => {
    await change('events', 'disconnectToolService', {}, options);
  },
  liveClients: native.liveClients,

  // --- account, transfer and remote-control tools ---------------------------
  /** A token renewal sent to the observer of every live account tool, from an SDK thread. */
  emitTokenUpdated: async (token) => {
    await change('events', 'tokenUpdated', { mcp: false, token: String(token) });
  },
  emitMcpTokenUpdated: async (token) => {
    await change('events', 'tokenUpdated', { mcp: true, token: String(token) });
  },
  /** Cancels every loopback file transfer in flight; returns how many there were. */
  cancelTransfers: native.cancelTransfers,
  /** Holds loopback transfers started afterwards to `bytesPerSecond`; 0 lifts the limit. */
  setTransferRate: native.setTransferRate,
  /** The lock screen loopback remote-control tools report (unlocked at start). */
  setScreenLocked: (locked) => native.setScreenLocked(Boolean(locked)),

  // --- the SDK driving the application's chat services -------------------------
  // Every call runs on an SDK thread against the chat session manager of the
  // client the `client` option names (see routed()). Reports carry the
  // callback's decoded record plus `thread`, `onJsThread` and `calls`.
  // Sessions are referred to by the ids reports give.
  chat: {
    /** `{ noCallback: true }` passes no callback: returns at once, with nothing to report. */
    setLanguageCode: (language, { noCallback = false, ...options } = {}) =>
      (noCallback ? startDrive : drive)('chat', 'setLanguageCode', { language, noCallback }, options),
    createSession: (mode, options) => drive('chat', 'createSession', { mode }, options),
    getSessions: (options) => drive('chat', 'getSessions', {}, options),
    getCachedInfo: (session) => startDrive('chat', 'getCachedInfo', { session }).info,
    getInfo: (session) => drive('chat', 'getInfo', { session }),
    setTitle: (session, title) => drive('chat', 'setTitle', { session, title }),
    /**
     * Returns at once { drive, stream, confirm, done }: `done` resolves with the
     * report; stream and confirm (ids, unless disabled) can be inspected meanwhile.
     * @param {{stream?: boolean, confirm?: boolean, attachments?: object[],
     *          extra?: string|null, form?: 'full'|'attachments'|'short'}} [options]
     */
    sendChat: (session, content, options = {}) => startDrive('chat', 'sendChat', { session, content, ...options }),
    stop: (session) => drive('chat', 'stop', { session }),
    delete: (session) => drive('chat', 'delete', { session }),
    /** Registers an SDK observer (or clears it with false); resolves with its id once the session has it. */
    setObserver: async (session, attach = true) =>
      (await change('chat', 'setObserver', { session, observer: attach })).observer,
    /** The SDK drops its reference to the session. */
    release: (session) => { startDrive('chat', 'release', { session }); },
    /** The SDK drops every session, stream, confirmation and observer it holds. */
    releaseAll: () => startDrive('chat', 'releaseAll').released,
    /** What the SDK's side of a stream received, in order. */
    streamEvents: (stream) => JSON.parse(native.inspect('stream', stream)),
    cancelToolCall: (stream, index) => native.cancelToolCall(stream, index),
    confirmRequests: (confirm) => JSON.parse(native.inspect('confirm', confirm)),
    /** Answers a confirmation request from an SDK thread. */
    answerConfirm(confirm, request, response) {
      check(native.answerConfirm(confirm, request, typeof response === 'string' ? response : JSON.stringify(response)),
        `no unanswered request ${request}`);
    },
    observerEvents: (observer) => JSON.parse(native.inspect('observer', observer)),
    /** `threads` SDK threads × `calls` setLanguageCode calls at once. */
    storm: async (threads, calls, options) => {
      listen();
      const result = JSON.parse(await native.chatStorm(threads, calls, JSON.stringify(routed({}, options))));
      if (result.error) throw new Error(result.error);
      return result;
    },
  },
  // --- the SDK driving the application's notification service -----------------
  // Against the notification service (its third argument) of the client the
  // `client` option names; `{ service }` (an id from hold()) drives a service
  // the SDK kept instead.
  notification: {
    /** Hands the service a new SDK observer (false: an empty one); resolves with its id (or null) once the service has it. */
    setObserver: async (attach = true, options) =>
      (await change('notification', 'setObserver', { observer: attach }, options)).observer,
    getNotifications: (options) => drive('notification', 'getNotifications', {}, options),
    markAsRead: (id, options) => drive('notification', 'markAsRead', { id }, options),
    dismiss: (id, options) => drive('notification', 'dismiss', { id }, options),
    dismissAll: (options) => drive('notification', 'dismissAll', {}, options),
    /** The SDK keeps the client's service beyond the client's life (and its environment's); returns its id. */
    hold: (options) => startDrive('notification', 'hold', {}, options).service,
    /** What the SDK observer was told: [{ event: 'notification'|'updated'|'removed', …, thread, onJsThread }]. */
    observerEvents: (observer) => JSON.parse(native.inspect('notificationObserver', observer)),
    /** The SDK drops its observer; the application's observer functions then do nothing. */
    release: (observer) => { startDrive('notification', 'release', { observer }); },
    releaseAll: () => startDrive('notification', 'releaseAll').released,
  },

  // --- the SDK driving the application's audit sessions -------------------------
  // Against the manager given to setAuditManager of the client the `client`
  // option names; sessions are referred to by the ids reports give.
  audit: {
    createSession: (options) => drive('audit', 'createSession', {}, options),
    getSessions: (options) => drive('audit', 'getSessions', {}, options),
    getCachedInfo: (session) => startDrive('audit', 'getCachedInfo', { session }).info,
    getInfo: (session) => drive('audit', 'getInfo', { session }),
    /** `options` is the SDK's text argument; null passes a null pointer. */
    start: (session, options = '') => drive('audit', 'start', { session, options }),
    stop: (session) => drive('audit', 'stop', { session }),
    getReport: (session) => drive('audit', 'getReport', { session }),
    /** Registers an SDK observer (or clears it with false); resolves with its id (or null) once the session has it. */
    setObserver: async (session, attach = true) =>
      (await change('audit', 'setObserver', { session, observer: attach })).observer,
    /** [{ event: 'recordingDone'|'reportReady'|'error', message?, thread, onJsThread }] */
    observerEvents: (observer) => JSON.parse(native.inspect('auditObserver', observer)),
    release: (session) => { startDrive('audit', 'release', { session }); },
    /** The SDK drops every audit session and observer it holds. */
    releaseAll: () => startDrive('audit', 'releaseAll').released,
  },

  // --- the SDK driving the workspace manager of the second agent runtime ----------
  // Against the manager (createFernwickManager) of the client the `client`
  // option names, or one held by id (`{ manager }`).
  workspace: {
    /** Returns at once { drive, done }; `done` resolves with the report. */
    setWorkspace: (workspace, options) => startDrive('workspace', 'setWorkspace', { workspace }, options),
    /** The SDK keeps the client's manager beyond the client's life; returns its id. */
    hold: (options) => startDrive('workspace', 'hold', {}, options).manager,
    release: (manager) => { startDrive('workspace', 'release', { manager }); },
    releaseAll: () => startDrive('workspace', 'releaseAll').released,
  },

  /**
   * A drive's report as it stands now (e.g. to confirm `calls` stayed 1);
   * a callback released without having run reports { dropped: true, calls: 0 }.
   */
  driveReport: (id) => JSON.parse(native.driveReport(id)),
  /** How many times, in all, the SDK's drive callbacks ran again after their first run (0 unless a service answered twice). */
  driveDuplicates: native.driveDuplicates,
};

module.exports = emulator;
