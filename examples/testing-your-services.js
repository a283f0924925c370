'use strict';
// Testing your own JS services with the substitute SDK: the SDK's calls are
// made from its threads exactly as the vendor SDK would, and each report says
// what the SDK received, on which thread, and how often. Run it with
// `node --test examples/testing-your-services.js` or plainly with node.
const test = require('node:test');
const assert = require('node:assert/strict');
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');

// The service under test: refuses empty titles, streams a canned answer.
function makeSession(id) {
  return {
    sessionInfo: { sessionId: id, title: 'New chat' },
    async setTitle(title) {
      if (!title) return { code: ombrix.ResultCode.ERROR_INVALID_PARAM, errorMessage: 'empty title' };
      this.sessionInfo.title = title;
      return { code: 0 };
    },
    async sendChat(content, stream) {
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: 'ok' });
      stream.onEnd();
      return { code: 0 };
    },
  };
}
const client = ombrix.createOmbrixClient({ serverName: 'under-test' }, {
  async createSession() { return { code: 0, session: makeSession('t1') }; },
});

// A suite that is done closes its client and has the SDK let go of the
// sessions it holds: the run then ends by itself.
test.after(() => {
  client.close();
  emu.chat.releaseAll();
});

test('an empty title is refused with its message; a real one is kept', async () => {
  const { session } = await emu.chat.createSession(ombrix.ChatMode.OMBRIX);
  const refused = await emu.chat.setTitle(session.id, '');
  assert.equal(refused.errorMessage, 'empty title');
  assert.equal(refused.calls, 1);  // the SDK's callback ran exactly once…
  assert.equal(refused.onJsThread, true);  // …on the JavaScript thread
  assert.equal((await emu.chat.setTitle(session.id, 'Plans')).code, 0);
});

test('the answer streams into the SDK and ends', async () => {
  const { session } = await emu.chat.createSession(ombrix.ChatMode.OMBRIX);
  const sent = emu.chat.sendChat(session.id, 'hi');
  assert.equal((await sent.done).code, 0);
  assert.deepEqual(emu.chat.streamEvents(sent.stream).map((e) => e.event), ['chunk', 'end']);
});
