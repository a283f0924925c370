'use strict';
// Tool promise round trips: a fileRead whose scripted result the SDK delivers
// at once from one of its threads, at 1 and 1,000 in flight, against
// fs.promises.stat (a libuv thread-pool round trip) and against two floors
// from a bench-only addon without an SDK: one shared thread-safe function for
// every call, and one thread-safe function per call, as the module's contract
// has it. Then the latency spread at 1 in flight, against fs.promises.stat's.
const fsp = require('fs').promises;
const ombrix = require('..');
const emu = require('../emulator/js');
const { helperPath, load } = require('../lib/binding');
const { compare, inFlight, median } = require('./harness');

const floor = load(helperPath('bench', 'ombrix_bench_baseline'));

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
  const stat = () => fsp.stat(__filename);
  const baselines = [['fs.promises.stat', stat], ['shared-TSFN floor addon', () => floor.roundTrip(1)],
    ['per-call-TSFN floor addon', () => floor.roundTripPerCall()]];
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

  // Latency: p99 against p50 of the same run (the target is at most 2x), and
  // that spread against fs.promises.stat's, rounds interleaved: on a busy
  // machine the tail is the scheduler's, and stat's shows how much.
  const spreadOf = (samples) => percentile(samples, 0.99) / percentile(samples, 0.5);
  const toolSamples = [];
  const statSamples = [];
  for (let i = 0; i < 5; ++i) {
    toolSamples.push(await latencies(subjectOp, 5000));
    statSamples.push(await latencies(stat, 5000));
  }
  const p50 = median(toolSamples.map((s) => percentile(s, 0.5)));
  const p99 = median(toolSamples.map((s) => percentile(s, 0.99)));
  const spreads = toolSamples.map(spreadOf);
  rows.push({ name: 'round trip latency p99 (µs), 1 in flight', subject: p99, baselineName: 'p50 (µs)', baseline: p50,
    ratio: p99 / p50, spread: (Math.max(...spreads) - Math.min(...spreads)) / (p99 / p50), unit: 'µs' });
  const ratios = toolSamples.map((s, i) => spreadOf(s) / spreadOf(statSamples[i]));
  const ratio = median(ratios);
  rows.push({ name: 'latency p99/p50, 1 in flight', subject: median(spreads), baselineName: 'fs.promises.stat p99/p50',
    baseline: median(statSamples.map(spreadOf)), ratio, spread: (Math.max(...ratios) - Math.min(...ratios)) / ratio, unit: 'x' });
  emu.autoComplete('ReadFile', null);
  return rows;
}

module.exports = { run };
