'use strict';
// The substitute SDK at its worst: every habit the contract allows, the ones
// that change what an application sees included (operations that throw,
// callbacks that never come or are dropped, null callbacks and strings,
// tools that stop once their client is gone), striking at random from a seed.
// Whatever it does, each call either throws at once or settles once with an
// outcome the API guide names, no SDK callback is answered twice, and nothing
// is left alive.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');
const { Worker } = require('worker_threads');

const ombrix = require('..');
const { emu, scripted, collectAfterAll, scratchDir, waitFor, settle } = require('./helpers');

const seed = process.env.OMBRIX_HOSTILE || String(Date.now());
const everything = { seed, habits: 'all', percent: 30 };
const said = `hostile seed ${seed}`;

let client;
collectAfterAll(test, () => { client = null; });
if (emu) {
  test.after(() => {
    emu.hostile.releaseHeld();
    if (process.env.OMBRIX_HOSTILE) emu.hostile.set({ seed }); else emu.hostile.off();
  });
}

// Starts `call`; resolves with how it ended: 'threw', 'resolved', 'destroyed'
// (the SDK tore the tool down as the call started) or the code of its rejection.
function outcomeOf(call) {
  let pending;
  try {
    pending = call();
  } catch (error) {
    assert.equal(error.code, 'ERR_OMBRIX_SDK_FAILURE', `${said}: ${error.stack}`);
    assert.match(error.message, /the SDK threw \(hostile\)$/, said);
    return Promise.resolve('threw');
  }
  return pending.then((value) => {
    assert.ok(typeof value === 'string' || typeof value.success === 'boolean' || Array.isArray(value),
      `${said}: ${JSON.stringify(value)}`);
    return value.errorMessage === 'Tool has been destroyed' ? 'destroyed' : 'resolved';
  }, (error) => (error.code === 'ERR_OMBRIX_TOOL_DESTROYED' ? 'destroyed' : error.code));
}

test('tool calls: each throws at once or settles once, even after its client is gone', { skip: scripted }, async () => {
  const dir = scratchDir(test);
  fs.writeFileSync(path.join(dir, 'a.txt'), 'one\ntwo\n');
  client = ombrix.createOmbrixClient({ serverName: 'hostile-tools' });
  const [files, shell, account] = await Promise.all([client.createRemoteFileTool(),
    client.createRemoteShellTool(), client.createAccountTool()]);
  emu.hostile.set(everything);
  const calls = [
    () => files.fileRead('d', path.join(dir, 'a.txt')),
    () => files.fileWrite('d', path.join(dir, 'b.txt'), 'x'),
    () => files.dirList('d', dir, true, AbortSignal.abort()),
    () => files.fileSearch('d', path.join(dir, 'a.txt'), 'two', false, true, AbortSignal.timeout(1)),
    () => shell.shellExec('d', 'echo hi', dir),
    () => account.getAccountId(),
    () => account.getRemoteDeviceList(),
  ];
  const outcomes = [];
  for (let i = 0; i < 400; ++i) {
    outcomes.push(outcomeOf(calls[i % calls.length]));
    if (i === 200) client.close();  // the rest run with their client gone
    if (i % 50 === 49) await settle(5);
  }
  emu.hostile.releaseHeld();  // the callbacks that would never come are dropped now
  const ended = await Promise.all(outcomes);
  const counts = {};
  for (const outcome of ended) counts[outcome] = (counts[outcome] || 0) + 1;
  assert.deepEqual(Object.keys(counts).sort(), ['ERR_OMBRIX_NO_RESULT', 'destroyed', 'resolved', 'threw'],
    `${said}: ${JSON.stringify(counts)}`);
  const struck = emu.hostile.status().habits;
  for (const habit of ['inline', 'elsewhere', 'twice', 'throw', 'never', 'drop', 'clientGone']) {
    assert.ok(struck[habit] > 0, `${said}: ${habit} never struck`);
  }
  emu.hostile.off();
});

test('services: answered from anywhere, with null callbacks and strings, never twice', { skip: scripted }, async () => {
  const streamErrors = [];
  const session = {
    sessionInfo: { sessionId: 's' },
    setTitle: async (title) => ({ code: typeof title === 'string' ? 0 : 3 }),
    getInfo: async () => ({ code: 0, info: { sessionId: 's', title: 't' } }),
    stop: () => { throw new Error('no'); },
    delete: () => Promise.reject(new Error('kept')),
    async sendChat(content, stream, confirm) {
      for (const emit of [() => stream.onChunk({ content: String(content) }), () => stream.onEnd(),
        () => confirm.reqConfirm(0, 't', 'c').catch(() => {})]) {
        try {
          emit();
        } catch (error) {
          streamErrors.push(error.code);
        }
      }
      return { code: 0 };
    },
  };
  client = ombrix.createOmbrixClient({ serverName: 'hostile-services' }, {
    setLanguageCode: async () => ({ code: 0 }),
    createSession: async () => ({ code: 0, session }),
    getSessions: async () => ({ code: 0, sessions: [session, session] }),
  });
  emu.hostile.set({ ...everything, habits: ['inline', 'elsewhere', 'late', 'sdkThread', 'nullArgs', 'throw'] });
  const reports = [];
  for (let i = 0; i < 30; ++i) {
    const created = await emu.chat.createSession(0);
    reports.push(created, await emu.chat.setLanguageCode(i % 7), await emu.chat.getSessions());
    const id = created.session?.id;
    if (id === undefined) continue;
    emu.chat.getCachedInfo(id);
    await emu.chat.setObserver(id, i % 2 === 0);
    for (const op of ['getInfo', 'stop', 'delete']) reports.push(await emu.chat[op](id));
    reports.push(await emu.chat.setTitle(id, 'title'), await emu.chat.sendChat(id, 'hi').done);
  }
  for (const report of reports) {
    if (report.noCallback) continue;
    assert.equal(typeof report.code, 'number', `${said}: ${JSON.stringify(report)}`);
    assert.equal(report.calls, 1, said);
    assert.equal(report.onJsThread, true, said);
  }
  assert.ok(streamErrors.every((code) => code === 'ERR_OMBRIX_SDK_FAILURE'), said);
  assert.equal(emu.driveDuplicates(), 0, said);
  emu.hostile.off();
});

test('services of an environment that has ended are still driven by the SDK: nothing answers, nothing breaks', { skip: scripted }, async () => {
  const worker = new Worker(`
    const { parentPort } = require('worker_threads');
    const ombrix = require(${JSON.stringify(require.resolve('..'))});
    const emu = require(${JSON.stringify(require.resolve('../emulator/js'))});
    const answer = async () => ({ code: 0 });
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'ended' }, {
      createSession: async () => ({ code: 0, session: {
        sessionInfo: { sessionId: 'w', title: 'from the worker' }, setTitle: answer,
      } }),
    }, { getNotifications: answer, dismissAll: answer });
    client.setAuditManager({ createSession: async () => ({ code: 0, session: {
      sessionInfo: { sessionId: 'a' }, getInfo: answer, stop: answer,
    } }) });
    const service = emu.notification.hold();
    Promise.all([emu.chat.createSession(0), emu.audit.createSession()]).then(([chat, audit]) =>
      parentPort.postMessage({ chat: chat.session.id, audit: audit.session.id, service }));`, { eval: true });
  const { chat, audit, service } = await new Promise((resolve) => worker.once('message', resolve));
  await worker.terminate();
  emu.hostile.set({ ...everything, habits: ['inline', 'elsewhere', 'late', 'sdkThread', 'twice'] });
  assert.equal(emu.chat.getCachedInfo(chat).title, 'from the worker');
  assert.equal(emu.audit.getCachedInfo(audit).sessionId, 'a');
  await emu.chat.setObserver(chat);
  await emu.audit.setObserver(audit);
  await emu.notification.setObserver(true, { service });
  const reports = [await emu.chat.setTitle(chat, 'late'), await emu.chat.getInfo(chat),
    await emu.chat.sendChat(chat, 'x').done, await emu.audit.getInfo(audit), await emu.audit.stop(audit),
    await emu.notification.getNotifications({ service }), await emu.notification.dismissAll({ service })];
  for (const report of reports) assert.deepEqual(report, { dropped: true, calls: 0 }, said);
  emu.hostile.off();
});

test('the logger replaced while the SDK, not waiting, logs from eight threads and SetLogger fails', { skip: scripted }, async () => {
  emu.hostile.set({ ...everything, habits: ['loggerNoWait', 'throw'], percent: 50 });
  emu.startLogStorm(8);
  let delivered = 0;
  let refused = 0;
  for (let i = 0; i < 300; ++i) {
    try {
      ombrix.setLogger(i % 10 === 9 ? null : () => { delivered++; }, i % 6);
    } catch (error) {
      assert.match(error.message, /^Failed to (set|clear) logger: SetLogger: the SDK threw \(hostile\)$/, said);
      refused++;
    }
    if (i % 30 === 0) await settle(1);
  }
  emu.hostile.off();
  ombrix.setLogger(() => { delivered++; }, 0);
  await waitFor(() => delivered > 0, { what: 'a delivered line' });
  ombrix.setLogger(null);
  assert.ok((await emu.stopLogStorm()) > 0);
  assert.ok(refused > 0, `${said}: SetLogger never threw`);
  assert.equal(emu.loggerEnabled(5), false);
});

test('the signaling thread the SDK is handed is "OmbrixAddonSignaling"', { skip: scripted }, () => {
  client = ombrix.createOmbrixClient({ serverName: 'signaling' });
  assert.equal(emu.signalingThreadName(), 'OmbrixAddonSignaling');
});
