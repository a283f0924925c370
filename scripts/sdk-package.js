#!/usr/bin/env node
'use strict';
// Lays the substitute SDK out the way a vendor ships its SDK:
//   <dir>/include/ombrix/…   the contract headers, and nothing of the module's
//   <dir>/lib/               libombrix_shared.so (Windows: ombrix_shared.dll and
//                            its import library ombrix_shared.dll.a)
//   npm run sdk:package -- <dir> [--windows | --arm64] [--version <label>]
// --windows cross-builds it with MinGW-w64. --arm64 ships Linux on ARM too, as
// a vendor of several architectures does: one folder per architecture under
// lib/, this machine's (lib/x64/) and lib/arm64/, cross-built with Debian's
// aarch64 toolchain. --version sets the version the library reports
// (default: the package's, with "-packaged").
const fs = require('fs');
const os = require('os');
const path = require('path');
const { root, run } = require('./build');
const { crossTarget } = require('./cross');

function library(platform) {
  if (platform === 'win32') return ['ombrix_shared.dll', 'ombrix_shared.dll.a'];
  return [platform === 'darwin' ? 'libombrix_shared.dylib' : 'libombrix_shared.so'];
}

// Builds the SDK library alone into build/<dir> and copies it to `into`.
function buildLibrary({ dir, toolchainFile, platform }, version, into) {
  const buildDir = path.join(root, 'build', dir);
  const configure = ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', '-DOMBRIX_SDK_DIR=',
    `-DOMBRIX_SDK_VERSION=${version}`, `-DOMBRIX_NODE_EXECUTABLE=${process.execPath}`];
  if (toolchainFile) configure.push(`-DCMAKE_TOOLCHAIN_FILE=${toolchainFile}`);
  run('cmake', configure);
  run('cmake', ['--build', buildDir, '--parallel', String(os.cpus().length), '--target', 'ombrix_shared']);
  fs.mkdirSync(into, { recursive: true });
  for (const file of library(platform)) fs.copyFileSync(path.join(buildDir, file), path.join(into, file));
  return library(platform).map((file) => path.join(into, file));
}

function main() {
  const args = process.argv.slice(2);
  const windows = args.includes('--windows');
  const arm64 = args.includes('--arm64');
  const versionAt = args.indexOf('--version');
  const version = versionAt >= 0 ? args[versionAt + 1] : `${require('../package.json').version}-packaged`;
  const dir = args.find((a, i) => !a.startsWith('--') && args[i - 1] !== '--version');
  if (!dir || !version || (windows && arm64)) {
    throw new Error('usage: npm run sdk:package -- <dir> [--windows | --arm64] [--version <label>]');
  }
  const target = path.resolve(dir);
  const lib = path.join(target, 'lib');

  const host = { dir: 'sdk-package', platform: process.platform };
  const builds = windows ? [[{ ...crossTarget('win32-x64'), dir: 'sdk-package-windows' }, lib]]
    : arm64 && process.arch !== 'arm64'
      ? [[host, path.join(lib, process.arch)], [{ ...crossTarget('linux-arm64'), dir: 'sdk-package-arm64' }, path.join(lib, 'arm64')]]
      : [[host, arm64 ? path.join(lib, 'arm64') : lib]];

  fs.rmSync(target, { recursive: true, force: true });
  fs.cpSync(path.join(root, 'addon', 'include', 'ombrix'), path.join(target, 'include', 'ombrix'), { recursive: true });
  const files = builds.flatMap(([how, into]) => buildLibrary(how, version, into));
  console.log(`substitute SDK ${version} packaged in ${target}: include/ombrix (${
    fs.readdirSync(path.join(target, 'include', 'ombrix')).length} headers), ${
    files.map((file) => path.relative(target, file)).join(', ')}`);
}

try {
  main();
} catch (error) {
  console.error(`ombrix_addon sdk:package: ${error.message}`);
  process.exit(1);
}
