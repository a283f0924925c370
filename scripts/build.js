#!/usr/bin/env node
'use strict';
// Configures and builds one variant of the native code with CMake:
//   node scripts/build.js [release|asan|tsan] [--developer]
// Without --developer only what an application runs is built: the module and,
// unless OMBRIX_SDK_DIR names a vendor SDK, the substitute SDK with its
// control addon. --developer adds the native suites and the bench addon.
const { spawnSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const root = path.resolve(__dirname, '..');

// `dir` is CMake's tree, `output` where the binaries land. The release
// binaries go to build/Release, where node-gyp-build looks for a source build.
const VARIANTS = {
  release: { buildType: 'Release', sanitize: '', dir: 'cmake', output: 'Release' },
  asan: { buildType: 'RelWithDebInfo', sanitize: 'address', dir: 'asan', output: 'asan', coverage: true },
  tsan: { buildType: 'RelWithDebInfo', sanitize: 'thread', dir: 'tsan', output: 'tsan' },
};

const isCheckout = () => fs.existsSync(path.join(root, '.git'));

// A cross build (`toolchain`, a CMake toolchain file) has one folder of its
// own, build/<dir>, for CMake's tree and the binaries alike.
function paths(variant, dir) {
  const config = VARIANTS[variant];
  if (!config) throw new Error(`unknown build variant "${variant}" (release, asan, tsan)`);
  if (dir) return { config, buildDir: path.join(root, 'build', dir), outputDir: path.join(root, 'build', dir) };
  return { config, buildDir: path.join(root, 'build', config.dir), outputDir: path.join(root, 'build', config.output) };
}

function build(variant, { developer = false, toolchain = '', dir = '' } = {}) {
  const { config, buildDir, outputDir } = paths(variant, dir);
  const sdkDir = process.env.OMBRIX_SDK_DIR || '';
  const configure = ['-S', root, '-B', buildDir, `-DCMAKE_BUILD_TYPE=${config.buildType}`,
    `-DOMBRIX_SANITIZE=${config.sanitize}`,
    `-DOMBRIX_OUTPUT_DIR=${outputDir}`, `-DOMBRIX_NODE_EXECUTABLE=${process.execPath}`,
    `-DOMBRIX_COVERAGE=${config.coverage ? 'ON' : 'OFF'}`];
  // Unset keeps the tree's choice (a vendor build stays one); empty switches back.
  if (process.env.OMBRIX_SDK_DIR !== undefined) configure.push(`-DOMBRIX_SDK_DIR=${sdkDir}`);
  // Never switched off again: a developer tree keeps its suites configured.
  if (developer) configure.push('-DOMBRIX_DEVELOPER=ON');
  if (toolchain) configure.push(`-DCMAKE_TOOLCHAIN_FILE=${toolchain}`);
  run('cmake', configure);
  const jobs = String(os.availableParallelism ? os.availableParallelism() : os.cpus().length);
  const vendor = sdkDir || (process.env.OMBRIX_SDK_DIR === undefined && cachedSdkDir(buildDir));
  const targets = developer ? [] : ['--target', 'ombrix_addon', ...(vendor ? [] : ['ombrix_control'])];
  run('cmake', ['--build', buildDir, '--parallel', jobs, ...targets]);
  return { buildDir, outputDir };
}

function cachedSdkDir(buildDir) {
  try {
    const match = /^OMBRIX_SDK_DIR:PATH=(.*)$/m.exec(fs.readFileSync(path.join(buildDir, 'CMakeCache.txt'), 'utf8'));
    return match ? match[1] : '';
  } catch {
    return '';
  }
}

function run(command, args) {
  const result = spawnSync(command, args, { stdio: 'inherit' });
  if (result.error && result.error.code === 'ENOENT') {
    throw new Error(`${command} was not found: install CMake (3.25 or newer) and a C++17 compiler, ` +
      'or use a platform with a prebuilt binary');
  }
  if (result.status !== 0) throw new Error(`${command} ${args.join(' ')} failed`);
}

module.exports = { build, paths, run, isCheckout, VARIANTS, root };

if (require.main === module) {
  const args = process.argv.slice(2);
  const developer = args.includes('--developer');
  const variant = args.find((a) => !a.startsWith('--')) || process.env.OMBRIX_BUILD || 'release';
  try {
    build(variant, { developer });
  } catch (error) {
    console.error(`ombrix_addon build: ${error.message}`);
    process.exit(1);
  }
}
