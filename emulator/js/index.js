'use strict';
// Control surface of the substitute SDK, for tests, examples and benchmarks.
// It steers the same SDK instance as the module, in the same process.
const { bindingPath } = require('../../lib/binding');

const native = require(bindingPath('ombrix_control'));

const claimed = new Set();

function idOf(call) {
  return typeof call === 'object' && call !== null ? call.id : call;
}

function check(ok, what) {
  if (!ok) throw new Error(what);
}

const emulator = {
  // --- runtime ---------------------------------------------------------------
  /** How often crash reporting was started and stopped: { initialized, shutdown }. */
  sentryCounts: native.sentryCounts,
  /** Objects currently owned through the SDK's SharedPtr, by contract type. */
  liveObjects: native.liveObjects,
  /** The next ThreadItf::Create returns empty. */
  injectThreadCreateFailure: native.injectThreadCreateFailure,
  /**
   * Writes log lines from new SDK threads; resolves when all are written.
   * Strings given as null stay null pointers; `level` may be any number.
   * @param {{level?: number, module?: string|null, file?: string|null, line?: number,
   *          function?: string|null, message?: string, threads?: number, lines?: number}} options
   */
  emitLogs: native.emitLogs,
  /** SDK threads that log INFO lines without pause until stopLogStorm() (resolves with the count). */
  startLogStorm: native.startLogStorm,
  stopLogStorm: native.stopLogStorm,

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
   * The next call at `site` (an SDK operation: 'CreateOmbrixClient',
   * 'CreateRemoteFileTool', …) returns empty ('empty') or throws ('throw').
   */
  injectFault(site, kind = 'empty') {
    check(native.injectFault(site, kind), `unknown fault kind "${kind}" (empty or throw)`);
  },
  /** The next WeakPtr lock of a contract type ('RemoteFileTool', …) fails. */
  injectWeakLockFailure(type) {
    check(native.injectWeakLockFailure(type), `unknown contract type "${type}"`);
  },

  // --- client events ---------------------------------------------------------
  /** Sent by every live client from its signaling thread. */
  emitConnectionState: native.emitConnectionState,
  /** Announces a new tool service; `{ empty: true }` sends an empty pointer. */
  announceToolService({ empty = false } = {}) {
    native.announceToolService(empty);
  },
  disconnectToolService: native.disconnectToolService,
  liveClients: native.liveClients,
};

module.exports = emulator;
