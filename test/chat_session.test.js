'use strict';
// Chat sessions held by a JavaScript manager, driven from SDK threads.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { waitFor, settle, runNode, collectAfterAll, UNANSWERED } = require('./helpers');


const log = [];
function makeSession(id, extra = {}) {
  return {
    sessionInfo: { sessionId: id, title: `title ${id}` },
    async getInfo() { return { info: { sessionId: id, title: `fresh ${id}` } }; },
    async setTitle(title) { log.push(['setTitle', id, title]); return { code: 0 }; },
    async stop() { log.push(['stop', id]); return { code: 0 }; },
    async delete() { log.push(['delete', id]); return { code: 0 }; },
    async sendChat(content, stream) {
      stream.onChunk({ type: ombrix.ChatStreamEventType.START });
      for (let i = 0; i < Number(content); ++i) {
        stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: String(i) });
      }
      stream.onEnd();
      return { code: 0 };
    },
    ...extra,
  };
}
const sessions = [];
const manager = {
  async setLanguageCode(language) { log.push(['language', language]); return { code: 0 }; },
  async createSession(mode) {
    const session = makeSession(`s${sessions.length}`, { mode });
    sessions.push(session);
    return { code: 0, session };
  },
  async getSessions() { return { code: 0, sessions }; },
};
let client = ombrix.createOmbrixClient({ serverName: 'chat' }, manager);
collectAfterAll(test, () => { client = null; });

test('lifecycle from SDK threads: language, create, list, info, title, chat, stop, delete', async () => {
  assert.equal((await emu.chat.setLanguageCode(ombrix.LanguageCode.JAPANESE)).code, 0);
  const created = await emu.chat.createSession(ombrix.ChatMode.FERNWICK);
  assert.deepEqual([created.code, created.session.cachedInfo.sessionId], [0, 's0']);
  assert.equal(sessions[0].mode, ombrix.ChatMode.FERNWICK);
  const id = created.session.id;

  const listed = await emu.chat.getSessions();
  assert.deepEqual(listed.sessions.map((s) => s.cachedInfo.title), ['title s0']);

  const info = await emu.chat.getInfo(id);
  assert.deepEqual([info.code, info.info.title], [0, 'fresh s0']);
  assert.equal(emu.chat.getCachedInfo(id).title, 'fresh s0');  // a successful getInfo refreshes the cache

  const sent = emu.chat.sendChat(id, '10000');
  assert.equal((await sent.done).code, 0);
  const events = emu.chat.streamEvents(sent.stream);
  assert.equal(events.length, 10002);
  assert.deepEqual(events.slice(1, -1).map((e) => e.content),
    Array.from({ length: 10000 }, (_, i) => String(i)));
  assert.equal(events.at(-1).event, 'end');

  for (const step of [() => emu.chat.setTitle(id, 'renamed'), () => emu.chat.stop(id), () => emu.chat.delete(id)]) {
    const report = await step();
    assert.deepEqual([report.code, report.onJsThread, report.calls], [0, true, 1]);
  }
  assert.deepEqual(log, [['language', 3], ['setTitle', 's0', 'renamed'], ['stop', 's0'], ['delete', 's0']]);
});

test('getInfo: a missing code is success, a failure code keeps its message, bad shapes fail', async () => {
  const outcomes = [
    [{ info: { sessionId: 'a' } }, [0, null, 'a']],
    [{ code: 3 }, [3, 'Operation failed', null]],
    [{ code: 4, errorMessage: 'gone' }, [4, 'gone', null]],
    [{ code: 0 }, [8, 'Info not found in result', null]],
    ['text', [8, 'Session info not returned', null]],
  ];
  for (const [answer, expected] of outcomes) {
    sessions.length = 0;
    const { session } = await emu.chat.createSession(0);
    sessions[0].getInfo = async () => answer;
    const report = await emu.chat.getInfo(session.id);
    assert.deepEqual([report.code, report.errorMessage, report.info && report.info.sessionId], expected);
  }
  // A session without sessionInfo has no cached info until a successful getInfo.
  manager.createSession = async () => ({ code: 0, session: { getInfo: async () => ({ info: { title: 'late' } }) } });
  const { session } = await emu.chat.createSession(0);
  assert.equal(session.cachedInfo, null);
  await emu.chat.getInfo(session.id);
  assert.equal(emu.chat.getCachedInfo(session.id).title, 'late');
});

test('a getInfo "code" that is not a number never reaches the SDK: the handler throws', async () => {
  // The exception surfaces as an unhandled rejection, so it runs in a process of its own.
  const { code, stdout, stderr } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'nan' }, {
      createSession: async () => ({ code: 0, session: { getInfo: async () => ({ code: '0' }) } }),
    });
    process.on('unhandledRejection', (reason) => {
      console.log(reason.name, reason.message);
      const pending = new Promise((resolve) => setTimeout(resolve, 50, 'pending'));
      Promise.race([started, pending]).then((report) => {
        console.log(JSON.stringify(report));
        process.exit(0);
      });
    });
    let started;
    emu.chat.createSession(0).then(({ session }) => { started = emu.chat.getInfo(session.id); });
    setTimeout(() => process.exit(3), 5000);
  `);
  assert.equal(code, 0, stderr);
  assert.deepEqual(stdout.trim().split('\n'), ['TypeError A number was expected', UNANSWERED]);
});

test('info changes reach the SDK observer without history; the cache is untouched', async () => {
  let jsObserver;
  manager.createSession = async () => ({ code: 0, session: {
    sessionInfo: { sessionId: 'kept' }, setObserver(observer) { jsObserver = observer; },
  } });
  const { session } = await emu.chat.createSession(0);
  const observer = await emu.chat.setObserver(session.id);
  assert.ok(jsObserver, 'the session has its observer once setObserver resolves');
  assert.deepEqual(Object.keys(jsObserver), ['onSessionInfoChanged']);
  jsObserver.onSessionInfoChanged({ sessionId: 'changed', title: 'T', history: [{ content: 'x' }] });
  jsObserver.onSessionInfoChanged('ignored');
  const events = emu.chat.observerEvents(observer);
  assert.deepEqual(events.map((e) => [e.sessionId, e.history]), [['changed', null]]);
  assert.equal(emu.chat.getCachedInfo(session.id).sessionId, 'kept');

  assert.equal(await emu.chat.setObserver(session.id, false), null);
  assert.equal(jsObserver, null);
  // A session without setObserver makes registration a silent no-op.
  manager.createSession = async () => ({ code: 0, session: {} });
  const plain = await emu.chat.createSession(0);
  await emu.chat.setObserver(plain.session.id);
});

test('tool calls are cancelled through the SDK; confirmations answered or left pending', async () => {
  let cancelled = 0;
  let answer;
  manager.createSession = async () => ({ code: 0, session: {
    async sendChat(content, stream, confirm) {
      stream.onToolCall({ toolName: 'with cancel', cancel: () => { cancelled += 1; } });
      stream.onToolCall({ toolName: 'without cancel' });
      assert.equal(confirm.reqConfirm(0, 'only two'), undefined);
      assert.equal(confirm.reqConfirm('0', 'a', 'b'), undefined);
      answer = await confirm.reqConfirm(ombrix.ConfirmActionType.QR_LOGIN, 'Scan', '{"qr":1}');
      if (content === 'twice') await confirm.reqConfirm(0, 'never', 'answered');
      return { code: 0 };
    },
  } });
  const { session } = await emu.chat.createSession(0);
  const sent = emu.chat.sendChat(session.id, 'once');
  await waitFor(() => emu.chat.confirmRequests(sent.confirm).length === 1, { what: 'the request' });
  assert.deepEqual(emu.chat.confirmRequests(sent.confirm),
    [{ request: 0, actionType: 3, title: 'Scan', content: '{"qr":1}', answered: false }]);
  assert.equal(emu.chat.cancelToolCall(sent.stream, 0), true);
  assert.equal(emu.chat.cancelToolCall(sent.stream, 1), true);  // no cancel function: nothing to call
  await waitFor(() => cancelled === 1, { what: 'cancel' });
  emu.chat.answerConfirm(sent.confirm, 0, { approved: true });
  assert.equal((await sent.done).code, 0);
  assert.deepEqual(answer, { responseJson: '{"approved":true}' });

  const unanswered = emu.chat.sendChat(session.id, 'twice');
  await waitFor(() => emu.chat.confirmRequests(unanswered.confirm).length === 1);
  emu.chat.answerConfirm(unanswered.confirm, 0, '{}');
  await waitFor(() => emu.chat.confirmRequests(unanswered.confirm).length === 2);
  assert.equal(await Promise.race([unanswered.done, settle(50).then(() => 'pending')]), 'pending');
  assert.equal(cancelled, 1);
});

test('stream functions refuse a receiver without their stream', async () => {
  let stream;
  manager.createSession = async () => ({ code: 0, session: { async sendChat(c, s) { stream = s; return { code: 0 }; } } });
  const { session } = await emu.chat.createSession(0);
  await emu.chat.sendChat(session.id, '').done;
  const detached = stream.onChunk;
  assert.throws(() => detached({}), { name: 'TypeError', message: 'Illegal invocation' });
  assert.throws(() => stream.onEnd.call({ __stream_ptr__: {} }), TypeError);
  assert.equal(stream.onChunk(), undefined);  // a missing argument is ignored
  stream = null;  // the manager outlives the test: its session must not keep the SDK's stream
});

test('a stream or requester operation the SDK throws from is an Error to its caller', async () => {
  const caught = [];
  manager.createSession = async () => ({ code: 0, session: { async sendChat(content, stream, confirm) {
    for (const [site, call] of [['OnChunk', () => stream.onChunk({ content: 'lost' })],
      ['OnEnd', () => stream.onEnd()], ['RequestConfirm', () => confirm.reqConfirm(0, 'title', 'text')]]) {
      emu.injectFault(site, 'throw');
      try {
        call();
        caught.push('no error');
      } catch (error) {
        caught.push(`${error.code} ${error.message}`);
      }
    }
    stream.onChunk({ content: 'kept' });
    return { code: 0 };
  } } });
  const { session } = await emu.chat.createSession(0);
  const sent = emu.chat.sendChat(session.id, 'hi');
  assert.equal((await sent.done).code, 0);
  assert.deepEqual(caught, ['ERR_OMBRIX_SDK_FAILURE OnChunk: injected failure',
    'ERR_OMBRIX_SDK_FAILURE OnEnd: injected failure', 'ERR_OMBRIX_SDK_FAILURE RequestConfirm: injected failure']);
  assert.deepEqual(emu.chat.streamEvents(sent.stream).map((event) => event.content), ['kept']);
});

// OMBRIX_STORM_CALLS shortens it for slow runs (Wine's heap checks).
const stormCalls = Number(process.env.OMBRIX_STORM_CALLS) || 10000;

test('eight SDK threads × 10,000 calls into one manager: every callback once, on the JavaScript thread', async () => {
  manager.setLanguageCode = async () => ({ code: 0 });
  const result = await emu.chat.storm(8, stormCalls);
  const total = 8 * stormCalls;
  assert.deepEqual([result.issued, result.completed, result.duplicates, result.offJsThread], [total, total, 0, 0]);
});
