'use strict';
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');

const ombrix = require('..');
const { rejection, collectAfterAll, clientIn, emu, scratchDir, scripted } = require('./helpers');

collectAfterAll(test);

describe('shellExec (scripted)', { skip: scripted }, () => {
  let shell;
  before(async () => {
    emu.setMode('scripted');
    shell = await ombrix.createOmbrixClient({ serverName: 'shell' }).createRemoteShellTool();
  });
  after(() => {
    shell = null;  // collected at the end: nothing native is left alive
  });

  test('a missing working directory is a TypeError naming the signature', () => {
    assert.throws(() => shell.shellExec('d', 'ls'), {
      name: 'TypeError',
      message: 'Expected (deviceId: string, command: string, workingDir: string, signal?: AbortSignal)',
    });
  });

  test('the SDK receives deviceId, command and workingDir', async () => {
    const pending = shell.shellExec('d', 'make', '');
    const call = await emu.nextCall('ExecuteShell');
    assert.deepEqual(call.args, { deviceId: 'd', command: 'make', workingDir: '' });
    emu.complete(call, {});
    await pending;
  });

  test('an abort cancels the SDK call', async () => {
    const controller = new AbortController();
    const pending = shell.shellExec('d', 'make', '', controller.signal);
    const call = await emu.nextCall('ExecuteShell');
    controller.abort();
    assert.equal(emu.isCancelled(call), true);
    emu.complete(call, {});
    await pending;
  });

  test('the result has every key, in order, with what the SDK gave', async () => {
    const pending = shell.shellExec('d', 'make', '');
    emu.complete(await emu.nextCall('ExecuteShell'), { exitCode: 143, stderrOutput: 'killed', durationMs: 12 });
    assert.deepEqual(await pending, { success: false, stdoutOutput: '', stderrOutput: 'killed',
      exitCode: 143, message: '', errorMessage: '', durationMs: 12 });
  });

  // No re-lock: a cancellable call goes through the member it tested.
  test('a cancellable call survives a failing weak lock', async () => {
    emu.injectWeakLockFailure('RemoteShellTool');
    const direct = shell.shellExec('d', 'true', '/');
    emu.complete(await emu.nextCall('ExecuteShell'), { success: true });
    assert.equal((await direct).success, true);
  });

  test('a tool without an SDK tool rejects', async () => {
    const reason = await rejection(new shell.constructor().shellExec('d', 'ls', ''));
    assert.equal(reason.message, 'Tool is not initialized');
  });
});

describe('shellExec (loopback)', { timeout: 30000 }, () => {
  const windows = process.platform === 'win32';
  const eol = windows ? '\r\n' : '\n';
  const dir = scratchDir(test);
  let shell;
  before(async () => {
    shell = await clientIn('loopback').createRemoteShellTool();
  });
  after(() => {
    shell = null;  // collected at the end: nothing native is left alive
  });

  test('a real command: its output, exit code 0, the working directory', async () => {
    const ok = await shell.shellExec('local', windows ? 'echo out&echo err>&2&cd' : 'echo out; echo err >&2; pwd', dir);
    assert.deepEqual([ok.success, ok.exitCode, ok.stdoutOutput, ok.stderrOutput],
      [true, 0, `out${eol}${fs.realpathSync.native(dir)}${eol}`, `err${eol}`]);
  });

  test('a failing command resolves with its exit code', async () => {
    const failed = await shell.shellExec('local', 'exit 3', '');
    assert.deepEqual([failed.success, failed.exitCode], [false, 3]);
  });

  test('a missing working directory: exit code -1 and its message', async () => {
    const nowhere = path.join(dir, 'absent');
    assert.deepEqual(await shell.shellExec('local', 'exit 0', nowhere).then((r) => [r.exitCode, r.errorMessage]),
      [-1, `No such directory: ${nowhere}`]);
  });

  test('cancelling ends the command and the processes it started', async () => {
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
  });

  test('long commands, more of them than there are cores, do not hold up a quick one', async () => {
    const later = new AbortController();
    const long = Array.from({ length: 6 },
      () => shell.shellExec('local', windows ? 'ping -n 31 127.0.0.1 >NUL' : 'sleep 30', '', later.signal));
    assert.equal((await shell.shellExec('local', 'echo quick', '')).stdoutOutput, `quick${eol}`);
    later.abort();
    for (const result of await Promise.all(long)) {
      assert.deepEqual([result.success, result.errorMessage], [false, 'Cancelled']);
    }
  });
});

// Whether `pid` runs; a zombie that an init which does not reap keeps is gone.
function alive(pid) {
  try {
    process.kill(pid, 0);
  } catch {
    return false;
  }
  try {
    return !/\) Z /.test(fs.readFileSync(`/proc/${pid}/stat`, 'utf8'));
  } catch {
    return true;
  }
}
