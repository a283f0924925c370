'use strict';
// What an application's JavaScript may legally do to the module: flood it
// from a slow logger, hand it Promises that misbehave, share one signal
// across calls, replace globals, close and expect to be done.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const { runNode, scripted, emu, waitFor, clientIn, collectAfterAll } = require('./helpers');

collectAfterAll(test);

function spin(ms) {
  const end = process.hrtime.bigint() + BigInt(Math.round(ms * 1e6));
  while (process.hrtime.bigint() < end);
}

test('a burst of SDK log lines lets timers and I/O run between turns', { skip: scripted }, async () => {
  const lines = 3000;
  let seen = 0;
  let sinceTick = 0;
  let mostPerTick = 0;
  let seenWhenTimerFired = null;
  ombrix.setLogger(() => {
    seen += 1;
    sinceTick += 1;
    spin(0.02);
  }, ombrix.LogLevel.INFO);
  // One check-phase tick per loop iteration: what runs between two of them
  // ran without the loop getting control.
  let ticking = true;
  const tick = () => {
    mostPerTick = Math.max(mostPerTick, sinceTick);
    sinceTick = 0;
    if (ticking) setImmediate(tick);
  };
  setImmediate(tick);
  setTimeout(() => { seenWhenTimerFired = seen; }, 1);
  try {
    await emu.emitLogs({ level: ombrix.LogLevel.INFO, lines, threads: 1 });
    await waitFor(() => seen >= lines, { what: 'every line' });
  } finally {
    ticking = false;
    ombrix.setLogger(null);
  }
  assert.ok(mostPerTick <= 128, `${mostPerTick} lines ran in one iteration of the event loop`);
  assert.ok(seenWhenTimerFired !== null && seenWhenTimerFired < lines,
    `a 1 ms timer fired only after ${seenWhenTimerFired} of ${lines} lines`);
});

test('service Promises and lookups that throw answer the SDK once, as a throwing method does', { skip: scripted }, async () => {
  // Each case is a session whose setTitle misbehaves in its own way; run in
  // a process of its own, since one case patches Promise.prototype.then.
  const { code, stdout, stderr } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    process.on('uncaughtException', (e) => { console.log('uncaught', e.message); });
    const thrower = (message) => () => { throw new Error(message); };
    class Throwing extends Promise { then() { throw new Error('subclass then'); } }
    // Traps that throw for the method only: the session must still convert.
    const trap = (name, message) => new Proxy({ setTitle() {} }, {
      [name]: (target, key) => { if (key === 'setTitle') throw new Error(message); return Reflect[name](target, key); },
    });
    const cases = {
      subclass: { setTitle: () => Throwing.resolve({ code: 0 }) },
      ownThen: { setTitle() { const p = Promise.resolve({ code: 0 }); p.then = thrower('own then'); return p; } },
      patched: { setTitle() {
        const original = Promise.prototype.then;
        Promise.prototype.then = thrower('patched then');
        queueMicrotask(() => { Promise.prototype.then = original; });
        return Promise.resolve({ code: 0 });
      } },
      getter: Object.defineProperty({}, 'setTitle', { get: thrower('getter') }),
      proxyHas: trap('has', 'has trap'),
      proxyGet: trap('get', 'get trap'),
      settlesThenThrows: { setTitle() {
        const p = Promise.resolve({ code: 0 });
        p.then = function (ok, fail) { Promise.prototype.then.call(this, ok, fail); throw new Error('late'); };
        return p;
      } },
    };
    let next;
    const client = ombrix.createOmbrixClient({ serverName: 'then' }, {
      createSession: async () => ({ code: 0, session: next }),
    });
    (async () => {
      const out = {};
      for (const [name, session] of Object.entries(cases)) {
        next = session;
        const { session: { id } } = await emu.chat.createSession(0);
        const r = await emu.chat.setTitle(id, 't');
        out[name] = [r.code, r.errorMessage, r.calls];
      }
      await new Promise((resolve) => setTimeout(resolve, 50));
      console.log(JSON.stringify({ out, duplicates: emu.driveDuplicates() }));
      client.close();
      emu.chat.releaseAll();
    })();`);
  assert.equal(code, 0, stderr);
  assert.doesNotMatch(stdout, /uncaught/);
  assert.deepEqual(JSON.parse(stdout), {
    out: {
      subclass: [8, 'subclass then', 1],
      ownThen: [8, 'own then', 1],
      patched: [8, 'patched then', 1],
      getter: [8, 'getter', 1],
      proxyHas: [8, 'has trap', 1],
      proxyGet: [8, 'get trap', 1],
      settlesThenThrows: [8, 'late', 1],
    },
    duplicates: 0,
  });
});

test('a shared signal: an abort after the result cancels nothing the SDK still runs', { skip: scripted }, async () => {
  // The listener stays with the signal, as the API guide says; what it
  // reaches once the call is done is a finished operation, and cancelling
  // that does nothing.
  const client = clientIn('loopback', 'shared-signal');
  const files = await client.createRemoteFileTool();
  const controller = new AbortController();
  const cancels = [];
  ombrix.setLogger((context, message) => {
    if (/cancelled/.test(message)) cancels.push(message);
  }, ombrix.LogLevel.DEBUG);
  try {
    for (let i = 0; i < 20; ++i) {
      assert.equal((await files.dirList('d', __dirname, false, controller.signal)).success, true);
    }
    controller.abort();
    await files.dirList('d', __dirname);  // the SDK's log lines before it have arrived
  } finally {
    ombrix.setLogger(null);
    client.close();
  }
  assert.deepEqual(cancels, []);
});

test('a signal that throws as it is read cancels the operation it started', { skip: scripted }, async () => {
  const client = clientIn('scripted', 'throwing-signal');
  const shell = await client.createRemoteShellTool();
  const signals = {
    'aborted getter': { get aborted() { throw new Error('aborted getter'); }, addEventListener() {} },
    'has trap': new Proxy({}, { has() { throw new Error('has trap'); } }),
    addEventListener: { aborted: false, addEventListener() { throw new Error('addEventListener'); } },
  };
  for (const [name, signal] of Object.entries(signals)) {
    assert.throws(() => shell.shellExec('d', 'sleep 60', '/', signal), { message: name });
    const call = emu.calls('ExecuteShell').at(-1);
    assert.equal(call.cancelled, true, `${name}: the started command was not cancelled`);
    emu.complete(call, { exitCode: -1 });
  }
  client.close();
});

test('reqConfirm is answered when a replaced Promise runs its executor late', { skip: scripted }, async () => {
  const { code, stdout, stderr } = await runNode(`
    const Original = Promise;
    class Late extends Original {
      constructor(executor) {
        let resolve, reject;
        super((a, b) => { resolve = a; reject = b; });
        setTimeout(() => executor(resolve, reject), 20);
      }
      static get [Symbol.species]() { return Original; }
    }
    globalThis.Promise = Late;
    const ombrix = require('.');
    const emu = require('./emulator/js');
    globalThis.Promise = Original;
    const client = ombrix.createOmbrixClient({ serverName: 'late' }, {
      createSession: async () => ({ code: 0, session: {
        async sendChat(content, stream, confirm) {
          const answer = await confirm.reqConfirm(0, 'title', 'text');
          console.log(answer.responseJson);
          return { code: 0 };
        },
      } }),
    });
    (async () => {
      const { session } = await emu.chat.createSession(0);
      const sent = emu.chat.sendChat(session.id, 'x');
      while (emu.chat.confirmRequests(sent.confirm).length === 0) await new Original((r) => setTimeout(r, 1));
      emu.chat.answerConfirm(sent.confirm, 0, { approved: true });
      await sent.done;
      client.close();
      emu.chat.releaseAll();
    })();`, { timeoutMs: 20000 });
  assert.equal(code, 0, stderr);
  assert.equal(stdout.trim(), '{"approved":true}');
});

test('after close() and the SDK letting go, a process that served every kind of service ends by itself', { skip: scripted }, async () => {
  const { code, stderr, timedOut } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    const ok = async () => ({ code: 0 });
    (async () => {
      const session = { sessionInfo: { sessionId: 's' }, async sendChat(c, stream) {
        stream.onToolCall({ toolName: 'calendar', toolArgs: '{}', cancel() {} });
        stream.onEnd();
        return { code: 0 };
      } };
      const client = ombrix.createOmbrixClient({ serverName: 'ends' },
        { setLanguageCode: ok, createSession: async () => ({ code: 0, session }) },
        { getNotifications: async () => ({ code: 0, notifications: [] }), setObserver() {} });
      client.setAuditManager({ createSession: async () => ({ code: 0, session: { start: ok } }) });
      client.createFernwickManager({ setFernwickWorkspace: ok });
      await emu.chat.setLanguageCode(0);
      const chat = await emu.chat.createSession(0);
      await emu.chat.sendChat(chat.session.id, 'hi').done;
      await emu.notification.getNotifications();
      const audit = await emu.audit.createSession();
      await emu.audit.start(audit.session.id);
      await emu.workspace.setWorkspace('/tmp').done;
      client.close();
      for (const service of [emu.chat, emu.notification, emu.audit, emu.workspace]) service.releaseAll();
    })();`, { timeoutMs: 20000 });
  assert.equal(timedOut, false, 'the process was still running 20 s after close()');
  assert.equal(code, 0, stderr);
});

test('a worker ended in the middle of a chat storm ends at once', { skip: scripted }, async () => {
  const { code, stdout, stderr, timedOut } = await runNode(`
    const { Worker } = require('worker_threads');
    const worker = new Worker(\`
      const ombrix = require('./');
      const emu = require('./emulator/js');
      const { parentPort } = require('worker_threads');
      globalThis.client = ombrix.createOmbrixClient({ serverName: 'storm' }, {
        setLanguageCode: () => new Promise(() => {}),  // never answered while the worker lives
      });
      emu.chat.storm(2, 1000);
      setTimeout(() => parentPort.postMessage('storming'), 100);
    \`, { eval: true });
    worker.once('message', async () => {
      await worker.terminate();
      console.log('terminated');
    });`, { timeoutMs: 60000 });
  assert.equal(timedOut, false, 'worker.terminate() waited for the storm');
  assert.equal(code, 0, stderr);
  assert.equal(stdout.trim(), 'terminated');
});

test('a process that may not load addons is told which flag it needs', async () => {
  const flag = process.allowedNodeEnvironmentFlags.has('--permission') ? '--permission' : '--experimental-permission';
  const { code, stderr } = await runNode("require('.')", { args: [flag, '--allow-fs-read=*'] });
  assert.notEqual(code, 0);
  assert.match(stderr, /ERR_OMBRIX_LOAD|ombrix_addon:/);
  assert.match(stderr, /--allow-addons/);
  assert.doesNotMatch(stderr, /another platform/);
});

test('numeric options are signed 32-bit integers: 2**32 and Infinity become 0', { skip: scripted }, async () => {
  const client = clientIn('scripted', 'int32');
  const files = await client.createRemoteFileTool();
  const sent = [];
  for (const maxResults of [2 ** 32, Infinity, 2 ** 31, 7.9, -1]) {
    const pending = files.fileFindByName('d', '/', '*', maxResults);
    const call = await emu.nextCall('FindFilesByName');
    sent.push(call.args.maxResults);
    emu.complete(call, {});
    await pending;
  }
  client.close();
  assert.deepEqual(sent, [0, 0, -(2 ** 31), 7, -1]);
});
