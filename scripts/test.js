#!/usr/bin/env node
'use strict';
// Runs every suite of one build variant: the node:test suites, then the native
// (ctest) suites, and prints both summaries.
//   node scripts/test.js [release|asan|tsan] [--hostile [--seed N]] [--no-native] [--concurrency N] [test files...]
// Sanitizer variants are (re)built first; node then runs with the compiler's
// sanitizer runtime preloaded, since node itself is not instrumented.
// --hostile runs the node:test suites against the SDK's hostile mode, from
// the seed given (or OMBRIX_HOSTILE_SEED, or a random one), which it prints
// and which the hostile application's draws (test/hostile-app) use too;
// test/hostile/guard.js then checks each suite's process at its end.
// --no-native runs the node:test suites alone against the build as it is (no
// build, no ctest): run with another node binary, they run on that Node.
// --concurrency N runs N suite files at once (node's default is one fewer
// than the cores): the suites wait on other threads and processes more than
// they compute, so CI's release legs run two on two cores.
const crypto = require('crypto');
const { spawnSync, execFileSync } = require('child_process');
const fs = require('fs');
const path = require('path');
const { build, paths, VARIANTS, root } = require('./build');

const args = process.argv.slice(2);
const variant = args[0] && VARIANTS[args[0]] ? args.shift() : (process.env.OMBRIX_BUILD || 'release');
const hostile = takeFlag('--hostile');
const native = !takeFlag('--no-native');
const concurrency = takeOption('--concurrency');
const seed = takeOption('--seed') || process.env.OMBRIX_HOSTILE_SEED || crypto.randomBytes(8).readBigUInt64BE().toString();
// Long enough for a loaded sanitizer run.
const testTimeoutMs = 5 * 60 * 1000;
const hostileTimeoutMs = 30 * 60 * 1000;

function takeFlag(name) {
  const index = args.indexOf(name);
  if (index >= 0) args.splice(index, 1);
  return index >= 0;
}

function takeOption(name) {
  const index = args.indexOf(name);
  return index >= 0 ? args.splice(index, 2)[1] : undefined;
}

function findTests(dir) {
  if (!fs.existsSync(dir)) return [];
  return fs.readdirSync(dir, { withFileTypes: true }).flatMap((entry) => {
    const full = path.join(dir, entry.name);
    if (entry.isDirectory()) return entry.name === 'fixtures' ? [] : findTests(full);
    return entry.name.endsWith('.test.js') ? [full] : [];
  }).sort();
}

function sanitizerEnv() {
  const env = { ...process.env, OMBRIX_BUILD: variant };
  const runtime = { asan: 'libasan.so', tsan: 'libtsan.so' }[variant];
  if (!runtime) return env;
  const compiler = process.env.CXX || 'g++';
  const lib = execFileSync(compiler, [`-print-file-name=${runtime}`], { encoding: 'utf8' }).trim();
  env.LD_PRELOAD = lib;
  const suppressions = path.join(root, 'scripts', 'sanitizers');
  env.NODE_OPTIONS = `${env.NODE_OPTIONS || ''} --require ${path.join(suppressions, 'strip-preload.js')}`.trim();
  if (variant === 'asan') {
    // node itself is not built for leak checking; its own allocations would
    // drown ours. Native leaks are caught by the native suites and the
    // live-object counters.
    env.ASAN_OPTIONS = 'detect_leaks=0:halt_on_error=1:abort_on_error=1';
    env.UBSAN_OPTIONS = `halt_on_error=1:print_stacktrace=1:suppressions=${suppressions}/ubsan.supp`;
  } else {
    env.TSAN_OPTIONS = `halt_on_error=1:second_deadlock_stack=1:suppressions=${suppressions}/tsan.supp`;
  }
  return env;
}

function main() {
  // Incremental: a no-op when nothing changed. Fails when GoogleTest is missing.
  const { buildDir, outputDir } = native ? build(variant, { developer: true }) : paths(variant);
  if (!fs.existsSync(path.join(outputDir, 'ombrix_addon.node'))) {
    throw new Error(`no ${variant} build in ${outputDir}: node scripts/build.js ${variant} --developer`);
  }
  // The asan variant counts coverage: a whole run starts from zero and ends
  // with the figures.
  const coverage = variant === 'asan' && !args.length && !hostile;
  if (coverage) require('./coverage').reset();
  const env = sanitizerEnv();
  let files = args.length ? args.map((f) => path.resolve(f)) : findTests(path.join(root, 'test'));
  const results = [];

  // Built against a vendor SDK: only the suites that need no control surface.
  if (!fs.existsSync(path.join(outputDir, 'control', 'ombrix_control.node')) && !args.length) {
    const vendor = require('../test/vendor-suites.json');
    const skipped = files.filter((f) => !vendor.suites.includes(path.basename(f)));
    files = files.filter((f) => vendor.suites.includes(path.basename(f)));
    console.log(`\n${vendor.reason}\nSkipped: ${skipped.map((f) => path.basename(f)).join(', ')}`);
  }

  const nodeArgs = ['--expose-gc', ...(concurrency ? [`--test-concurrency=${concurrency}`] : [])];
  if (hostile) {
    env.OMBRIX_HOSTILE = seed;
    env.OMBRIX_APP_SEED = seed;  // the hostile application's draws, from the same printed seed
    // A test that hangs fails at its own time-out instead of holding the run.
    nodeArgs.push('--require', path.join(root, 'test', 'hostile', 'guard.js'), `--test-timeout=${testTimeoutMs}`);
    console.log(`\nHostile SDK, seed ${seed} (repeat: OMBRIX_HOSTILE_SEED=${seed} npm run test:hostile)`);
  }
  console.log(`\n=== node:test suites (${variant}${hostile ? ', hostile' : ''}) ===`);
  const node = spawnSync(process.execPath, [...nodeArgs, '--test', '--test-reporter=spec', ...files],
    { stdio: 'inherit', env, cwd: root, timeout: hostile ? hostileTimeoutMs : undefined });
  if (node.error) console.log(`node:test did not finish: ${node.error.message}`);
  results.push([`node:test on Node ${process.versions.node}${hostile ? ` (hostile, seed ${seed})` : ''}`, node.status === 0]);

  if (!args.length && !hostile && native) {
    console.log(`\n=== native suites (${variant}) ===`);
    const nativeEnv = { ...env };
    delete nativeEnv.LD_PRELOAD;  // native test binaries link their runtime
    const ctest = spawnSync('ctest', ['--test-dir', buildDir, '--output-on-failure', '--no-tests=error'],
      { stdio: 'inherit', env: nativeEnv });
    results.push(['ctest', ctest.status === 0]);
  }

  if (coverage) require('./coverage').report();

  console.log(`\n=== summary (${variant}) ===`);
  for (const [name, ok] of results) console.log(`${ok ? 'PASS' : 'FAIL'}  ${name}`);
  process.exit(results.every(([, ok]) => ok) ? 0 : 1);
}

try {
  main();
} catch (error) {
  console.error(`ombrix_addon tests: ${error.message}`);
  process.exit(1);
}
