'use strict';
// Whether the event loop keeps its timers while the SDK floods a channel: a
// burst of SDK log lines into a logger that costs about 0.2 ms a line, with a
// 10 ms interval timer running. The figure is the longest gap between two
// ticks of the timer from the burst's first line on; it is compared with the burst's own per-turn budget
// (a turn runs up to 64 lines: 64 × the measured cost of a line), which is
// the least a fair channel can promise, and with the 5dc05fc build's gap.
const { row } = require('./harness');

const LINES_PER_TURN = 64;

function spin(ms) {
  const end = process.hrtime.bigint() + BigInt(Math.round(ms * 1e6));
  while (process.hrtime.bigint() < end);
}

const workloads = {
  async burst(ctx, n) {
    const { ombrix, emu } = ctx;
    let seen = 0;
    let busyNs = 0n;
    let last = null;
    let gapMs = 0;
    ombrix.setLogger(() => {
      if (last === null) last = performance.now();  // gaps count from the burst's first line
      const start = process.hrtime.bigint();
      spin(0.2);
      busyNs += process.hrtime.bigint() - start;
      seen += 1;
      // The burst's last stretch counts too: a loop starved to the end never ticks.
      if (seen === n) gapMs = Math.max(gapMs, performance.now() - last);
    }, ombrix.LogLevel.INFO);
    const timer = setInterval(() => {
      if (last === null) return;
      const now = performance.now();
      gapMs = Math.max(gapMs, now - last);
      last = now;
    }, 10);
    await emu.emitLogs({ level: ombrix.LogLevel.INFO, lines: n, threads: 1 });
    while (seen < n) await new Promise((resolve) => setTimeout(resolve, 1));
    clearInterval(timer);
    ombrix.setLogger(null);
    const lineMs = Number(busyNs) / 1e6 / seen;
    return { gapMs, turnMs: LINES_PER_TURN * lineMs, burstMs: seen * lineMs };
  },
};

function groups({ subject, baseline }) {
  const name = 'longest 10 ms timer gap in a log burst (0.2 ms a line)';
  const gap = { pick: (x) => x.gapMs, unit: 'ms' };
  return [{
    name, n: 3000,
    variants: {
      burst: { build: subject, workload: 'event-loop.burst' },
      old: baseline && { build: baseline, workload: 'event-loop.burst' },
    },
    rows: (r) => {
      const budget = { label: `per-turn budget (${LINES_PER_TURN} lines)`, results: r.burst.results.map((x) => ({ gapMs: x.turnMs })) };
      return [row(name, r.burst, budget, gap), row(name, r.burst, r.old, gap)];
    },
  }];
}

module.exports = { workloads, groups };
