'use strict';
// Side-by-side measurement. Every figure comes from a child process
// (bench/run-one.js) that loads one build, warms up and measures one workload
// once; a group's children run interleaved, round by round, in an order that
// alternates each round, so drift in the machine's load falls on both sides.
// A row compares two of a group's variants: medians of the rounds, and the
// median and spread of the per-round ratios subject / baseline.
const { spawnSync } = require('child_process');
const path = require('path');

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const mid = sorted.length >> 1;
  return sorted.length % 2 ? sorted[mid] : (sorted[mid - 1] + sorted[mid]) / 2;
}

function percentile(sorted, p) {
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * p))];
}

/** Runs `op()` `n` times with at most `limit` pending at once. */
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

/** Runs `fn()` (which performs n operations) and returns operations per second. */
async function rate(fn, n) {
  const start = process.hrtime.bigint();
  await fn();
  return n / (Number(process.hrtime.bigint() - start) / 1e9);
}

const RUN_ONE = path.join(__dirname, 'run-one.js');

/** One measurement in a fresh process: what the workload returned. */
function runChild(build, workload, n, args = {}) {
  const env = { ...process.env };
  // The baseline's own loader picks its build from OMBRIX_BUILD.
  if (!build.subject) delete env.OMBRIX_BUILD;
  const child = spawnSync(process.execPath, ['--expose-gc', RUN_ONE, build.root, workload, String(n), JSON.stringify(args)],
    { encoding: 'utf8', env, maxBuffer: 1 << 24, timeout: 300000 });
  const line = (child.stdout || '').split('\n').find((l) => l.startsWith('RESULT '));
  if (!line) {
    throw new Error(`${workload} on ${build.label} failed (${child.error || `status ${child.status}, signal ${child.signal}`}):\n` +
      `${(child.stderr || '').trim()}`);
  }
  return JSON.parse(line.slice(7));
}

/**
 * Measures every variant ({ build, workload, n?, args? }) of a group for
 * `rounds` interleaved rounds; returns { name: { label, results: [one per round] } }.
 */
function measure(variants, { n, args = {}, rounds }) {
  const names = Object.keys(variants).filter((name) => variants[name]);
  const results = Object.fromEntries(names.map((name) => [name,
    { label: variants[name].label || variants[name].build.label, results: [] }]));
  for (let round = 0; round < rounds; ++round) {
    const order = round % 2 ? [...names].reverse() : names;
    for (const name of order) {
      const v = variants[name];
      results[name].results.push(runChild(v.build, v.workload, v.n || n, { ...args, ...v.args }));
    }
  }
  return results;
}

/**
 * A row comparing per-round figures: `pick(result)` reads the figure from a
 * round's result (or baseline is a constant). Ratio is subject / baseline.
 * Null when either side was not measured (no baseline build).
 */
function row(name, subject, baseline, { pick, unit = '/s', noRatio = false }) {
  if (!subject || !baseline) return null;
  const s = subject.results.map(pick);
  const b = typeof baseline.value === 'number' ? s.map(() => baseline.value) : baseline.results.map(pick);
  const ratios = s.map((value, i) => value / b[i]);
  const ratio = median(ratios);
  return {
    name, subjectName: subject.label, subject: median(s), baselineName: baseline.label, baseline: median(b),
    ratio: noRatio ? null : ratio,
    spread: noRatio || s.length < 2 ? null : (Math.max(...ratios) - Math.min(...ratios)) / ratio,
    unit, rounds: s.length,
  };
}

const group = (value) => Math.round(value).toLocaleString('en-US');

function figure(value, unit) {
  if (unit === '/s') return value >= 1e6 ? `${(value / 1e6).toFixed(2)} M/s` : `${group(value)}/s`;
  if (unit === 'B') return `${group(value)} B`;
  if (unit === 'x') return `${value.toFixed(2)}x`;
  return `${value >= 100 ? group(value) : value.toFixed(1)} ${unit}`;
}

function printTable(rows) {
  const header = ['benchmark', 'subject', 'figure', 'baseline', 'baseline figure', 'ratio', 'spread'];
  const lines = rows.map((r) => [r.name, r.subjectName, figure(r.subject, r.unit), r.baselineName,
    figure(r.baseline, r.unit), r.ratio === null ? '—' : `${r.ratio.toFixed(2)}x`,
    r.spread === null ? '—' : `±${(r.spread * 50).toFixed(0)}%`]);
  const widths = header.map((h, i) => Math.max(h.length, ...lines.map((l) => l[i].length)));
  const format = (cells) => cells.map((c, i) => c.padEnd(widths[i])).join('  ').trimEnd();
  console.log(format(header));
  console.log(widths.map((w) => '-'.repeat(w)).join('  '));
  for (const line of lines) console.log(format(line));
}

module.exports = { median, percentile, inFlight, rate, runChild, measure, row, printTable };
