'use strict';
// The SDK calling into JavaScript services. setLanguageCode calls from one SDK
// thread, all in flight, into a manager whose promise resolves at once
// (SDK → JS → SDK), against the 5dc05fc build and the bench addon's floor:
// a native thread calling the same async method through one shared
// thread-safe function, counting each call when its promise settles. And a
// JS session streaming chunks into the SDK's stream through onChunk, against
// the 5dc05fc build and the floor of reading the same chunk into a native
// record, called from JS.
const { rate, row } = require('./harness');

// Every key a chat chunk has, an attachment with every key of its own.
const chunk = {
  type: 1,
  eventId: 'event-0001',
  role: 'assistant',
  content: 'a chunk of a reply, a few words long',
  createdAt: 1764028800000,
  attachments: [{ fileId: 'file-1', filename: 'notes.txt', size: 1234, uploadDate: '2026-11-25',
    fileType: 'text/plain', fileUrl: 'https://files.invalid/file-1', localPath: '/tmp/notes.txt' }],
  suggestions: ['tell me more', 'summarise it'],
};

const service = { async setLanguageCode() { return { code: 0 }; } };

async function timedTwice(fn, n) {
  await fn(Math.max(1, n >> 3));
  return { rate: await rate(() => fn(n), n) };
}

const workloads = {
  async storm(ctx, n) {
    const { ombrix, emu } = ctx;
    emu.setMode('scripted');
    ctx.keep(ombrix.createOmbrixClient({ serverName: 'bench-services' }, service));
    return timedTwice(async (count) => {
      const report = await emu.chat.storm(1, count);
      if (report.completed !== count) throw new Error(`storm completed ${report.completed} of ${count}`);
    }, n);
  },
  serviceFloor: ({ floor }, n) => timedTwice((count) => floor.serviceStorm(service, count), n),
  async chunks(ctx, n) {
    const { ombrix, emu } = ctx;
    emu.setMode('scripted');
    const session = {
      sessionInfo: { sessionId: 'bench', title: 'bench' },
      async sendChat(content, stream) {
        for (let i = Number(content); i > 0; --i) stream.onChunk(chunk);
        stream.onEnd();
        return { code: 0 };
      },
    };
    ctx.keep(ombrix.createOmbrixClient({ serverName: 'bench-chunks' },
      { ...service, async createSession() { return { code: 0, session }; } }));
    const sessionId = (await emu.chat.createSession(0)).session.id;
    return timedTwice(async (count) => {
      const report = await emu.chat.sendChat(sessionId, String(count), { confirm: false }).done;
      if (report.code !== 0) throw new Error(`sendChat failed: ${JSON.stringify(report)}`);
    }, n);
  },
  chunkFloor: ({ floor }, n) => timedTwice(async (count) => {
    for (let i = 0; i < count; ++i) floor.readChunk(chunk);
  }, n),
};

function groups({ subject, baseline }) {
  const pick = { pick: (x) => x.rate };
  const calls = 'SDK → JS service → SDK (setLanguageCode), all in flight';
  const chunks = 'chat stream chunks through onChunk (7 keys)';
  return [{
    name: calls, n: 50000,
    variants: {
      storm: { build: subject, workload: 'js-services.storm' },
      old: baseline && { build: baseline, workload: 'js-services.storm' },
      floor: { build: subject, workload: 'js-services.serviceFloor', label: 'service-call floor addon' },
    },
    rows: (r) => [row(calls, r.storm, r.old, pick), row(calls, r.storm, r.floor, pick)],
  }, {
    name: chunks, n: 100000,
    variants: {
      chunks: { build: subject, workload: 'js-services.chunks' },
      old: baseline && { build: baseline, workload: 'js-services.chunks' },
      floor: { build: subject, workload: 'js-services.chunkFloor', label: 'stream floor addon' },
    },
    rows: (r) => [row(chunks, r.chunks, r.old, pick), row(chunks, r.chunks, r.floor, pick)],
  }];
}

module.exports = { workloads, groups };
