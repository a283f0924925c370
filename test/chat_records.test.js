'use strict';
// Chat records crossing between JavaScript objects and the SDK: every key,
// the lenient reading rules, and attachments going the other way.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { collectAfterAll } = require('./helpers');


let streamed;  // what the next sendChat pushes into the stream
let received;  // what sendChat received
let client = ombrix.createOmbrixClient({ serverName: 'records' }, {
  createSession: async () => ({ code: 0, session: {
    sessionInfo: streamed.sessionInfo,
    async sendChat(content, stream, confirm, attachments, extra) {
      received = { content, attachments, extra, stream: typeof stream, confirm: typeof confirm };
      for (const [method, argument] of streamed.calls) stream[method](argument);
      return { code: 0 };
    },
  } }),
});
collectAfterAll(test, () => { client = null; });

async function roundTrip(sessionInfo, calls, sendOptions = {}) {
  streamed = { sessionInfo, calls };
  const { session } = await emu.chat.createSession(0);
  const sent = emu.chat.sendChat(session.id, 'hi', sendOptions);
  await sent.done;
  return { info: session.cachedInfo, events: sent.stream ? emu.chat.streamEvents(sent.stream) : [] };
}

test('session info and history: every key, defaults, BigInt, truncation, skipped elements', async () => {
  const { info } = await roundTrip({
    sessionId: 'id', title: 7, modelName: 'm', provider: 'p', createdAt: 1700n,
    lastActiveAt: '1800', chatMode: 2.9,
    history: [
      { type: 1, eventId: 'e1', role: 'user', content: 'c', createdAt: 1700.9,
        attachments: [{ fileId: 'f', filename: 'n', size: 3.9, uploadDate: 'today', fileType: 't',
          fileUrl: 'u', localPath: '/l' }, 'not an attachment'],
        suggestions: ['s1', 5, 's2'] },
      null,
      { role: 'assistant' },
    ],
  }, []);
  assert.deepEqual(info, {
    sessionId: 'id', title: '', modelName: 'm', provider: 'p', createdAt: 1700, lastActiveAt: 0,
    history: [
      { type: 1, eventId: 'e1', role: 'user', content: 'c', createdAt: 1700,
        attachments: [{ fileId: 'f', filename: 'n', size: 3, uploadDate: 'today', fileType: 't',
          fileUrl: 'u', localPath: '/l' }],
        suggestions: ['s1', 's2'] },
      { type: 0, eventId: '', role: 'assistant', content: '', createdAt: 0, attachments: [], suggestions: [] },
    ],
    chatMode: 2,
  });
});

async function streamedEvents(calls) {
  const { events } = await roundTrip(undefined, [...calls, ['onEnd']]);
  assert.equal(events.pop().event, 'end');
  return events;
}

test('stream chunks: every field, an empty attachment list as null, a BigInt time exact', async () => {
  const events = await streamedEvents([
    ['onChunk', { type: 5, content: 'thinking', attachments: [], suggestions: ['a'], createdAt: 9007199254740993n }],
    ['onChunk', { attachments: [{ fileId: 'x' }] }],
    ['onChunk', 'not an object'],
  ]);
  assert.deepEqual(events.map((e) => e.event), ['chunk', 'chunk']);  // the non-object is skipped
  assert.equal(events[0].attachmentsNull, true);  // an empty list reaches the SDK as null
  assert.equal(events[0].createdAt, 9007199254740992);  // 2^53+1 as a BigInt, read exactly
  assert.deepEqual([events[1].attachmentsNull, events[1].attachments[0].fileId], [false, 'x']);
});

test('stream tool calls: every field; a result that is not an object reads as defaults', async () => {
  const events = await streamedEvents([
    ['onToolCall', { type: 1, title: 'T', description: 'D', toolName: 'grep', toolArgs: '{"q":1}',
      createdAt: 5, result: { success: true, content: 'out', errorMessage: 'e', durationMs: 12n } }],
    ['onToolCall', { result: 'not an object' }],
  ]);
  assert.deepEqual(events.map((e) => e.event), ['toolCall', 'toolCall']);
  assert.deepEqual(events[0].call, { type: 1, title: 'T', description: 'D', toolName: 'grep',
    toolArgs: '{"q":1}', createdAt: 5, result: { success: true, content: 'out', errorMessage: 'e', durationMs: 12 } });
  assert.deepEqual(events[1].call.result, { success: false, content: '', errorMessage: '', durationMs: 0 });
});

test('stream todos: elements that are not todos are skipped; a non-array sends nothing', async () => {
  const events = await streamedEvents([
    ['onTodos', [{ id: '1', title: 't', description: 'd', status: 2, createdAt: 1, updatedAt: 2 }, 3, null]],
    ['onTodos', []],
    ['onTodos', { length: 1 }],
  ]);
  assert.deepEqual(events.map((e) => e.event), ['todos', 'todos']);
  assert.deepEqual([events[0].count, events[0].todos[0]],
    [1, { id: '1', title: 't', description: 'd', status: 2, createdAt: 1, updatedAt: 2 }]);
  assert.equal(events[1].count, 0);
});

test('stream usage: every field, BigInt counts as numbers', async () => {
  const events = await streamedEvents([
    ['onUsage', { eventId: 'u', modelName: 'm', createdAt: 1, inputTokens: 2n, outputTokens: 3,
      cachedTokens: 4, businessPoints: 5, businessCost: 6 }],
  ]);
  assert.deepEqual(events.map((e) => e.event), ['usage']);
  assert.deepEqual(events[0].usage, { eventId: 'u', modelName: 'm', createdAt: 1, inputTokens: 2,
    outputTokens: 3, cachedTokens: 4, businessPoints: 5, businessCost: 6 });
});

test('sendChat arguments: attachments reach JavaScript with all seven keys; absent ones are undefined', async () => {
  await roundTrip(undefined, [], { attachments: [{ fileId: 'f', size: 2 ** 40 }, {}], extra: 'meta' });
  assert.deepEqual(received, {
    content: 'hi',
    attachments: [
      { fileId: 'f', filename: '', size: 2 ** 40, uploadDate: '', fileType: '', fileUrl: '', localPath: '' },
      { fileId: '', filename: '', size: 0, uploadDate: '', fileType: '', fileUrl: '', localPath: '' }],
    extra: 'meta', stream: 'object', confirm: 'object',
  });
  for (const form of ['full', 'attachments', 'short']) {
    await roundTrip(undefined, [], { stream: false, confirm: false, form });
    assert.deepEqual(received, { content: 'hi', attachments: undefined, extra: undefined,
      stream: 'undefined', confirm: 'undefined' }, form);
  }
});
