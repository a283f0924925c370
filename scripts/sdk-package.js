#!/usr/bin/env node
'use strict';
// Lays the substitute SDK out the way a vendor ships its SDK:
//   <dir>/include/ombrix/…   the contract headers, and nothing of the module's
//   <dir>/lib/               libombrix_shared.so (Windows: ombrix_shared.dll and
//                            its import library ombrix_shared.dll.a)
//   npm run sdk:package -- <dir> [--windows] [--version <label>]
// --windows cross-builds it with MinGW-w64; --version sets the version the
// library reports (default: the package's, with "-packaged").
const { spawnSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { root } = require('./build');

function run(command, args) {
  const result = spawnSync(command, args, { stdio: 'inherit' });
  if (result.error && result.error.code === 'ENOENT') throw new Error(`${command} was not found`);
  if (result.status !== 0) throw new Error(`${command} ${args.join(' ')} failed`);
}

function main() {
  const args = process.argv.slice(2);
  const windows = args.includes('--windows');
  const versionAt = args.indexOf('--version');
  const version = versionAt >= 0 ? args[versionAt + 1] : `${require('../package.json').version}-packaged`;
  const dir = args.find((a, i) => !a.startsWith('--') && args[i - 1] !== '--version');
  if (!dir || !version) throw new Error('usage: npm run sdk:package -- <dir> [--windows] [--version <label>]');
  const target = path.resolve(dir);

  const buildDir = path.join(root, 'build', windows ? 'sdk-package-windows' : 'sdk-package');
  const configure = ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', '-DOMBRIX_SDK_DIR=',
    `-DOMBRIX_SDK_VERSION=${version}`, `-DOMBRIX_NODE_EXECUTABLE=${process.execPath}`];
  if (windows) configure.push(`-DCMAKE_TOOLCHAIN_FILE=${path.join(root, 'cmake', 'mingw-w64-x86_64.cmake')}`);
  run('cmake', configure);
  run('cmake', ['--build', buildDir, '--parallel', String(os.cpus().length), '--target', 'ombrix_shared']);

  fs.rmSync(target, { recursive: true, force: true });
  fs.mkdirSync(path.join(target, 'lib'), { recursive: true });
  fs.cpSync(path.join(root, 'addon', 'include', 'ombrix'), path.join(target, 'include', 'ombrix'), { recursive: true });
  const libraries = windows ? ['ombrix_shared.dll', 'ombrix_shared.dll.a']
    : [process.platform === 'darwin' ? 'libombrix_shared.dylib' : 'libombrix_shared.so'];
  for (const file of libraries) fs.copyFileSync(path.join(buildDir, file), path.join(target, 'lib', file));
  console.log(`substitute SDK ${version} packaged in ${target}: include/ombrix (${
    fs.readdirSync(path.join(target, 'include', 'ombrix')).length} headers), lib/${libraries.join(', lib/')}`);
}

try {
  main();
} catch (error) {
  console.error(`ombrix_addon sdk:package: ${error.message}`);
  process.exit(1);
}
