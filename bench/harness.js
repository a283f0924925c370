'use strict';
// Side-by-side measurement: each figure is a ratio to a baseline measured in
// the same run, rounds interleaved, median of the rounds with their spread.

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const mid = sorted.length >> 1;
  return sorted.length % 2 ? sorted[mid] : (sorted[mid - 1] + sorted[mid]) / 2;
}

/** Runs `fn(n)` (which performs n operations) and returns operations per second. */
async function rate(fn, n) {
  const start = process.hrtime.bigint();
  await fn(n);
  const seconds = Number(process.hrtime.bigint() - start) / 1e9;
  return n / seconds;
}

/**
 * Measures `subject` against `baseline` for `rounds` interleaved rounds.
 * Returns { subject, baseline, ratio, spread } with medians in ops/s; spread
 * is the (max - min) / median of the per-round ratios.
 */
async function compare({ subject, baseline, n, rounds = 5, warmup = true }) {
  if (warmup) {
    await subject(Math.max(1, n >> 3));
    await baseline(Math.max(1, n >> 3));
  }
  const subjectRates = [];
  const baselineRates = [];
  const ratios = [];
  for (let i = 0; i < rounds; ++i) {
    const s = await rate(subject, n);
    const b = await rate(baseline, n);
    subjectRates.push(s);
    baselineRates.push(b);
    ratios.push(s / b);
  }
  const ratio = median(ratios);
  return {
    subject: median(subjectRates),
    baseline: median(baselineRates),
    ratio,
    spread: (Math.max(...ratios) - Math.min(...ratios)) / ratio,
  };
}

/** Runs `op()` `n` times with at most `inFlight` pending at once. */
async function inFlight(op, n, limit) {
  let started = 0;
  async function lane() {
    while (started < n) {
      started += 1;
      await op();
    }
  }
  await Promise.all(Array.from({ length: Math.min(limit, n) }, lane));
}

function printTable(rows) {
  const header = ['benchmark', 'subject', 'baseline', 'baseline figure', 'ratio', 'spread'];
  const figure = (value, unit) => (['ms', 'µs', 'x'].includes(unit) ? value.toFixed(1) : value.toFixed(0));
  const lines = rows.map((r) => [r.name, figure(r.subject, r.unit), r.baselineName, figure(r.baseline, r.unit),
    `${r.ratio.toFixed(2)}x`, `±${(r.spread * 50).toFixed(0)}%`]);
  const widths = header.map((h, i) => Math.max(h.length, ...lines.map((l) => l[i].length)));
  const format = (cells) => cells.map((c, i) => c.padEnd(widths[i])).join('  ');
  console.log(format(header));
  console.log(widths.map((w) => '-'.repeat(w)).join('  '));
  for (const line of lines) console.log(format(line));
}

module.exports = { compare, inFlight, median, printTable };
