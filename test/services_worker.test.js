'use strict';
// A worker thread whose JavaScript services are in use by the SDK is
// terminated mid-call; the main thread carries on with services of its own.
const test = require('node:test');
const assert = require('node:assert/strict');
const { Worker } = require('worker_threads');

const ombrix = require('..');
const emu = require('../emulator/js');
const { collectAfterAll, waitFor } = require('./helpers');

let client;
collectAfterAll(test, () => { client = null; });

// The worker's chat session streams without end and its audit session never
// answers "start"; it reports once the SDK is inside both calls.
const workerSource = `
  const ombrix = require(${JSON.stringify(require.resolve('..'))});
  const emu = require(${JSON.stringify(require.resolve('../emulator/js'))});
  const { parentPort } = require('worker_threads');
  let busy = 0;
  const ready = () => { if (++busy === 2) parentPort.postMessage(drives); };
  // Held, so that the calls stay pending: a Promise nobody can reach any more
  // releases its call when it is collected.
  const held = [];
  const never = () => { const promise = new Promise(() => {}); held.push(promise); return promise; };
  const chatSession = {
    sendChat(content, stream) {
      ready();
      (function more(i) { stream.onChunk({ type: 1, content: String(i) }); setImmediate(more, i + 1); })(0);
      return never();
    },
  };
  const auditSession = { start() { ready(); return never(); } };
  globalThis.client = ombrix.createOmbrixClient({ serverName: 'worker' },
    { createSession: async () => ({ code: 0, session: chatSession }) },
    { getNotifications: never });
  client.setAuditManager({ createSession: async () => ({ session: auditSession }) });
  let drives;
  Promise.all([emu.chat.createSession(0), emu.audit.createSession()]).then(([chat, audit]) => {
    const sent = emu.chat.sendChat(chat.session.id, 'go', { confirm: false });
    drives = { chat: sent.drive, stream: sent.stream };
    emu.audit.start(audit.session.id, 'x');
    emu.notification.getNotifications();
  });
`;

const pendingCallbacks = () => {
  const live = emu.liveObjects();
  return live.OperationCallback + live.GetNotificationsCallback;
};

test('terminating a worker mid-call: its calls are released unanswered, the main thread goes on', async () => {
  const before = pendingCallbacks();
  const worker = new Worker(workerSource, { eval: true });
  const drives = await new Promise((resolve, reject) => {
    worker.once('message', resolve);
    worker.once('error', reject);
  });
  // The stream is still flowing when the worker goes.
  await waitFor(() => emu.chat.streamEvents(drives.stream).length > 1, { what: 'a second chunk' });
  assert.equal(pendingCallbacks(), before + 3);
  await worker.terminate();
  assert.equal(pendingCallbacks(), before);
  assert.deepEqual(emu.driveReport(drives.chat), { dropped: true, calls: 0 });
  const streamed = emu.chat.streamEvents(drives.stream).length;
  assert.ok(streamed > 1, `streamed ${streamed} chunks`);

  const log = [];
  client = ombrix.createOmbrixClient({ serverName: 'main' },
    { setLanguageCode: async (code) => { log.push(['language', code]); return { code: 0 }; } },
    { dismissAll: async () => { log.push(['dismissAll']); return {}; } });
  client.setAuditManager({
    createSession: async () => ({ session: { stop: async () => { log.push(['stop']); return {}; } } }),
  });
  assert.equal((await emu.chat.setLanguageCode(2)).code, 0);
  assert.equal((await emu.notification.dismissAll()).code, 0);
  const { session } = await emu.audit.createSession();
  assert.equal((await emu.audit.stop(session.id)).code, 0);
  assert.deepEqual(log, [['language', 2], ['dismissAll'], ['stop']]);
  assert.equal(emu.chat.streamEvents(drives.stream).length, streamed);  // the worker's stream has stopped
});

test("a worker's client takes over no drive of the main thread's; { client } names it", async () => {
  const heard = [];
  const main = ombrix.createOmbrixClient({ serverName: 'main-drives' },
    { setLanguageCode: async (code) => { heard.push(['main', code]); return { code: 0 }; } });
  const worker = new Worker(`
    const ombrix = require(${JSON.stringify(require.resolve('..'))});
    const { parentPort } = require('worker_threads');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'worker-drives' },
      { setLanguageCode: async (code) => { parentPort.postMessage(code); return { code: 0 }; } });
    parentPort.postMessage('ready');
  `, { eval: true });
  const messages = [];
  worker.on('message', (message) => messages.push(message));
  await waitFor(() => messages.includes('ready'), { what: "the worker's client" });

  const live = emu.clients().filter((c) => c.serverName.endsWith('-drives'));
  assert.deepEqual(live.map((c) => [c.serverName, c.thisThread]), [['main-drives', true], ['worker-drives', false]]);
  assert.ok(live[0].id < live[1].id, 'ids count up');
  assert.equal((await emu.chat.setLanguageCode(3)).code, 0);
  assert.equal((await emu.chat.setLanguageCode(4, { client: 'worker-drives' })).code, 0);
  assert.equal((await emu.chat.setLanguageCode(5, { client: live[1].id })).code, 0);
  assert.equal((await emu.chat.setLanguageCode(6, { client: live[0].id })).code, 0);
  assert.deepEqual(heard, [['main', 3], ['main', 6]]);
  assert.deepEqual(messages, ['ready', 4, 5]);
  await assert.rejects(emu.chat.setLanguageCode(1, { client: 'nobody' }),
    { message: /^no live client is "nobody" \(live clients: .*client \d+ \("main-drives"\), client \d+ \("worker-drives"\)\)$/ });
  await worker.terminate();
  main.close();
});
