'use strict';
// Control surface of the substitute SDK, for tests, examples and benchmarks.
// It drives the same SDK instance as the module, in the same process.
const { bindingPath } = require('../../lib/binding');

const native = require(bindingPath('ombrix_control'));

module.exports = {
  /** @returns {{initialized: number, shutdown: number}} */
  sentryCounts: native.sentryCounts,
  /** Objects currently owned through SharedPtr, by contract type. */
  liveObjects: native.liveObjects,
  /** The next ThreadItf::Create returns empty. */
  injectThreadCreateFailure: native.injectThreadCreateFailure,
  /**
   * Writes log lines from new SDK threads; resolves when all are written.
   * @param {{level?: number, module?: string|null, file?: string|null, line?: number,
   *          function?: string|null, message?: string, threads?: number, lines?: number}} options
   */
  emitLogs: native.emitLogs,
  /** SDK threads that log INFO lines until stopLogStorm() (resolves with the count). */
  startLogStorm: native.startLogStorm,
  stopLogStorm: native.stopLogStorm,
};
