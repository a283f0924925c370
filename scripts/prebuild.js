#!/usr/bin/env node
'use strict';
// `npm pack`'s prepack step: ready binaries under prebuilds/<platform>-<arch>/,
// each the module, the substitute SDK it was built with, and the control
// addon in control/. This platform always; 64-bit Windows too when the
// MinGW-w64 toolchain is installed (cross-built).
const { spawnSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { build, root } = require('./build');

const SHARED_LIBRARY = { win32: 'ombrix_shared.dll', darwin: 'libombrix_shared.dylib' };
const MINGW = 'x86_64-w64-mingw32-g++-posix';

// Symbol tables are for debugging a build tree, not for an app's node_modules.
const STRIP = { win32: 'x86_64-w64-mingw32-strip', linux: 'strip' };

function collect(outputDir, platform, arch) {
  const target = path.join(root, 'prebuilds', `${platform}-${arch}`);
  fs.rmSync(target, { recursive: true, force: true });
  fs.mkdirSync(path.join(target, 'control'), { recursive: true });
  for (const file of ['ombrix_addon.node', SHARED_LIBRARY[platform] || 'libombrix_shared.so',
    path.join('control', 'ombrix_control.node')]) {
    fs.copyFileSync(path.join(outputDir, file), path.join(target, file));
    if (STRIP[platform]) spawnSync(STRIP[platform], ['--strip-unneeded', path.join(target, file)], { stdio: 'inherit' });
  }
  console.log(`prebuilds/${platform}-${arch}: ${fs.readdirSync(target).join(', ')}`);
}

function run(command, args) {
  const result = spawnSync(command, args, { stdio: 'inherit' });
  if (result.status !== 0) throw new Error(`${command} ${args.join(' ')} failed`);
}

function main() {
  if (process.env.OMBRIX_SDK_DIR) {
    throw new Error('prebuilt binaries carry the substitute SDK: unset OMBRIX_SDK_DIR to pack');
  }
  fs.rmSync(path.join(root, 'prebuilds'), { recursive: true, force: true });
  process.env.OMBRIX_SDK_DIR = '';  // a tree last built against a vendor SDK switches back
  const { outputDir } = build('release');
  collect(outputDir, process.platform, process.arch);

  if (process.platform !== 'win32' && spawnSync(MINGW, ['--version']).status === 0) {
    const windows = path.join(root, 'build', 'windows');
    run('cmake', ['-S', root, '-B', windows, `-DCMAKE_TOOLCHAIN_FILE=${path.join(root, 'cmake', 'mingw-w64-x86_64.cmake')}`,
      '-DCMAKE_BUILD_TYPE=Release', '-DOMBRIX_SDK_DIR=', `-DOMBRIX_NODE_EXECUTABLE=${process.execPath}`]);
    run('cmake', ['--build', windows, '--parallel', String(os.cpus().length), '--target', 'ombrix_addon', 'ombrix_control']);
    collect(windows, 'win32', 'x64');
  } else {
    console.log(`no Windows prebuild: ${MINGW} is not installed`);
  }
}

try {
  main();
} catch (error) {
  console.error(`ombrix_addon prebuild: ${error.message}`);
  process.exit(1);
}
