'use strict';
// Tool promise round trips: a fileRead whose scripted result the SDK delivers
// at once from one of its threads, at 1, 100 and 1,000 in flight, against the
// 5dc05fc build, fs.promises.stat (a libuv thread-pool round trip) and the
// bench addon's floor (one shared thread-safe function, a worker thread, a
// Deferred per call, no SDK). Each call's latency is recorded in the same
// run: p50 and p99 against the 5dc05fc build, p99/p50 against stat's.
const fsp = require('fs').promises;
const { inFlight, percentile, row } = require('./harness');

async function timed(op, n, limit) {
  await inFlight(op, Math.max(1, n >> 3), limit);
  const latencies = new Float64Array(n);
  let done = 0;
  const recorded = async () => {
    const start = process.hrtime.bigint();
    await op();
    latencies[done++] = Number(process.hrtime.bigint() - start) / 1000;
  };
  const start = process.hrtime.bigint();
  await inFlight(recorded, n, limit);
  const seconds = Number(process.hrtime.bigint() - start) / 1e9;
  latencies.sort();
  return { rate: n / seconds, p50: percentile(latencies, 0.5), p99: percentile(latencies, 0.99) };
}

const workloads = {
  async fileRead({ ombrix, emu, keep }, n, { limit }) {
    emu.setMode('scripted');
    emu.autoComplete('ReadFile', { success: true, content: 'x' });
    const tool = await keep(ombrix.createOmbrixClient({ serverName: 'bench' })).createRemoteFileTool();
    return timed(() => tool.fileRead('bench', __filename), n, limit);
  },
  stat: (ctx, n, { limit }) => timed(() => fsp.stat(__filename), n, limit),
  floor: ({ floor }, n, { limit }) => timed(() => floor.roundTrip(1), n, limit),
};

function groups({ subject, baseline }) {
  return [[1, 10000], [100, 50000], [1000, 100000]].map(([limit, n]) => {
    const name = `tool promise round trip, ${limit} in flight`;
    return {
      name, n, args: { limit },
      variants: {
        tool: { build: subject, workload: 'promise-roundtrip.fileRead' },
        old: baseline && { build: baseline, workload: 'promise-roundtrip.fileRead' },
        stat: { build: subject, workload: 'promise-roundtrip.stat', label: 'fs.promises.stat' },
        floor: { build: subject, workload: 'promise-roundtrip.floor', label: 'shared-TSFN floor addon' },
      },
      rows: (r) => {
        const rate = { pick: (x) => x.rate };
        const rows = [row(name, r.tool, r.old, rate), row(name, r.tool, r.stat, rate), row(name, r.tool, r.floor, rate)];
        if (limit === 100) return rows;
        const spread = (x) => x.p99 / x.p50;
        return [...rows,
          row(`${name}: latency p50`, r.tool, r.old, { pick: (x) => x.p50, unit: 'µs' }),
          row(`${name}: latency p99`, r.tool, r.old, { pick: (x) => x.p99, unit: 'µs' }),
          row(`${name}: latency p99/p50`, r.tool, r.old, { pick: spread, unit: 'x' }),
          row(`${name}: latency p99/p50`, r.tool, r.stat, { pick: spread, unit: 'x' })];
      },
    };
  });
}

module.exports = { workloads, groups };
