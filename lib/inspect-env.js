'use strict';
// OMBRIX_INSPECT=<port> (0: a free one) serves the substitute SDK's inspector
// page from the moment the module loads, on the main thread. A module built
// against the vendor's SDK has no inspector, and says so.
const { isMainThread } = require('worker_threads');
const { helperPath } = require('./binding');

function fromEnv(value = process.env.OMBRIX_INSPECT) {
  if (value === undefined || value === '' || !isMainThread) return;
  const warn = (text) => process.emitWarning(`OMBRIX_INSPECT=${value}: ${text}`, 'OmbrixInspectorWarning');
  const port = Number(value);
  if (!/^\d+$/.test(value) || port > 65535) return warn('not a port number (0 picks a free one); no inspector');
  try {
    helperPath('control', 'ombrix_control');
  } catch {
    return warn('this build of the module runs the vendor\'s SDK, which has no inspector');
  }
  require('../emulator/js/inspector').inspect({ port }).catch((error) => warn(`no inspector: ${error.message}`));
}

module.exports = { fromEnv };
