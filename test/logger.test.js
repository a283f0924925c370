'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const { waitFor, runNode, nodeEnv, emu, scripted } = require('./helpers');

// Installs a collecting logger; the caller must clear it (an installed logger
// keeps the process alive).
function collect(minLevel) {
  const lines = [];
  const args = [(context, message) => lines.push({ context, message })];
  if (minLevel !== undefined) args.push(minLevel);
  assert.strictEqual(ombrix.setLogger(...args), true);
  return lines;
}

async function emitted(lines, options) {
  await emu.emitLogs({ module: 'test', file: 'f.cc', function: 'fn', line: 7, ...options });
  // Lines are delivered asynchronously; a marker line at FATAL flushes the queue.
  const marker = `marker ${Math.random()}`;
  await emu.emitLogs({ level: 5, message: marker });
  await waitFor(() => lines.some((l) => l.message === marker), { what: marker });
  return lines.filter((l) => !l.message.startsWith('marker '));
}

test('lines carry the context keys in order, with names for every level', { skip: scripted }, async (t) => {
  t.after(() => ombrix.setLogger(null));
  const lines = collect(0);
  const got = await emitted(lines, { level: 0, message: 'hello' });
  assert.equal(got.length, 1);
  assert.deepEqual(Object.keys(got[0].context), ['level', 'module', 'file', 'line', 'function']);
  assert.deepEqual(got[0].context, { level: 'TRACE', module: 'test', file: 'f.cc', line: 7, function: 'fn' });
  assert.equal(got[0].message, 'hello');

  lines.length = 0;
  await emitted(lines, { level: 9, module: null, file: null, function: null, message: 'odd' });
  const odd = lines.find((l) => l.message === 'odd');
  assert.deepEqual(odd.context, { level: 'UNKNOWN', module: '', file: '', line: 7, function: '' });
  // A negative level is below every minimum, so it is never delivered.
  lines.length = 0;
  const negative = await emitted(lines, { level: -1, message: 'negative' });
  assert.deepEqual(negative, []);
});

test('the minimum level defaults to INFO unless a valid number is given', { skip: scripted }, async (t) => {
  t.after(() => ombrix.setLogger(null));
  for (const level of [undefined, 7, -1, '0', null]) {
    const lines = collect(level);
    await emu.emitLogs({ level: 1, message: 'debug' });
    const got = await emitted(lines, { level: 2, message: 'info' });
    assert.deepEqual(got.map((l) => l.message), ['info'], `minLevel ${String(level)}`);
  }
  const lines = collect(3);
  const got = await emitted(lines, { level: 2, message: 'info' });
  assert.deepEqual(got, []);
});

test('setLogger refuses a callback that is not a function', { skip: scripted }, () => {
  assert.throws(() => ombrix.setLogger(42), {
    name: 'TypeError', message: 'Expected callback function or null as first argument',
  });
  assert.throws(() => ombrix.setLogger({}), TypeError);
});

test('setLogger with no argument, null or undefined clears the logger', { skip: scripted }, async () => {
  for (const clear of [() => ombrix.setLogger(), () => ombrix.setLogger(null),
    () => ombrix.setLogger(undefined)]) {
    const lines = collect(0);
    assert.strictEqual(clear(), true);
    await emu.emitLogs({ level: 5, message: 'after clear' });
    await new Promise((resolve) => setTimeout(resolve, 20));
    assert.deepEqual(lines, []);
  }
});

test('lines logged from several SDK threads at once all arrive', { skip: scripted }, async (t) => {
  t.after(() => ombrix.setLogger(null));
  const lines = collect();
  const got = await emitted(lines, { level: 4, message: 'burst', threads: 4, lines: 500 });
  assert.equal(got.length, 2000);
  const tags = new Set(got.map((l) => l.message));
  assert.equal(tags.size, 2000);
  for (let t = 0; t < 4; ++t) assert.ok(tags.has(`burst [${t}:499]`));
  // Each thread's lines keep their order.
  for (let t = 0; t < 4; ++t) {
    const mine = got.filter((l) => l.message.startsWith(`burst [${t}:`))
      .map((l) => Number(l.message.split(':')[1].slice(0, -1)));
    assert.deepEqual(mine, [...mine].sort((a, b) => a - b));
  }
});

test('replacing the logger sends later lines to the new callback only', { skip: scripted }, async (t) => {
  t.after(() => ombrix.setLogger(null));
  const first = collect();
  await emitted(first, { level: 2, message: 'to first' });
  const second = collect();
  const got = await emitted(second, { level: 2, message: 'to second' });
  assert.deepEqual(got.map((l) => l.message), ['to second']);
  assert.equal(first.filter((l) => l.message === 'to second').length, 0);
});

// The SDK's SetLogger need not wait for threads inside the logger it replaces.
test('swapping the logger under eight logging threads neither crashes nor hangs, though SetLogger does not wait', { skip: scripted }, async () => {
  const result = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    let delivered = 0;
    emu.startLogStorm(8);
    for (let i = 0; i < 1000; ++i) ombrix.setLogger(() => { delivered++; }, i % 6);
    ombrix.setLogger(() => { delivered++; }, 0);  // INFO lines flow until the storm stops
    const started = Date.now();
    const poll = setInterval(async () => {
      if (delivered < 100 && Date.now() - started < 20000) return;
      clearInterval(poll);
      ombrix.setLogger(null);
      const written = await emu.stopLogStorm();
      console.log(JSON.stringify({ written, delivered }));
    }, 5);
  `, { timeoutMs: 60000, env: { ...nodeEnv(), OMBRIX_HOSTILE: '1', OMBRIX_HOSTILE_HABITS: 'loggerNoWait' } });
  assert.equal(result.code, 0, result.stderr);
  const { written, delivered } = JSON.parse(result.stdout);
  assert.ok(written > 0);
  assert.ok(delivered > 0 && delivered <= written, `${delivered} of ${written}`);
});

test('what the SDK reports enabled follows setLogger; an SDK SetLogger that throws is an Error', { skip: scripted }, (t) => {
  t.after(() => ombrix.setLogger(null));
  ombrix.setLogger(() => {}, ombrix.LogLevel.WARNING);
  assert.deepEqual([2, 3, 5].map(emu.loggerEnabled), [false, true, true]);
  emu.injectFault('SetLogger', 'throw');
  assert.throws(() => ombrix.setLogger(() => {}, 0),
    { code: 'ERR_OMBRIX_SDK_FAILURE', message: 'Failed to set logger: SetLogger: injected failure' });
  assert.equal(emu.loggerEnabled(5), false, 'the logger the SDK still holds is silent');
  ombrix.setLogger(() => {}, 0);
  assert.equal(emu.loggerEnabled(0), true);
  emu.injectFault('SetLogger', 'throw');
  assert.throws(() => ombrix.setLogger(null), { message: 'Failed to clear logger: SetLogger: injected failure' });
  assert.equal(emu.loggerEnabled(0), true, 'still installed');
  ombrix.setLogger(null);
  assert.equal(emu.loggerEnabled(5), false);
});

test('loopback: what the SDK logs while it works reaches the logger, at or above its level', async (t) => {
  t.after(() => ombrix.setLogger(null));
  const lines = collect(ombrix.LogLevel.DEBUG);
  const client = ombrix.createOmbrixClient({ serverName: 'logger-loopback' });
  t.after(() => client.close());
  const files = await client.createRemoteFileTool();
  await files.fileRead('this-device', __filename, 1, 1);
  await waitFor(() => lines.length > 0, { what: 'a line logged by the SDK' });
  for (const { context, message } of lines) {
    assert.deepEqual(Object.keys(context), ['level', 'module', 'file', 'line', 'function']);
    assert.ok(['DEBUG', 'INFO', 'WARNING', 'ERROR', 'FATAL'].includes(context.level), context.level);
    assert.equal(typeof message, 'string');
  }
});
