'use strict';
// Tool promise round trips: a fileRead whose scripted result the SDK delivers
// at once from one of its threads, at 1 and 1,000 in flight, against
// fs.promises.stat (a libuv thread-pool round trip) and against the floor: a
// bench-only addon with one shared thread-safe function and no SDK. Then the
// latency spread at 1 in flight.
const fsp = require('fs').promises;
const ombrix = require('..');
const emu = require('../emulator/js');
const { bindingPath } = require('../lib/binding');
const { compare, inFlight, median } = require('./harness');

const floor = require(bindingPath('ombrix_bench_baseline'));

function percentile(sorted, p) {
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * p))];
}

async function latencies(op, n) {
  const samples = [];
  for (let i = 0; i < n; ++i) {
    const start = process.hrtime.bigint();
    await op();
    samples.push(Number(process.hrtime.bigint() - start) / 1000);
  }
  return samples.sort((a, b) => a - b);
}

async function run() {
  emu.setMode('scripted');
  emu.autoComplete('ReadFile', { success: true, content: 'x' });
  const client = ombrix.createOmbrixClient({ serverName: 'bench' });
  const tool = await client.createRemoteFileTool();
  const subjectOp = () => tool.fileRead('bench', __filename);
  const baselines = [['fs.promises.stat', () => fsp.stat(__filename)], ['shared-TSFN floor addon', () => floor.roundTrip(1)]];
  const rows = [];
  for (const [limit, n] of [[1, 5000], [1000, 50000]]) {
    for (const [baselineName, baselineOp] of baselines) {
      const result = await compare({
        subject: (count) => inFlight(subjectOp, count, limit),
        baseline: (count) => inFlight(baselineOp, count, limit),
        n,
      });
      rows.push({ name: `tool promise round trip, ${limit} in flight`, baselineName, ...result });
    }
  }

  // Latency: p99 against p50 of the same run (the target is at most 2x).
  const rounds = [];
  for (let i = 0; i < 3; ++i) rounds.push(await latencies(subjectOp, 5000));
  const p50 = median(rounds.map((s) => percentile(s, 0.5)));
  const p99 = median(rounds.map((s) => percentile(s, 0.99)));
  const spreads = rounds.map((s) => percentile(s, 0.99) / percentile(s, 0.5));
  rows.push({ name: 'round trip latency p99 (µs), 1 in flight', subject: p99, baselineName: 'p50 (µs)', baseline: p50,
    ratio: p99 / p50, spread: (Math.max(...spreads) - Math.min(...spreads)) / (p99 / p50), unit: 'µs' });
  emu.autoComplete('ReadFile', null);
  return rows;
}

module.exports = { run };
