'use strict';
// ombrix_addon/lifetime: pending calls cancelled and awaited at shutdown, with
// nothing left that keeps the process up.
const test = require('node:test');
const assert = require('node:assert/strict');
const { getEventListeners } = require('node:events');
const ombrix = require('ombrix_addon');
const { createLifetime } = require('ombrix_addon/lifetime');
const { emu, scripted, clientIn, collectAfterAll, runNode } = require('./helpers');

function deferred() {
  let resolve;
  let reject;
  const promise = new Promise((res, rej) => { resolve = res; reject = rej; });
  return { promise, resolve, reject };
}

const links = (life) => getEventListeners(life.signal, 'abort').length;

test('run() gives each call its own signal, linked to shutdown only while the call is pending', async () => {
  const life = createLifetime();
  const signals = [];
  const calls = [deferred(), deferred(), deferred()];
  const results = calls.map((call) => life.run((signal) => { signals.push(signal); return call.promise; }));
  assert.equal(new Set(signals).size, 3);
  assert.deepEqual([life.pending, links(life)], [3, 3]);

  calls[0].resolve('done');
  calls[1].reject(new Error('failed'));
  assert.equal(await results[0], 'done');
  await assert.rejects(results[1], { message: 'failed' });  // the caller still sees the rejection
  assert.deepEqual([life.pending, links(life), signals[0].aborted], [1, 1, false]);

  // A start that throws is no call: nothing stays linked or pending.
  assert.throws(() => life.run(() => { throw new Error('bad start'); }), { message: 'bad start' });
  assert.throws(() => life.run('not a function'), { name: 'TypeError', code: 'ERR_OMBRIX_INVALID_ARG' });
  assert.throws(() => life.track(5), { name: 'TypeError', code: 'ERR_OMBRIX_INVALID_ARG' });
  assert.deepEqual([life.pending, links(life)], [1, 1]);

  const reason = new Error('stopping');
  const shutdown = life.shutdown({ graceMs: Infinity, reason });
  assert.deepEqual([signals[2].aborted, signals[2].reason], [true, reason]);
  assert.equal(signals[0].aborted, false, 'a settled call is no longer followed');
  calls[2].resolve();
  assert.deepEqual(await shutdown, { cancelled: 1, settled: 1, abandoned: 0 });
  assert.equal(links(life), 0);
});

test('shutdown waits for tracked calls up to the grace period and counts what it left', async (t) => {
  const life = createLifetime();
  const late = deferred();
  const never = deferred();
  assert.equal(life.track(late.promise), late.promise);
  life.track(never.promise);
  life.run(() => never.promise);

  // The grace timer is unref'd: only the calls or the application keep the process up meanwhile.
  const app = setInterval(() => {}, 1000);
  t.after(() => clearInterval(app));
  const first = life.shutdown({ graceMs: 0 });
  assert.equal(life.shutdown(), first, 'a second shutdown is the first');
  late.resolve();
  assert.deepEqual(await first, { cancelled: 1, settled: 1, abandoned: 2 });

  // Started after shutdown: aborted at once, not waited for.
  let signal;
  life.run((s) => { signal = s; return never.promise; });
  assert.equal(signal.aborted, true);
  assert.equal(await life.shutdown({ graceMs: 0 }), await first);
});

test('shutdown closes the clients it is given and clears the SDK logger, even when a close throws', async () => {
  let closed = [];
  const client = (name) => ({ close() { closed.push(name); } });
  ombrix.setLogger(() => {}, ombrix.LogLevel.DEBUG);
  assert.deepEqual(await createLifetime().shutdown({ clients: [client('a'), client('b')] }),
    { cancelled: 0, settled: 0, abandoned: 0 });
  assert.deepEqual(closed, ['a', 'b']);
  if (emu) assert.equal(emu.loggerEnabled(ombrix.LogLevel.FATAL), false);

  closed = [];
  ombrix.setLogger(() => {}, ombrix.LogLevel.DEBUG);
  const failing = { close() { throw new Error('close failed'); } };
  await assert.rejects(createLifetime().shutdown({ clients: [failing, client('c')] }), { message: 'close failed' });
  if (emu) assert.equal(emu.loggerEnabled(ombrix.LogLevel.FATAL), false);
});

test('a module call started through run() is cancelled at the SDK by shutdown', { skip: scripted }, async () => {
  let client = clientIn('scripted', 'lifetime');
  let shell = null;
  collectAfterAll(test, () => { client = null; shell = null; });
  shell = await client.createRemoteShellTool();
  const life = createLifetime();
  const running = life.run((signal) => shell.shellExec('device-1', 'sleep 600', '/tmp', signal));
  const call = await emu.nextCall('ExecuteShell');

  const shutdown = life.shutdown({ clients: [client], graceMs: Infinity });
  assert.equal(emu.isCancelled(call), true);
  emu.complete(call, { exitCode: 143, stderrOutput: 'Cancelled' });
  assert.equal((await running).exitCode, 143);
  assert.deepEqual(await shutdown, { cancelled: 1, settled: 1, abandoned: 0 });
  assert.throws(() => client.createRemoteShellTool(), { code: 'ERR_OMBRIX_NOT_INITIALIZED' });
});

test('after shutdown an application with long calls, a client and a logger ends by itself', async () => {
  // Loopback mode: a real shell command that would run for ten minutes.
  const { code, stdout, stderr, timedOut } = await runNode(`
    const ombrix = require('ombrix_addon');
    const { createLifetime } = require('ombrix_addon/lifetime');
    ombrix.setLogger(() => {});
    const client = ombrix.createOmbrixClient({ serverName: 'lifetime-exit' });
    const life = createLifetime();
    (async () => {
      const shell = await client.createRemoteShellTool();
      life.run((signal) => shell.shellExec('device-1', 'sleep 600', '/tmp', signal));
      life.track(shell.shellExec('device-1', 'sleep 1', '/tmp'));  // given no signal: waited for
      setImmediate(async () => console.log(JSON.stringify(await life.shutdown({ clients: [client], graceMs: 60000 }))));
    })();
  `, { timeoutMs: 30000 });
  assert.equal(timedOut, false, `the process did not end by itself\n${stdout}\n${stderr}`);
  assert.equal(code, 0, stderr);
  assert.deepEqual(JSON.parse(stdout), { cancelled: 1, settled: 2, abandoned: 0 });
});
