'use strict';
// What the leak check runs under valgrind: every crossing once or more, then
// a clean exit with everything released, so whatever is still allocated by
// the module or the SDK at exit is a leak.
const ombrix = require('../..');
const emu = require('../../emulator/js');

async function main() {
  ombrix.setLogger(() => {}, ombrix.LogLevel.DEBUG);
  await emu.emitLogs({ level: ombrix.LogLevel.INFO, module: 'leak', message: 'line', threads: 2, lines: 10 });
  ombrix.setLogger(null);

  let client = ombrix.createOmbrixClient({ serverName: 'leak' }, {
    async setLanguageCode() { return { code: 0 }; },
    async createSession() {
      return { code: 0, session: { sessionInfo: { sessionId: 'v' }, async sendChat(text, stream, confirm) {
        stream.onChunk({ content: text });
        stream.onToolCall({ toolName: 't', cancel() {} });
        await confirm.reqConfirm(0, 'a', 'b');
        stream.onEnd();
        return { code: 0 };
      } } };
    },
  });
  const files = await client.createRemoteFileTool();
  for (let i = 0; i < 20; ++i) await files.fileRead('local', __filename, 1, 2);
  const controller = new AbortController();
  const listing = files.dirList('local', __dirname, false, controller.signal);
  controller.abort();
  await listing;
  const shell = await client.createRemoteShellTool();
  await shell.shellExec('local', 'echo hi', __dirname);

  for (let i = 0; i < 20; ++i) await emu.chat.setLanguageCode(1);
  const { session } = await emu.chat.createSession(0);
  const sent = emu.chat.sendChat(session.id, 'hello');
  while (emu.chat.confirmRequests(sent.confirm).length === 0) await new Promise((r) => setTimeout(r, 5));
  emu.chat.cancelToolCall(sent.stream, 0);
  emu.chat.answerConfirm(sent.confirm, 0, '{}');
  await sent.done;

  const region = new ombrix.ShmRegion();
  region.open('Local\\ombrix-valgrind-none');
  region.close();

  emu.chat.releaseAll();
  client = null;
  for (let i = 0; i < 4; ++i) {
    global.gc();
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  console.log('live SDK objects at exit:', Object.entries(emu.liveObjects()).filter(([, n]) => n > 0));
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
