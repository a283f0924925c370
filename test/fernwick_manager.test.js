'use strict';
// The workspace manager of the second agent runtime: every request the SDK
// makes is answered exactly once.
const test = require('node:test');
const assert = require('node:assert/strict');
const { types } = require('util');
const { Worker } = require('worker_threads');

const ombrix = require('..');
const emu = require('../emulator/js');
const { waitFor, settle, collectAfterAll } = require('./helpers');

const received = [];
let answer = async () => ({ code: 0 });
const manager = { setFernwickWorkspace(path) { received.push(path); return answer(path); } };
let client = ombrix.createOmbrixClient({ serverName: 'workspace' });
let external;
collectAfterAll(test, () => { client = null; external = null; });

const outcome = (report) => [report.code, report.errorMessage, report.calls];

test('createFernwickManager: an external over the application\'s manager, or the SDK\'s own', async () => {
  assert.throws(() => client.createFernwickManager(5), {
    name: 'TypeError', message: 'createFernwickManager: arg 1 must be an FernwickManager object, null, or undefined',
  });
  assert.throws(() => new client.constructor().createFernwickManager(manager), { message: 'OmbrixClient is not initialized' });
  emu.injectFault('CreateFernwickManager', 'empty');
  assert.throws(() => client.createFernwickManager(manager),
    { message: 'createFernwickManager returned null (client not yet initialized?)' });
  emu.injectFault('CreateFernwickManager', 'throw');
  assert.throws(() => client.createFernwickManager(manager),
    { message: 'createFernwickManager failed: CreateFernwickManager: injected failure' });

  // Without one, the SDK uses its own manager, which answers off the JavaScript thread.
  assert.ok(types.isExternal(client.createFernwickManager(null)));
  const own = await emu.workspace.setWorkspace('/w/own').done;
  assert.deepEqual([...outcome(own), own.onJsThread], [0, null, 1, false]);

  external = client.createFernwickManager(manager);
  assert.ok(types.isExternal(external));
  const report = await emu.workspace.setWorkspace('/w/app').done;
  assert.deepEqual([...outcome(report), report.onJsThread], [0, null, 1, true]);
  assert.deepEqual(received, ['/w/app']);
});

test('completion: success whatever the fulfilment, a rejection\'s message, a lenient method', async () => {
  const cases = [
    [async () => ({ code: 5, errorMessage: 'ignored' }), [0, null, 1]],
    [() => undefined, [0, null, 1]],
    [() => Promise.reject(new Error('x')), [8, 'x', 1]],
    [() => Promise.reject(7), [8, 'Unknown error', 1]],
    [() => { throw new Error('sync'); }, [8, 'sync', 1]],
  ];
  for (const [how, expected] of cases) {
    answer = how;
    assert.deepEqual(outcome(await emu.workspace.setWorkspace('/w/case').done), expected, String(how));
  }
  const method = manager.setFernwickWorkspace;
  manager.setFernwickWorkspace = 'elsewhere';
  assert.deepEqual(outcome(await emu.workspace.setWorkspace('/w').done), [8, 'setFernwickWorkspace is not a function', 1]);
  delete manager.setFernwickWorkspace;
  assert.deepEqual(outcome(await emu.workspace.setWorkspace('/w').done), [0, null, 1]);
  manager.setFernwickWorkspace = method;
  answer = async () => ({});
  received.length = 0;
  await emu.workspace.setWorkspace(null).done;
  assert.deepEqual(received, ['']);
});

test('a request outlives the SDK\'s hold on its manager, and is answered once', async () => {
  let resolve;
  answer = () => new Promise((r) => { resolve = r; });
  const started = emu.workspace.setWorkspace('/w/late');
  await waitFor(() => resolve, { what: 'the request' });
  // The SDK and the application both let go of the manager; the client goes too.
  const live = emu.liveObjects().FernwickManager;
  external = null;
  client = null;
  for (let i = 0; i < 4 && emu.liveObjects().FernwickManager >= live; ++i) {
    global.gc();
    await settle(10);
  }
  assert.ok(emu.liveObjects().FernwickManager < live, 'the adapter is gone');
  assert.equal(emu.driveReport(started.drive), null);  // and its request still pending
  resolve();
  assert.deepEqual(outcome(await started.done), [0, null, 1]);
  global.gc();
  await settle();
  assert.equal(emu.driveReport(started.drive).calls, 1);
});

test('unanswered when its environment ends: "request abandoned", once; later requests too', async () => {
  const worker = new Worker(`
    const ombrix = require(${JSON.stringify(require.resolve('..'))});
    const emu = require(${JSON.stringify(require.resolve('../emulator/js'))});
    const { parentPort } = require('worker_threads');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'worker' });
    globalThis.external = client.createFernwickManager({
      setFernwickWorkspace: () => { setImmediate(() => parentPort.postMessage({ drive, manager })); return new Promise(() => {}); },
    });
    const manager = emu.workspace.hold();
    const { drive } = emu.workspace.setWorkspace('/w/worker');
  `, { eval: true });
  const { drive, manager: held } = await new Promise((resolve) => worker.once('message', resolve));
  assert.equal(emu.driveReport(drive), null);
  await worker.terminate();
  assert.deepEqual(outcome(emu.driveReport(drive)), [8, 'request abandoned', 1]);

  // The SDK still holds the manager; its environment is gone, so the request
  // cannot be queued and is answered at once, on the SDK's thread.
  const late = await emu.workspace.setWorkspace('/w/after', { manager: held }).done;
  assert.deepEqual(outcome(late), [8, 'request abandoned', 1]);
  // A hostile SDK may ask from the JavaScript thread itself.
  if (!process.env.OMBRIX_HOSTILE) assert.equal(late.onJsThread, false);
  emu.workspace.release(held);
});
