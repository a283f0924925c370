'use strict';
// `npm run bench [-- options]`: every figure as a ratio to a baseline measured
// in the same run, each measurement in its own process (bench/run-one.js),
// rounds interleaved. Prints one table and writes bench/results.json.
//   --only <text>    only the groups whose name contains <text> (repeatable)
//   --no-baseline    no rows against the 5dc05fc build, and do not build it
//   --rounds <n>     rounds per group (default 5) where a group does not set its own
// The first run builds the 5dc05fc baseline in bench/.baseline/ (bench/baseline.js).
const { spawnSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const baselineBuild = require('./baseline');
const { measure, printTable } = require('./harness');

const suites = [require('./promise-roundtrip'), require('./js-services'), require('./event-loop'), require('./memory'),
  require('./loopback-tools'), require('./module-load'), require('./inspector')];

function options(argv) {
  const result = { only: [], baseline: true, rounds: 5 };
  for (let i = 0; i < argv.length; ++i) {
    if (argv[i] === '--only') result.only.push(argv[++i]);
    else if (argv[i] === '--no-baseline') result.baseline = false;
    else if (argv[i] === '--rounds') result.rounds = Number(argv[++i]);
    else throw new Error(`unknown option ${argv[i]} (--only <text>, --no-baseline, --rounds <n>)`);
  }
  if (!(result.rounds >= 1) || result.only.includes(undefined)) throw new Error('--only and --rounds need a value');
  return result;
}

function subjectLabel(root) {
  const git = (args) => spawnSync('git', args, { cwd: root, encoding: 'utf8' });
  const head = git(['rev-parse', '--short', 'HEAD']);
  if (head.status !== 0) return 'this build';
  return `this build (${head.stdout.trim()}${git(['status', '--porcelain', '--untracked-files=no']).stdout.trim() ? '+' : ''})`;
}

const load = () => os.loadavg().map((l) => Number(l.toFixed(2)));

async function main() {
  const opts = options(process.argv.slice(2));
  const started = Date.now();
  const root = path.resolve(__dirname, '..');
  const subject = { label: subjectLabel(root), root, subject: true };
  const loadStart = load();
  console.log(`load average at start: ${loadStart.join(' ')}`);
  const old = baselineBuild.ensure({ build: opts.baseline });
  const baseline = opts.baseline && !old.skipped ? old : null;
  if (!baseline) console.log(`rows against the ${baselineBuild.COMMIT} build skipped: ${old.skipped || '--no-baseline'}`);
  console.log(`subject: ${subject.label}${baseline ? `; baseline build: ${baseline.label} (${path.relative(root, baseline.root)})` : ''}`);

  const fixtures = {};
  const all = suites.flatMap((suite) => suite.groups({ subject, baseline, fixtures }));
  const chosen = all.filter((g) => !opts.only.length || opts.only.some((text) => g.name.includes(text)));
  if (!chosen.length) throw new Error(`no group matches ${opts.only.join(', ')}: ${all.map((g) => g.name).join('; ')}`);
  const rows = [];
  try {
    for (const g of chosen) {
      const groupStart = Date.now();
      const results = measure(g.variants, { n: g.n, args: { ...g.args, ...(g.setup ? g.setup() : {}) },
        rounds: g.rounds || opts.rounds });
      rows.push(...g.rows(results).filter(Boolean));
      console.error(`  ${g.name}: ${((Date.now() - groupStart) / 1000).toFixed(1)} s`);
    }
  } finally {
    for (const suite of suites) if (suite.cleanup) suite.cleanup(fixtures);
  }
  const loadEnd = load();
  printTable(rows);
  const seconds = Math.round((Date.now() - started) / 1000);
  console.log(`load average at start: ${loadStart.join(' ')}; at end: ${loadEnd.join(' ')}; ${seconds} s`);
  const machine = { cpus: os.cpus().length, model: os.cpus()[0].model, node: process.version,
    platform: `${os.platform()} ${os.release()}` };
  const builds = { subject: subject.label, baseline: baseline ? baseline.label : { skipped: old.skipped || '--no-baseline' } };
  fs.writeFileSync(path.join(__dirname, 'results.json'), `${JSON.stringify({ machine,
    load: { start: loadStart, end: loadEnd }, builds, only: opts.only, rounds: opts.rounds, seconds, rows }, null, 2)}\n`);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
