'use strict';
// The hostile application: fast-check draws what an application may legally
// do (services whose methods are missing, throw, return thenables, subclassed,
// foreign-realm or never-settling Promises, Proxies, odd codes; tool calls
// with any value in any position and signals aborted before, during and
// after, shared by every call, or throwing when read) and holds the module
// to its invariants: every SDK request answered exactly once (or, for a
// Promise that never settles, not at all), a tool call either throws or
// settles, nothing it started runs on after a throw, one abort listener per
// started cancellable call and no other, no uncaught exception or unhandled
// rejection the API guide does not name, and in the end no native object
// left. Run by test/hostile_app.test.js, which checks that it ends by itself.
//   OMBRIX_APP_SEED=<n> OMBRIX_APP_RUNS=<n> node test/hostile-app/run.js
const fc = require('fast-check');
const assert = require('node:assert/strict');
const { getEventListeners, setMaxListeners } = require('node:events');

const ombrix = require('../..');
const emu = require('../../emulator/js');
const {
  anyValue, buildValue, behaviour, expectation, defineMethod, shape, makeObject, thrown, buildThrown,
} = require('./values');

// Any integer text (the hostile legs' seeds are 64-bit); fast-check takes 32 bits.
const seedText = process.env.OMBRIX_APP_SEED || String(Date.now() % 2 ** 31);
const seed = Number(BigInt.asIntN(32, BigInt(seedText)));
const numRuns = Number(process.env.OMBRIX_APP_RUNS || 300);
// How long an answer that must come may take (sanitizer builds are slow).
const answerWithinMs = Number(process.env.OMBRIX_APP_WAIT_MS || 15000);

const unexpected = [];
const describe = (value) => {
  try {
    return value instanceof Error ? value.stack : String(value);
  } catch {
    return Object.prototype.toString.call(value);
  }
};
process.on('uncaughtException', (error) => unexpected.push(`uncaught exception: ${describe(error)}`));
process.on('unhandledRejection', (reason) => {
  // The one the API guide names: an answer whose "code" is not a number where no type test is made.
  if (reason instanceof TypeError && reason.message === 'A number was expected') return;
  unexpected.push(`unhandled rejection: ${describe(reason)}`);
});

const services = {
  chat: ['setLanguageCode', 'getSessions'],
  session: ['getInfo', 'setTitle', 'sendChat', 'stop', 'delete'],
  notification: ['getNotifications', 'markAsRead', 'dismiss', 'dismissAll'],
  audit: ['getInfo', 'start', 'stop', 'getReport'],
  workspace: ['setFernwickWorkspace'],
};
const service = (methods) => fc.record({ shape, ...Object.fromEntries(methods.map((m) => [m, behaviour])) });

// What "sendChat" does with the stream and confirm objects before it answers.
const streamUse = fc.record({
  fn: fc.constantFrom('onChunk', 'onToolCall', 'onTodos', 'onUsage', 'onEnd', 'reqConfirm'),
  args: fc.array(anyValue, { maxLength: 3 }),
});

const cancellableAt = { fileSearch: 5, fileFindByName: 4, dirList: 3, shellExec: 3 };
const required = { fileSearch: 3, fileFindByName: 3, dirList: 2, shellExec: 3, fileRead: 2, fileWrite: 3 };
// Mostly calls that pass the argument check (strings where strings are
// required, anything after), else anything at all.
const toolArgs = (method) => fc.oneof(
  { weight: 3, arbitrary: fc.tuple(fc.array(fc.string({ maxLength: 8 }), { minLength: required[method],
    maxLength: required[method] }), fc.array(anyValue, { maxLength: 2 })).map(([strings, rest]) => [...strings, ...rest]) },
  fc.array(fc.oneof(fc.string({ maxLength: 8 }), anyValue), { maxLength: 5 }),
);
const toolCall = fc.constantFrom(...Object.keys(required)).chain((method) => fc.record({
  method: fc.constant(method),
  args: toolArgs(method),
  signal: fc.constantFrom('none', 'fresh', 'abortedBefore', 'abortDuring', 'shared', 'abortedGetter', 'proxyHas',
    'addThrows', 'likeNoAdd', 'value'),
  signalValue: anyValue,
  signalError: thrown,
  end: fc.constantFrom('complete', 'drop'),
  record: fc.constantFrom({}, { success: true, exitCode: 3 }, { success: false, errorMessage: 'no' }, null, 'text'),
}));

const scenario = fc.record({
  chat: service(services.chat),
  session: service(services.session),
  streamUses: fc.array(streamUse, { maxLength: 4 }),
  notification: service(services.notification),
  audit: service(services.audit),
  workspace: service(services.workspace),
  drives: fc.array(fc.constantFrom(...Object.entries(services).flatMap(([s, ms]) => ms.map((m) => `${s}.${m}`))),
    { minLength: 1, maxLength: 12 }),
  tools: fc.array(toolCall, { maxLength: 8 }),
  busyLogger: fc.boolean(),
});

// One signal shared by every call of every run, as an application's shutdown signal is.
let shared = new AbortController();
setMaxListeners(0, shared.signal);
let sharedListeners = 0;
const counts = { runs: 0, drives: 0, answered: 0, unanswered: 0, toolCalls: 0, threw: 0, settled: 0 };

function within(promise, what) {
  let timer;
  const late = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what}: no answer within ${answerWithinMs} ms`)), answerWithinMs);
  });
  return Promise.race([promise, late]).finally(() => clearTimeout(timer));
}

function makeServices(app, streamProblems) {
  const build = (name, extra = () => {}) => makeObject(app[name].shape, (object) => {
    for (const method of services[name]) defineMethod(object, method, app[name][method]);
    extra(object);
  });
  const session = makeObject(app.session.shape, (object) => {
    for (const method of services.session) {
      const use = method !== 'sendChat' ? undefined : (content, stream, confirm) => {
        for (const { fn, args } of app.streamUses) {
          const target = fn === 'reqConfirm' ? confirm : stream;
          const values = args.map(buildValue);
          try {
            target[fn](...values);
          } catch (error) {
            // Only the application's own Proxy may throw, as it is read.
            if (!values.some((v) => v && typeof v === 'object' && String(describe(error)).includes('trap'))) {
              streamProblems.push(`${fn} threw: ${describe(error)}`);
            }
          }
        }
      };
      defineMethod(object, method, app.session[method], use);
    }
  });
  const chat = build('chat', (object) => {
    object.createSession = async () => ({ code: 0, session });
  });
  const auditSession = build('audit');
  const auditManager = { createSession: async () => ({ code: 0, session: auditSession }) };
  return { chat, notification: build('notification'), auditManager, workspace: build('workspace') };
}

async function drive(name, ids) {
  const [group, method] = name.split('.');
  switch (group) {
    case 'chat': return method === 'setLanguageCode' ? emu.chat.setLanguageCode(1) : emu.chat.getSessions();
    case 'session': {
      if (method === 'sendChat') return emu.chat.sendChat(ids.session, 'hello').done;
      return method === 'setTitle' ? emu.chat.setTitle(ids.session, 't') : emu.chat[method](ids.session);
    }
    case 'notification': return ['markAsRead', 'dismiss'].includes(method) ? emu.notification[method]('n1')
      : emu.notification[method]();
    case 'audit': return method === 'start' ? emu.audit.start(ids.audit, '{}') : emu.audit[method](ids.audit);
    default: return emu.workspace.setWorkspace('/tmp/hostile').done;
  }
}

function makeSignal(call) {
  switch (call.signal) {
    case 'fresh': case 'abortDuring': return new AbortController();
    case 'abortedBefore': return { signal: AbortSignal.abort() };
    case 'shared': return shared;
    case 'abortedGetter':
      return { signal: { get aborted() { throw buildThrown(call.signalError); }, addEventListener() {} } };
    case 'proxyHas': return { signal: new Proxy({}, { has() { throw buildThrown(call.signalError); } }) };
    case 'addThrows':
      return { signal: { aborted: false, addEventListener() { throw buildThrown(call.signalError); } } };
    case 'likeNoAdd': return { signal: { aborted: true } };
    case 'value': return { signal: buildValue(call.signalValue) };
    default: return { signal: undefined };
  }
}

async function callTool(tools, call) {
  const cancellable = call.method in cancellableAt;
  const controller = makeSignal(call);
  const args = [...call.args.map(buildValue)];
  if (cancellable) {
    while (args.length < cancellableAt[call.method]) args.push(undefined);
    args.splice(cancellableAt[call.method], args.length, controller.signal);
  }
  const tool = call.method === 'shellExec' ? tools.shell : tools.files;
  const before = new Set(emu.calls().map((c) => c.id));
  const liveBefore = controller.signal instanceof AbortSignal && !controller.signal.aborted;
  let result;
  let threw = null;
  try {
    result = tool[call.method](...args);
  } catch (error) {
    threw = { error };
  }
  const started = emu.calls().filter((c) => !before.has(c.id));
  counts.toolCalls += 1;
  assert.ok(started.length <= 1, `${call.method} started ${started.length} SDK calls`);
  if (threw) {
    counts.threw += 1;
    // Nothing the call started may go on running once its caller got an exception.
    for (const c of started) assert.equal(emu.isCancelled(c), true, `${call.method} threw but left ${c.op} running`);
  } else {
    assert.ok(result instanceof Promise, `${call.method} returned ${describe(result)}`);
    if (started.length && cancellable) {
      if (call.signal === 'abortDuring') controller.abort();
      if (['abortDuring', 'abortedBefore'].includes(call.signal)) {
        assert.equal(emu.isCancelled(started[0]), true, `${call.method}: the abort did not cancel the SDK call`);
      }
      if (call.signal === 'shared' && liveBefore) sharedListeners += 1;
      if (['fresh', 'abortDuring'].includes(call.signal)) {
        assert.equal(getEventListeners(controller.signal, 'abort').length, 1, 'one listener per started call');
      }
    }
  }
  if (call.signal === 'shared') {
    assert.equal(getEventListeners(shared.signal, 'abort').length, sharedListeners, 'listeners on the shared signal');
  }
  for (const c of started) {
    if (call.end === 'complete') emu.complete(c, call.record);
    else emu.drop(c);
  }
  if (result) {
    const outcome = await within(result.then((value) => ({ value }), (error) => ({ error })), call.method);
    if ('error' in outcome) assert.ok(outcome.error instanceof Error, `${call.method} rejected with a non-Error`);
    counts.settled += 1;
  }
}

async function run(app) {
  counts.runs += 1;
  const streamProblems = [];
  const made = makeServices(app, streamProblems);
  if (app.busyLogger) {
    ombrix.setLogger(() => {
      for (let i = 0; i < 2000; ++i) Math.sqrt(i);
    }, ombrix.LogLevel.DEBUG);
  }
  emu.setMode('scripted');
  const client = ombrix.createOmbrixClient({ serverName: 'hostile-app' }, made.chat, made.notification);
  try {
    client.setAuditManager(made.auditManager);
    client.createFernwickManager(made.workspace);
    const tools = { files: await client.createRemoteFileTool(), shell: await client.createRemoteShellTool() };
    const ids = {
      session: (await emu.chat.createSession(0)).session.id,
      audit: (await emu.audit.createSession()).session.id,
    };
    const waits = [];
    for (const name of app.drives) {
      const [group, method] = name.split('.');
      const expected = expectation(app[group][method]);
      const report = drive(name, ids);
      counts.drives += 1;
      if (expected === 'never') {
        let settledEarly = null;
        report.then((r) => { settledEarly = r; });
        waits.push(new Promise((resolve) => setTimeout(resolve, 5)).then(() => {
          // The workspace manager answers "request abandoned" once the Promise is collected.
          const abandoned = settledEarly && group === 'workspace' && settledEarly.errorMessage === 'request abandoned';
          assert.ok(!settledEarly || settledEarly.calls === 0 || abandoned,
            `${name} was answered although its Promise never settles`);
        }));
        counts.unanswered += 1;
        continue;
      }
      waits.push(within(report, name).then((r) => {
        assert.ok(r.calls <= 1, `${name} answered ${r.calls} times`);
        if (expected === 'once') assert.equal(r.calls, 1, `${name} unanswered: ${JSON.stringify(r)}`);
        if (r.calls === 1) assert.equal(r.onJsThread, true, `${name} answered off the JavaScript thread`);
        counts.answered += r.calls;
      }));
    }
    for (const call of app.tools) await callTool(tools, call);
    await Promise.all(waits);
    assert.deepEqual(streamProblems, []);
    assert.deepEqual(emu.calls(), [], 'SDK calls left pending');
  } finally {
    client.close();
    for (const s of [emu.chat, emu.notification, emu.audit, emu.workspace]) s.releaseAll();
    ombrix.setLogger(null);
    emu.setMode('loopback');
  }
}

async function collect() {
  for (let i = 0; i < 10; ++i) {
    global.gc();
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
}

async function main() {
  console.log(`hostile application: seed ${seedText}, ${numRuns} runs ` +
    `(repeat: OMBRIX_APP_SEED=${seedText} OMBRIX_APP_RUNS=${numRuns} node --expose-gc test/hostile-app/run.js)`);
  const start = emu.liveObjects();
  await fc.assert(fc.asyncProperty(scenario, run), { seed, numRuns, endOnFailure: !process.env.OMBRIX_APP_SHRINK });
  // An abort long after every call settled cancels nothing that still runs.
  shared.abort();
  shared = null;
  await collect();
  assert.deepEqual(emu.liveObjects(), start, 'native objects left alive');
  assert.equal(emu.driveDuplicates(), 0, 'SDK callbacks answered more than once');
  assert.deepEqual(unexpected, []);
  console.log(`hostile application: ${JSON.stringify(counts)}`);
}

main().catch((error) => {
  // fast-check keeps the property's own failure as the cause.
  const cause = error && error.cause ? `\ncaused by: ${describe(error.cause)}` : '';
  console.error(`hostile application, seed ${seedText}: ${describe(error)}${cause}`);
  process.exitCode = 1;
});
