'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const { rejection, collectAfterAll, emu, scripted } = require('./helpers');

collectAfterAll(test);

test('shellExec: arguments, result keys, cancellation and failures (scripted)', { skip: scripted }, async () => {
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

test('loopback: real commands, exit codes, working directory and cancellation', { timeout: 30000 }, async (t) => {
  const fs = require('fs');
  const path = require('path');
  const { clientIn, scratchDir } = require('./helpers');
  const windows = process.platform === 'win32';
  const dir = scratchDir(t);
  const shell = await clientIn('loopback').createRemoteShellTool();
  const ok = await shell.shellExec('local', windows ? 'echo out&echo err>&2&cd' : 'echo out; echo err >&2; pwd', dir);
  const eol = windows ? '\r\n' : '\n';
  assert.deepEqual([ok.success, ok.exitCode, ok.stdoutOutput, ok.stderrOutput],
    [true, 0, `out${eol}${fs.realpathSync.native(dir)}${eol}`, `err${eol}`]);
  const failed = await shell.shellExec('local', 'exit 3', '');
  assert.deepEqual([failed.success, failed.exitCode], [false, 3]);  // resolves all the same
  const nowhere = path.join(dir, 'absent');
  assert.deepEqual(await shell.shellExec('local', 'exit 0', nowhere).then((r) => [r.exitCode, r.errorMessage]),
    [-1, `No such directory: ${nowhere}`]);

  // Cancelling ends the command's whole tree: here a sleeper the shell started.
  const pidFile = path.join(dir, 'sleeper.pid');
  const sleeper = windows
    ? `"${process.execPath}" -e "require('fs').writeFileSync(process.argv[1], String(process.pid)); setTimeout(() => {}, 30000)" "${pidFile}"`
    : `sleep 30 & echo $! > '${pidFile}'; wait`;
  const controller = new AbortController();
  const sleeping = shell.shellExec('local', sleeper, '', controller.signal);
  while (!fs.existsSync(pidFile) || !fs.readFileSync(pidFile, 'utf8').trim()) await new Promise((r) => setTimeout(r, 10));
  controller.abort();
  const cancelled = await sleeping;
  assert.deepEqual([cancelled.success, cancelled.errorMessage, cancelled.exitCode],
    [false, 'Cancelled', 128 + 15]);
  const pid = Number(fs.readFileSync(pidFile, 'utf8'));
  for (let tries = 0; tries < 200 && alive(pid); ++tries) await new Promise((r) => setTimeout(r, 10));
  assert.equal(alive(pid), false, 'the sleeper outlived the cancelled command');

  // Long commands, more of them than there are cores, do not hold up a quick one.
  const later = new AbortController();
  const long = Array.from({ length: 6 },
    () => shell.shellExec('local', windows ? 'ping -n 31 127.0.0.1 >NUL' : 'sleep 30', '', later.signal));
  assert.equal((await shell.shellExec('local', 'echo quick', '')).stdoutOutput, `quick${eol}`);
  later.abort();
  for (const result of await Promise.all(long)) {
    assert.deepEqual([result.success, result.errorMessage], [false, 'Cancelled']);
  }
});

// Whether `pid` runs; a zombie that an init which does not reap keeps is gone.
function alive(pid) {
  try {
    process.kill(pid, 0);
  } catch {
    return false;
  }
  try {
    return !/\) Z /.test(require('fs').readFileSync(`/proc/${pid}/stat`, 'utf8'));
  } catch {
    return true;
  }
}
