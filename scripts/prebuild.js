#!/usr/bin/env node
'use strict';
// `npm pack`'s prepack step: ready binaries under prebuilds/<platform>-<arch>/,
// each the module, the substitute SDK it was built with, and the control
// addon in control/. This platform always; each platform of scripts/cross.js
// too when its compiler is installed (MinGW-w64 for 64-bit Windows, Debian's
// aarch64 toolchain for Linux on ARM), cross-built as a native build is.
const { spawnSync } = require('child_process');
const fs = require('fs');
const path = require('path');
const { build, root } = require('./build');
const { TARGETS, crossTarget } = require('./cross');

const SHARED_LIBRARY = { win32: 'ombrix_shared.dll', darwin: 'libombrix_shared.dylib' };

// Symbol tables are for debugging a build tree, not for an app's node_modules.
function collect(outputDir, platform, arch, strip) {
  const target = path.join(root, 'prebuilds', `${platform}-${arch}`);
  fs.rmSync(target, { recursive: true, force: true });
  fs.mkdirSync(path.join(target, 'control'), { recursive: true });
  for (const file of ['ombrix_addon.node', SHARED_LIBRARY[platform] || 'libombrix_shared.so',
    path.join('control', 'ombrix_control.node')]) {
    fs.copyFileSync(path.join(outputDir, file), path.join(target, file));
    if (strip && spawnSync(strip, ['--strip-unneeded', path.join(target, file)], { stdio: 'inherit' }).status !== 0) {
      throw new Error(`${strip} failed on ${file}`);
    }
  }
  console.log(`prebuilds/${platform}-${arch}: ${fs.readdirSync(target).join(', ')}`);
}

function main() {
  if (process.env.OMBRIX_SDK_DIR) {
    throw new Error('prebuilt binaries carry the substitute SDK: unset OMBRIX_SDK_DIR to pack');
  }
  fs.rmSync(path.join(root, 'prebuilds'), { recursive: true, force: true });
  process.env.OMBRIX_SDK_DIR = '';  // a tree last built against a vendor SDK switches back
  const { outputDir } = build('release');
  collect(outputDir, process.platform, process.arch, process.platform === 'linux' ? 'strip' : '');

  for (const name of Object.keys(TARGETS)) {
    const target = crossTarget(name);
    if (name === `${process.platform}-${process.arch}`) continue;
    if (!target.installed()) {
      console.log(`no ${name} prebuild: ${target.compiler} is not installed (Debian: ${target.debian})`);
      continue;
    }
    const started = Date.now();
    const cross = build('release', { toolchain: target.toolchainFile, dir: target.dir });
    collect(cross.outputDir, target.platform, target.arch, target.strip);
    console.log(`${name} cross build: ${Math.round((Date.now() - started) / 1000)} s`);
  }
}

try {
  main();
} catch (error) {
  console.error(`ombrix_addon prebuild: ${error.message}`);
  process.exit(1);
}
