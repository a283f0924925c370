'use strict';
// Audit sessions held by a JavaScript audit manager, driven from SDK threads.
const test = require('node:test');
const { describe, before } = test;
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { waitFor, unansweredDrive, collectAfterAll, UNANSWERED } = require('./helpers');

const sessions = [];
function makeSession(id) {
  const session = {
    sessionInfo: { sessionId: id, status: ombrix.AuditSessionStatus.CREATED, createdAt: 100 },
    async getInfo() { return { info: { sessionId: id, status: 1, createdAt: 100, lastActiveAt: 200 } }; },
    async start(options) { session.started = options; return {}; },
    async stop() { return { code: 0 }; },
    async getReport() { return { report: { fileUrl: `file:///${id}.zip`, createdAt: 300 } }; },
    setObserver(observer) { session.observer = observer; },
  };
  return session;
}
const manager = {
  async createSession() {
    const session = makeSession(`a${sessions.length}`);
    sessions.push(session);
    return { session };
  },
  async getSessions() { return { sessions: [...sessions, 'skipped', null] }; },
};
let client = ombrix.createOmbrixClient({ serverName: 'audit' });
client.setAuditManager(manager);
collectAfterAll(test, () => { client = null; });

// Every line the audit adapters write, through the application's logger.
const lines = [];
ombrix.setLogger((context, message) => {
  if (context.module === 'JSAuditWrap') lines.push([context.level, context.function, message, context.file]);
}, ombrix.LogLevel.DEBUG);
test.after(() => ombrix.setLogger(null));

const outcome = (report) => [report.code, report.errorMessage];
const file = 'addon/src/audit_session_manager_wrap';

describe('the SDK drives a session from its threads', () => {
  let created;
  let id;
  before(async () => {
    created = await emu.audit.createSession();
    id = created.session.id;
  });

  test('createSession answers once, on the JavaScript thread, with the session\'s info', () => {
    assert.deepEqual([created.code, created.onJsThread, created.calls], [0, true, 1]);
    assert.deepEqual(created.session.cachedInfo, { sessionId: 'a0', status: 0, createdAt: 100, lastActiveAt: 0 });
  });

  test('getSessions lists the sessions, passing over what is not one', async () => {
    const listed = await emu.audit.getSessions();
    assert.deepEqual(listed.sessions.map((s) => s.cachedInfo.sessionId), ['a0']);
  });

  test('start hands JavaScript its options, a null one as ""', async () => {
    assert.deepEqual(outcome(await emu.audit.start(id, '{"screen":true}')), [0, null]);
    assert.equal(sessions[0].started, '{"screen":true}');
    await emu.audit.start(id, null);
    assert.equal(sessions[0].started, '');
  });

  test('stop and getReport answer with their records', async () => {
    assert.deepEqual(outcome(await emu.audit.stop(id)), [0, null]);
    const report = await emu.audit.getReport(id);
    assert.deepEqual([report.code, report.report], [0, { fileUrl: 'file:///a0.zip', createdAt: 300 }]);
  });

  test('getInfo answers, and the cached info follows it', async () => {
    const info = await emu.audit.getInfo(id);
    assert.deepEqual([info.code, info.info.status, info.info.lastActiveAt], [0, ombrix.AuditSessionStatus.RUNNING, 200]);
    assert.deepEqual(emu.audit.getCachedInfo(id), info.info);
  });
});

test('session method failures: one method check warned about, a missing code is success, getInfo rules', async () => {
  const { session } = await emu.audit.createSession();
  const js = sessions.at(-1);
  lines.length = 0;
  const cases = [
    ['start', undefined, [8, 'start method not found'], 'start method not found on JS object'],
    ['stop', 'not a function', [8, 'stop method not found'], 'stop method not found on JS object'],
    ['getReport', () => ({}), [8, 'getReport did not return a Promise'], 'getReport did not return a Promise'],
    ['stop', async () => ({ code: 4 }), [4, null]],
    ['stop', () => Promise.reject(12), [8, 'Unknown error']],
    ['getReport', async () => 'report', [8, 'GetAuditReportResult not returned']],
    ['getInfo', async () => ({ code: 2 }), [2, 'Operation failed']],
    ['getInfo', async () => ({ code: 5, errorMessage: 'gone' }), [5, 'gone']],
    ['getInfo', async () => ({ code: 0 }), [8, 'Info not found in result'], 'getInfo: Info not found in result'],
    ['getInfo', async () => null, [8, 'GetAuditInfoResult not returned'], 'getInfo: GetAuditInfoResult not returned'],
  ];
  const warnings = [];
  for (const [method, value, expected, warning] of cases) {
    if (value === undefined) delete js[method]; else js[method] = value;
    const report = await emu.audit[method](session.id);
    assert.deepEqual(outcome(report), expected, `${method}: ${String(value)}`);
    if (warning) warnings.push(['WARNING', 'operator()', warning, file]);
  }
  await waitFor(() => lines.length >= warnings.length, { what: 'warnings' });
  assert.deepEqual(lines, warnings);
  assert.equal(emu.audit.getCachedInfo(session.id).sessionId, 'a1');  // failed getInfo calls keep the cache
});

test('createSession failures: no result record; a session that is not an object', async () => {
  manager.createSession = async () => 5;
  assert.deepEqual(outcome(await emu.audit.createSession()), [8, 'CreateAuditSessionResult not returned']);
  manager.createSession = async () => ({ code: 3, session: 'not an object' });
  const refused = await emu.audit.createSession();
  assert.deepEqual([...outcome(refused), refused.session], [3, null, null]);
});

test('a start "code" that is not a number never reaches the SDK: the handler throws', async () => {
  assert.deepEqual(await unansweredDrive(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'nan' });
    client.setAuditManager({ createSession: async () => ({ session: { start: async () => ({ code: '0' }) } }) });
    emu.audit.createSession().then(({ session }) => { started = emu.audit.start(session.id); });
  `), ['TypeError A number was expected', UNANSWERED]);
});

test('recording events reach the SDK observer; setting and clearing it is logged at DEBUG', async () => {
  manager.createSession = async () => ({ session: sessions[0] });
  const { session } = await emu.audit.createSession();
  const js = sessions[0];
  lines.length = 0;
  const observer = await emu.audit.setObserver(session.id);
  assert.ok(js.observer, 'the session has its observer once setObserver resolves');
  assert.deepEqual(Object.keys(js.observer), ['onRecordingDone', 'onReportReady', 'onError']);
  js.observer.onRecordingDone();
  js.observer.onReportReady();
  assert.equal(js.observer.onError('disk full'), undefined);
  js.observer.onError(42);
  js.observer.onError();
  assert.deepEqual(emu.audit.observerEvents(observer).map((e) => [e.event, e.message, e.onJsThread]), [
    ['recordingDone', undefined, true], ['reportReady', undefined, true], ['error', 'disk full', true],
    ['error', 'Unknown error', true], ['error', 'Unknown error', true],
  ]);

  assert.equal(await emu.audit.setObserver(session.id, false), null);
  assert.equal(js.observer, null);
  await waitFor(() => lines.length >= 2, { what: 'DEBUG lines' });
  assert.deepEqual(lines, [
    ['DEBUG', 'SetObserver', 'SetObserver: setting new observer', file],
    ['DEBUG', 'SetObserver', 'SetObserver: clearing observer (null)', file],
  ]);
});

test('setAuditManager: an object, or null to clear; anything else is refused', async () => {
  assert.throws(() => client.setAuditManager(5), { name: 'TypeError', message: 'Expected AuditSessionManager object or null' });
  assert.throws(() => new client.constructor().setAuditManager(manager), { message: 'Client is not initialized' });
  client.setAuditManager(null);
  await assert.rejects(emu.audit.createSession(), { message: /^client \d+ \("audit"\) has no audit session manager$/ });
  client.setAuditManager({ createSession: async () => ({ code: 7 }) });
  assert.deepEqual(outcome(await emu.audit.createSession()), [7, null]);
});
