#!/usr/bin/env node
'use strict';
// Line and branch coverage of addon/ and emulator/ by whatever ran against
// the coverage-instrumented build (the AddressSanitizer variant, build/asan):
// a table per folder, then the least-covered files. Needs gcovr (Debian's
// `gcovr` package).
//   node scripts/coverage.js [--reset] [--json <file>]
// --reset deletes the counts gathered so far, before a run.
const { spawnSync } = require('child_process');
const fs = require('fs');
const path = require('path');
const { root } = require('./build');

const objects = path.join(root, 'build', 'asan');
const args = process.argv.slice(2);

function gcdaFiles(dir) {
  if (!fs.existsSync(dir)) return [];
  return fs.readdirSync(dir, { withFileTypes: true }).flatMap((entry) => {
    const full = path.join(dir, entry.name);
    if (entry.isDirectory()) return gcdaFiles(full);
    return entry.name.endsWith('.gcda') ? [full] : [];
  });
}

function reset() {
  for (const file of gcdaFiles(objects)) fs.rmSync(file);
}

// The folder a source file is counted under in the table.
function area(file) {
  const parts = file.split('/');
  if (parts[0] === 'addon' && parts[1] === 'src' && parts[2] === 'platform') return parts.slice(0, 4).join('/');
  return parts.slice(0, 2).join('/');
}

const percent = (covered, total) => (total ? `${((100 * covered) / total).toFixed(1)}%` : '—');

function report() {
  if (!gcdaFiles(objects).length) {
    console.log(`coverage: no counts under ${objects} (run the suites of the asan variant first)`);
    return null;
  }
  const gcovr = spawnSync('gcovr', ['--root', root, '--object-directory', objects,
    '--filter', `${root}/addon/`, '--filter', `${root}/emulator/`,
    '--exclude', `${root}/emulator/test/`, '--exclude-throw-branches', '--exclude-unreachable-branches',
    '--gcov-ignore-parse-errors', '--json-summary', '-'], { encoding: 'utf8', maxBuffer: 1 << 26 });
  if (gcovr.error) {
    console.log(`coverage: gcovr is missing (${gcovr.error.code}): apt-get install gcovr`);
    return null;
  }
  if (gcovr.status !== 0) throw new Error(`gcovr failed:\n${gcovr.stderr}`);
  const summary = JSON.parse(gcovr.stdout);
  const areas = new Map();
  const add = (key, f) => {
    const a = areas.get(key) || { lines: 0, linesCovered: 0, branches: 0, branchesCovered: 0 };
    a.lines += f.line_total;
    a.linesCovered += f.line_covered;
    a.branches += f.branch_total;
    a.branchesCovered += f.branch_covered;
    areas.set(key, a);
  };
  for (const f of summary.files) {
    add(area(f.filename), f);
    add(f.filename.split('/')[0], f);
  }
  const rows = [...areas].sort(([a], [b]) => a.localeCompare(b));
  const width = Math.max(...rows.map(([name]) => name.length));
  console.log(`\n=== coverage (gcov, ${path.relative(root, objects)}) ===`);
  console.log(`${'folder'.padEnd(width)}  lines                branches`);
  for (const [name, a] of rows) {
    console.log(`${name.padEnd(width)}  ${percent(a.linesCovered, a.lines).padStart(6)} of ${String(a.lines).padStart(5)}` +
      `   ${percent(a.branchesCovered, a.branches).padStart(6)} of ${String(a.branches).padStart(5)}`);
  }
  const least = summary.files.filter((f) => f.line_total >= 20)
    .sort((a, b) => a.line_percent - b.line_percent).slice(0, 12);
  console.log('\nleast covered files (lines):');
  for (const f of least) console.log(`  ${f.line_percent.toFixed(1).padStart(5)}%  ${f.filename}`);
  return { areas: Object.fromEntries(rows), files: summary.files };
}

if (require.main === module) {
  if (args.includes('--reset')) {
    reset();
  } else {
    const result = report();
    const json = args.indexOf('--json');
    if (result && json >= 0) fs.writeFileSync(args[json + 1], JSON.stringify(result, null, 2));
  }
}

module.exports = { reset, report };
