#!/usr/bin/env node
'use strict';
// Configures and builds one variant of the native code with CMake:
//   node scripts/build.js [release|asan|tsan]
// OMBRIX_SDK_DIR=<dir> builds the module against a vendor SDK instead of the
// substitute one.
const { spawnSync } = require('child_process');
const os = require('os');
const path = require('path');

const VARIANTS = {
  release: { buildType: 'Release', sanitize: '' },
  asan: { buildType: 'RelWithDebInfo', sanitize: 'address' },
  tsan: { buildType: 'RelWithDebInfo', sanitize: 'thread' },
};

function build(variant) {
  const config = VARIANTS[variant];
  if (!config) throw new Error(`unknown build variant "${variant}" (release, asan, tsan)`);
  const root = path.resolve(__dirname, '..');
  const buildDir = path.join(root, 'build', variant);
  const configure = ['-S', root, '-B', buildDir, `-DCMAKE_BUILD_TYPE=${config.buildType}`,
    `-DOMBRIX_SANITIZE=${config.sanitize}`, `-DOMBRIX_SDK_DIR=${process.env.OMBRIX_SDK_DIR || ''}`];
  run('cmake', configure);
  const jobs = String(Math.max(1, (os.availableParallelism ? os.availableParallelism() : os.cpus().length)));
  run('cmake', ['--build', buildDir, '--parallel', jobs]);
  return buildDir;
}

function run(command, args) {
  const result = spawnSync(command, args, { stdio: 'inherit' });
  if (result.error && result.error.code === 'ENOENT') {
    throw new Error(`${command} was not found: install CMake (3.25 or newer) and a C++17 compiler`);
  }
  if (result.status !== 0) throw new Error(`${command} ${args.join(' ')} failed`);
}

module.exports = { build, VARIANTS };

if (require.main === module) {
  try {
    build(process.argv[2] || process.env.OMBRIX_BUILD || 'release');
  } catch (error) {
    console.error(`ombrix_addon build: ${error.message}`);
    process.exit(1);
  }
}
