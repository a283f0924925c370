// The ES module face of the control surface: `import emu from
// 'ombrix_addon/emulator'` and `import { setMode, chat } from …` both work.
import { createRequire } from 'node:module';

const emulator = createRequire(import.meta.url)('./index.js');

export default emulator;
export const {
  inspect, sentryCounts, liveObjects, mallocBytes, injectThreadCreateFailure, emitLogs, startLogStorm,
  stopLogStorm, loggerEnabled, signalingThreadName, hostile,
  setMode, mode, calls, nextCall, complete, drop, isCancelled, autoComplete,
  injectFault, injectWeakLockFailure, clearFaults,
  clients, emitConnectionState, announceToolService, disconnectToolService, liveClients,
  emitTokenUpdated, emitMcpTokenUpdated, cancelTransfers, setTransferRate, setScreenLocked,
  chat, notification, audit, workspace, driveReport, driveDuplicates,
} = emulator;
