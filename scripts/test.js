#!/usr/bin/env node
'use strict';
// Runs every suite of one build variant: the node:test suites, then the native
// (ctest) suites, and prints both summaries.
//   node scripts/test.js [release|asan|tsan] [test files...]
// Sanitizer variants are (re)built first; node then runs with the compiler's
// sanitizer runtime preloaded, since node itself is not instrumented.
const { spawnSync, execFileSync } = require('child_process');
const fs = require('fs');
const path = require('path');
const { build, VARIANTS, root } = require('./build');

const args = process.argv.slice(2);
const variant = args[0] && VARIANTS[args[0]] ? args.shift() : (process.env.OMBRIX_BUILD || 'release');

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
  const { buildDir, outputDir } = build(variant, { developer: true });
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

  console.log(`\n=== node:test suites (${variant}) ===`);
  const node = spawnSync(process.execPath,
    ['--expose-gc', '--test', '--test-reporter=spec', ...files], { stdio: 'inherit', env, cwd: root });
  results.push(['node:test', node.status === 0]);

  if (!args.length) {
    console.log(`\n=== native suites (${variant}) ===`);
    const nativeEnv = { ...env };
    delete nativeEnv.LD_PRELOAD;  // native test binaries link their runtime
    const ctest = spawnSync('ctest', ['--test-dir', buildDir, '--output-on-failure', '--no-tests=error'],
      { stdio: 'inherit', env: nativeEnv });
    results.push(['ctest', ctest.status === 0]);
  }

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
