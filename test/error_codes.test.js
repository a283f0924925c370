'use strict';
// Every Error the module throws or rejects with carries a stable `code`: each
// method of each object it hands out is called with junk arguments and on a
// foreign receiver. Bare-string rejections (the tool factories) are the
// documented exception.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const { collectAfterAll, emu, scripted, settle } = require('./helpers');

const JUNK = [undefined, null, -1, NaN, 2 ** 40, 'x', 'a\0b', 1n, -1n, {}, [], Symbol('s'), () => {}, new Uint8Array(3)];
// Methods whose junk calls would act on this machine or wait without end.
const SKIP = new Set(['shellExecute', 'lock', 'close', 'constructor']);

function methodsOf(object) {
  const plain = object === ombrix || Object.getPrototypeOf(object) === Object.prototype;
  const owner = plain ? object : Object.getPrototypeOf(object);
  return Object.getOwnPropertyNames(owner).filter((name) => !SKIP.has(name) &&
    typeof Object.getOwnPropertyDescriptor(owner, name).value === 'function' && !/^[A-Z]/.test(name));
}

// Rejections are awaited once every pending call has been let go of.
function probe(label, object, uncoded, outcomes) {
  for (const name of methodsOf(object)) {
    const method = object[name];
    const calls = [() => method.call({}), () => method.call(Object.create(object))];
    for (const a of JUNK) for (const b of [undefined, 'x', 0, 1n]) calls.push(() => method.call(object, a, b, b));
    for (const call of calls) {
      try {
        const result = call();
        if (result && typeof result.createRemoteFileTool === 'function') result.close();  // a client from junk config
        if (result && typeof result.then === 'function') outcomes.push(result.then(() => {}, (e) => note(`${name} rejected`, e)));
      } catch (error) {
        note(name, error);
      }
    }
  }
  function note(where, error) {
    if (typeof error === 'string') return;  // the factories' documented bare strings
    if (!(error instanceof Error) || !/^ERR_OMBRIX_[A-Z_]+$/.test(error.code)) {
      uncoded.add(`${label}.${where}: ${error && error.name}: ${error && error.message}`);
    }
  }
}

let client = null;
collectAfterAll(test, () => { client = null; });

test('every error thrown or rejected by the module has a code', { skip: scripted }, async () => {
  const uncoded = new Set();
  const outcomes = [];
  const previous = emu.mode();
  emu.setMode('scripted');  // no junk call reaches this machine's files or shell
  let handed = null;
  const session = {
    async sendChat(content, stream, confirm) { handed = { stream, confirm }; return { code: 0 }; },
  };
  const manager = { async createSession() { return { code: 0, session }; } };
  try {
    client = ombrix.createOmbrixClient({ serverName: 'codes' }, manager);
    probe('module', ombrix, uncoded, outcomes);
    probe('ShmRegion', new ombrix.ShmRegion(), uncoded, outcomes);
    probe('GuiTool', ombrix.createGuiTool(), uncoded, outcomes);
    probe('OmbrixClient', client, uncoded, outcomes);
    for (const factory of ['createAccountTool', 'createRemoteFileTransferTool', 'createRemoteControlTool',
      'createRemoteFileTool', 'createRemoteShellTool']) {
      const tool = await client[factory]();
      probe(tool.constructor.name, tool, uncoded, outcomes);
    }
    const created = await emu.chat.createSession(0);
    const sent = emu.chat.sendChat(created.session.id, 'hi');
    await sent.done;
    probe('stream', handed.stream, uncoded, outcomes);
    probe('confirm', handed.confirm, uncoded, outcomes);
    // Scripted calls and confirmations are answered only when told: let go of them.
    for (const call of emu.calls()) emu.drop(call);
    for (const { request, answered } of emu.chat.confirmRequests(sent.confirm)) {
      if (!answered) emu.chat.answerConfirm(sent.confirm, request, '{}');
    }
    await Promise.all(outcomes);
  } finally {
    emu.setMode(previous);
    ombrix.setLogger(null);
    client.close();
  }
  await settle();
  assert.deepEqual([...uncoded], []);
});
