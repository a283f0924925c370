'use strict';
// SDK calls into JavaScript services. The SDK issues setLanguageCode calls
// from one of its threads into a JS manager whose promise resolves at once
// (native→JS→native), against the same number of tool promise round trips
// (JS→native→JS); and a JS session streams chunks into the SDK's stream,
// against serialising the same chunks with JSON.stringify.
const ombrix = require('..');
const emu = require('../emulator/js');
const { compare } = require('./harness');

async function run() {
  emu.setMode('scripted');
  emu.autoComplete('ReadFile', { success: true, content: 'x' });
  const chunk = { type: ombrix.ChatStreamEventType.CHUNK, content: 'a chunk of a reply' };
  const session = {
    sessionInfo: { sessionId: 'bench', title: 'bench' },
    async sendChat(content, stream) {
      for (let i = Number(content); i > 0; --i) stream.onChunk(chunk);
      stream.onEnd();
      return { code: 0 };
    },
  };
  const manager = {
    async setLanguageCode() { return { code: 0 }; },
    async createSession() { return { code: 0, session }; },
  };
  const toolClient = ombrix.createOmbrixClient({ serverName: 'bench-tools' });
  const tool = await toolClient.createRemoteFileTool();
  // Created last: the SDK drives the newest client's services.
  const serviceClient = ombrix.createOmbrixClient({ serverName: 'bench-services' }, manager);
  const sessionId = (await emu.chat.createSession(0)).session.id;

  const rows = [];
  const calls = await compare({
    subject: async (n) => {
      const report = await emu.chat.storm(1, n);
      if (report.completed !== n) throw new Error(`storm completed ${report.completed} of ${n}`);
    },
    baseline: (n) => Promise.all(Array.from({ length: n }, () => tool.fileRead('bench', __filename))),
    n: 20000,
  });
  rows.push({ name: 'SDK→JS service call, all in flight', baselineName: 'tool promise round trip', ...calls });

  let sink = 0;
  const chunks = await compare({
    subject: async (n) => {
      const report = await emu.chat.sendChat(sessionId, String(n), { confirm: false }).done;
      if (report.code !== 0) throw new Error(`sendChat failed: ${JSON.stringify(report)}`);
    },
    baseline: async (n) => {
      for (let i = 0; i < n; ++i) sink += JSON.stringify(chunk).length;
    },
    n: 50000,
  });
  rows.push({ name: 'stream chunks into the SDK', baselineName: 'JSON.stringify(chunk)', ...chunks });

  emu.autoComplete('ReadFile', null);
  if (!serviceClient || !toolClient || sink < 0) throw new Error('unreachable');
  return rows;
}

module.exports = { run };
