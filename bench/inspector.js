'use strict';
// What the substitute SDK's inspector costs: SDK → JS service calls (the
// js-services chat storm: two events a call) and a chat answer of many chunks
// (an event a chunk), with the inspector off, on with no page open, and on
// with a page reading every event (an event stream read in this process,
// served as a browser's would be).
const http = require('http');
const { row } = require('./harness');
const { workloads: services } = require('./js-services');

// The inspector as the variant asks: off, on, or on and watched. Resolves
// once a watching page has its snapshot, so the measured calls are all seen.
async function inspector(ctx, how) {
  if (how === 'off') return;
  const served = await ctx.emu.inspect({ print: false });
  if (how !== 'watched') return;
  await new Promise((resolve, reject) => {
    const page = http.get(`http://127.0.0.1:${served.port}/events?token=${served.token}`, (res) => {
      res.once('data', () => {
        res.socket.unref();  // the storm holds the process from here
        resolve();
      });
      res.resume();
    });
    page.on('error', reject);
  });
}

const workloads = {
  async storm(ctx, n, { how }) {
    await inspector(ctx, how);
    return services.storm(ctx, n);
  },
  async chunks(ctx, n, { how }) {
    await inspector(ctx, how);
    return services.chunks(ctx, n);
  },
};

function groups({ subject }) {
  const pick = { pick: (x) => x.rate };
  const variants = (workload) => ({
    off: { build: subject, workload, args: { how: 'off' }, label: 'inspector off' },
    on: { build: subject, workload, args: { how: 'on' }, label: 'inspector on, no page' },
    watched: { build: subject, workload, args: { how: 'watched' }, label: 'inspector on, page watching' },
  });
  const calls = 'inspector: SDK → JS service calls (storm)';
  const chunks = 'inspector: chat chunks streamed into the SDK';
  return [
    { name: calls, n: 50000, variants: variants('inspector.storm'),
      rows: (r) => [row(calls, r.on, r.off, pick), row(calls, r.watched, r.off, pick)] },
    { name: chunks, n: 100000, variants: variants('inspector.chunks'),
      rows: (r) => [row(chunks, r.on, r.off, pick), row(chunks, r.watched, r.off, pick)] },
  ];
}

module.exports = { workloads, groups };
