'use strict';
// The pending-call bridge, through one representative operation: the SDK
// asking a JavaScript chat session to change its title.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { runNode, collectAfterAll, unansweredDrive, waitFor } = require('./helpers');


// One client whose manager hands out a session built from `makeSession()`.
let makeSession;
let client = ombrix.createOmbrixClient({ serverName: 'bridge' }, {
  createSession: async () => ({ code: 0, session: makeSession() }),
});
collectAfterAll(test, () => { client = null; });

async function setTitleWith(setTitle) {
  makeSession = () => ({ setTitle });
  const { session } = await emu.chat.createSession(0);
  const report = await emu.chat.setTitle(session.id, 'new title');
  assert.equal(report.onJsThread, true, 'callbacks run on the JavaScript thread');
  assert.equal(report.calls, 1);
  return [report.code, report.errorMessage];
}

test('method lookup and non-Promise failures are code 8 with the method name', async () => {
  makeSession = () => ({});
  let { session } = await emu.chat.createSession(0);
  assert.deepEqual(await emu.chat.setTitle(session.id, 't').then((r) => [r.code, r.errorMessage]),
    [8, 'setTitle method not found']);
  makeSession = () => ({ setTitle: 'not a function' });
  ({ session } = await emu.chat.createSession(0));
  assert.deepEqual(await emu.chat.setTitle(session.id, 't').then((r) => [r.code, r.errorMessage]),
    [8, 'setTitle is not a function']);
  assert.deepEqual(await setTitleWith(() => ({ code: 0 })), [8, 'setTitle did not return a Promise']);
  assert.deepEqual(await setTitleWith(() => ({ then: (resolve) => resolve({ code: 0 }) })),
    [8, 'setTitle did not return a Promise']);  // a thenable is not a Promise
});

test('fulfilment values: only an object with a numeric "code" decides the code', async () => {
  const cases = [
    [undefined, [8, 'OperationResult not returned']],
    [42, [8, 'OperationResult not returned']],
    ['done', [8, 'OperationResult not returned']],
    [{}, [8, null]],  // an empty message reaches the SDK as a null pointer
    [{ code: 0 }, [0, null]],
    [{ code: '0' }, [8, null]],
    [{ code: 5, errorMessage: 'denied' }, [5, 'denied']],
    [{ code: 0, errorMessage: 7 }, [0, null]],
  ];
  for (const [value, expected] of cases) {
    assert.deepEqual(await setTitleWith(async () => value), expected, JSON.stringify(value));
  }
});

test('rejection reasons and synchronous throws become code 8 with a message', async () => {
  const cases = [
    [new Error('boom'), 'boom'],
    ['plain string', 'plain string'],
    [404, 'Unknown error'],
    [null, 'Unknown error'],
    [{ message: 12 }, 'Unknown error'],
    [{ message: 'shaped like an error' }, 'shaped like an error'],
  ];
  for (const [reason, message] of cases) {
    assert.deepEqual(await setTitleWith(() => Promise.reject(reason)), [8, message], String(reason));
  }
  assert.deepEqual(await setTitleWith(() => { throw new TypeError('sync'); }), [8, 'sync']);
});

test('the arguments reach the method with the session as its receiver', async () => {
  const received = [];
  makeSession = () => {
    const session = { async setTitle(...args) { received.push([this === session, args]); return { code: 0 }; } };
    return session;
  };
  const { session } = await emu.chat.createSession(0);
  await emu.chat.setTitle(session.id, 'Plans');
  await emu.chat.setTitle(session.id, null);  // a null title arrives as ""
  assert.deepEqual(received, [[true, ['Plans']], [true, ['']]]);
});

test('a Promise that never settles leaves the callback uncalled and nothing behind at exit', async () => {
  const { code, stdout, stderr } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    const client = ombrix.createOmbrixClient({ serverName: 'never' }, {
      setLanguageCode: () => new Promise(() => {}),
    });
    const started = emu.chat.setLanguageCode(1);
    setTimeout(() => {
      console.log(JSON.stringify(emu.driveReport(1)), emu.liveObjects().OperationCallback);
      process.exit(0);
    }, 200);
  `);
  assert.equal(code, 0, stderr);
  assert.equal(stdout.trim(), 'null 1');  // pending: held by the unsettled Promise only
});

test('unanswered calls are released when the environment ends (worker thread)', async () => {
  const { Worker } = require('worker_threads');
  const before = emu.liveObjects().OperationCallback;
  const worker = new Worker(`
    const ombrix = require(${JSON.stringify(require.resolve('..'))});
    const emu = require(${JSON.stringify(require.resolve('../emulator/js'))});
    const { parentPort } = require('worker_threads');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'worker' }, {
      setLanguageCode: () => new Promise(() => {}),
    });
    emu.chat.setLanguageCode(2);
    setTimeout(() => parentPort.postMessage(emu.liveObjects().OperationCallback), 100);
  `, { eval: true });
  const pendingInWorker = await new Promise((resolve) => worker.once('message', resolve));
  await worker.terminate();
  assert.equal(pendingInWorker, before + 1);
  assert.equal(emu.liveObjects().OperationCallback, before);
});

test('an answer that cannot be read is still one answer, code 8 "Unknown error", with no unhandled rejection', async () => {
  const thrower = 'new Proxy({}, { get() { throw new Error("trap"); }, has() { throw new Error("trap"); } })';
  const cases = {
    'a reason whose message getter throws': `
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'r' }, {
        setLanguageCode: () => Promise.reject({ get message() { throw new Error('getter'); } }) });
      started = emu.chat.setLanguageCode(1);`,
    'a Proxy reason whose traps throw': `
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'p' }, {
        setLanguageCode: () => Promise.reject(${thrower}) });
      started = emu.chat.setLanguageCode(1);`,
    'a fulfilment whose code getter throws (createSession)': `
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'c' }, {
        createSession: async () => ({ get code() { throw new Error('getter'); } }) });
      started = emu.chat.createSession(0);`,
    'a fulfilment whose code getter throws (markAsRead)': `
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'n' }, null, {
        markAsRead: async () => ({ get code() { throw new Error('getter'); } }) });
      started = emu.notification.markAsRead('a');`,
    'an audit session whose sessionInfo getter throws': `
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'a' });
      client.setAuditManager({ createSession: async () => ({ session: { get sessionInfo() { throw new Error('x'); } } }) });
      started = emu.audit.createSession();`,
  };
  for (const [name, source] of Object.entries(cases)) {
    const lines = await unansweredDrive(`const ombrix = require('.'); const emu = require('./emulator/js');${source}`);
    assert.equal(lines.length, 1, `${name}: ${lines.join(' | ')}`);  // the report alone: no unhandled rejection
    const report = JSON.parse(lines[0]);
    assert.deepEqual([report.code, report.errorMessage, report.calls], [8, 'Unknown error', 1], name);
  }
});

test('an SDK result callback that throws is logged through the SDK logger, and goes no further', async (t) => {
  const lines = [];
  ombrix.setLogger((context, message) => lines.push(`${context.module}: ${message}`), ombrix.LogLevel.ERROR);
  t.after(() => ombrix.setLogger(null));
  for (const [setTitle, expected] of [[async () => ({ code: 0 }), [0, null]],
    [async () => { throw new Error('refused'); }, [8, 'refused']], [undefined, [8, 'setTitle is not a function']]]) {
    makeSession = () => ({ setTitle });
    const { session } = await emu.chat.createSession(0);
    emu.injectFault('DriveCallback', 'throw');
    const report = await emu.chat.setTitle(session.id, 'title');
    assert.deepEqual([report.code, report.errorMessage, report.calls], [...expected, 1]);
  }
  const threw = "JSCallBridge: setTitle: the SDK's result callback threw: DriveCallback: injected failure";
  const logged = () => lines.filter((line) => line.startsWith('JSCallBridge'));
  await waitFor(() => logged().length === 3, { what: 'three logged failures' });
  assert.deepEqual(logged(), [threw, threw, threw]);
});

test('a request that comes without a callback still runs its JavaScript method', async () => {
  const languages = [];
  client = ombrix.createOmbrixClient({ serverName: 'no-callback' }, {
    setLanguageCode: async (language) => { languages.push(language); return { code: 0 }; },
  });
  emu.chat.setLanguageCode(3, { noCallback: true });
  await waitFor(() => languages.length === 1, { what: 'setLanguageCode' });
  assert.deepEqual(languages, [3]);
});
