'use strict';
// The platforms this repository cross-builds from Linux x64, each with
// Debian's compiler package: the prebuilt binaries (scripts/prebuild.js) and
// the packaged SDK (scripts/sdk-package.js). A cross build is configured as a
// native one is, plus the CMake toolchain file.
const { spawnSync } = require('child_process');
const path = require('path');

const TARGETS = {
  'win32-x64': {
    compiler: 'x86_64-w64-mingw32-g++-posix', debian: 'g++-mingw-w64-x86-64-posix',
    toolchain: 'mingw-w64-x86_64.cmake', strip: 'x86_64-w64-mingw32-strip', dir: 'windows',
  },
  'linux-arm64': {
    compiler: 'aarch64-linux-gnu-g++', debian: 'g++-aarch64-linux-gnu',
    toolchain: 'aarch64-linux-gnu.cmake', strip: 'aarch64-linux-gnu-strip', dir: 'linux-arm64',
  },
};

// `name` is <platform>-<arch>, as prebuilds/ names its folders.
function crossTarget(name) {
  const target = TARGETS[name];
  if (!target) throw new Error(`no cross build for ${name} (${Object.keys(TARGETS).join(', ')})`);
  const [platform, arch] = name.split('-');
  return {
    ...target, name, platform, arch,
    toolchainFile: path.resolve(__dirname, '..', 'cmake', target.toolchain),
    installed: () => spawnSync(target.compiler, ['--version']).status === 0,
  };
}

module.exports = { TARGETS, crossTarget };
