'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { rejection, collectAfterAll } = require('./helpers');

collectAfterAll(test);

test('shellExec: arguments, result keys, cancellation and failures (scripted)', async () => {
  emu.setMode('scripted');
  const client = ombrix.createOmbrixClient({ serverName: 'shell' });
  const shell = await client.createRemoteShellTool();
  assert.throws(() => shell.shellExec('d', 'ls'), {
    name: 'TypeError',
    message: 'Expected (deviceId: string, command: string, workingDir: string, signal?: AbortSignal)',
  });

  const controller = new AbortController();
  const pending = shell.shellExec('d', 'make', '', controller.signal);
  const call = await emu.nextCall('ExecuteShell');
  assert.deepEqual(call.args, { deviceId: 'd', command: 'make', workingDir: '' });
  controller.abort();
  assert.equal(emu.isCancelled(call), true);
  emu.complete(call, { exitCode: 143, stderrOutput: 'killed', durationMs: 12 });
  assert.deepEqual(await pending, { success: false, stdoutOutput: '', stderrOutput: 'killed',
    exitCode: 143, message: '', errorMessage: '', durationMs: 12 });

  // No re-lock: a cancellable call goes through the member it tested.
  emu.injectWeakLockFailure('RemoteShellTool');
  const direct = shell.shellExec('d', 'true', '/');
  emu.complete(await emu.nextCall('ExecuteShell'), { success: true });
  assert.equal((await direct).success, true);

  const reason = await rejection(new shell.constructor().shellExec('d', 'ls', ''));
  assert.equal(reason.message, 'Tool is not initialized');
});

test('loopback: real commands, exit codes, working directory and cancellation',
  { skip: process.platform === 'win32' && 'the substitute SDK has no loopback shell on Windows', timeout: 30000 }, async () => {
  const { clientIn } = require('./helpers');
  const shell = await clientIn('loopback').createRemoteShellTool();
  const ok = await shell.shellExec('local', 'echo out; echo err >&2; pwd', '/tmp');
  assert.deepEqual([ok.success, ok.exitCode, ok.stdoutOutput, ok.stderrOutput],
    [true, 0, 'out\n/tmp\n', 'err\n']);
  const failed = await shell.shellExec('local', 'exit 3', '');
  assert.deepEqual([failed.success, failed.exitCode], [false, 3]);  // resolves all the same

  const controller = new AbortController();
  const sleeping = shell.shellExec('local', 'sleep 30', '', controller.signal);
  setTimeout(() => controller.abort(), 50);
  const cancelled = await sleeping;
  assert.deepEqual([cancelled.success, cancelled.errorMessage, cancelled.exitCode],
    [false, 'Cancelled', 128 + 15]);

  // Long commands, more of them than there are cores, do not hold up a quick one.
  const later = new AbortController();
  const long = Array.from({ length: 6 }, () => shell.shellExec('local', 'sleep 30', '', later.signal));
  assert.equal((await shell.shellExec('local', 'echo quick', '')).stdoutOutput, 'quick\n');
  later.abort();
  for (const result of await Promise.all(long)) {
    assert.deepEqual([result.success, result.errorMessage], [false, 'Cancelled']);
  }
});
