'use strict';
// Where the native binaries are. node-gyp-build finds the module: a source
// build in build/Release, else the prebuilt binary for this platform under
// prebuilds/<platform>-<arch>/. OMBRIX_BUILD=asan|tsan|windows picks a
// developer build under build/<variant> instead. Helper addons sit in
// subfolders beside the module: control/ (the substitute SDK's control
// surface) and bench/.
const fs = require('fs');
const path = require('path');
const nodeGypBuild = require('node-gyp-build');

const root = path.resolve(__dirname, '..');
const variant = process.env.OMBRIX_BUILD && process.env.OMBRIX_BUILD !== 'release' ? process.env.OMBRIX_BUILD : null;

let found = null;

function loadError(message, cause) {
  const error = new Error(`ombrix_addon: ${message}`, cause ? { cause } : undefined);
  error.code = 'ERR_OMBRIX_LOAD';
  return error;
}

const REBUILD = 'Build it from source with `npm rebuild ombrix_addon --build-from-source` (needs CMake 3.25+ and ' +
  'a C++17 compiler, and the package allowed to run its install script: `npm install-scripts approve ombrix_addon`, ' +
  '`pnpm approve-builds`); OMBRIX_SDK_DIR=<dir> builds against a vendor SDK.';

function prebuiltPlatforms() {
  try {
    return fs.readdirSync(path.join(root, 'prebuilds')).join(', ') || 'none';
  } catch {
    return 'none';
  }
}

// The module's path; throws an Error naming what was looked for and where.
function modulePath() {
  if (found) return found;
  if (variant) {
    found = path.join(root, 'build', variant, 'ombrix_addon.node');
    if (!fs.existsSync(found)) {
      throw loadError(`OMBRIX_BUILD=${variant} asks for ${found}, which does not exist: ` +
        `build it with \`node scripts/build.js ${variant}\` (windows: \`npm run test:windows\`).`);
    }
    return found;
  }
  try {
    found = nodeGypBuild.path(root);
  } catch (cause) {
    const platform = `${process.platform}-${process.arch}`;
    throw loadError(`no native module for ${platform}. Looked for a source build in ` +
      `${path.join(root, 'build', 'Release')} and a prebuilt binary in ${path.join(root, 'prebuilds', platform)} ` +
      `(this package has prebuilt binaries for: ${prebuiltPlatforms()}). ${REBUILD}`, cause);
  }
  return found;
}

// Why a binary that exists did not load, and what to do about it. A process
// that may not load addons at all needs a flag, not a rebuild.
function advice(cause) {
  const permission = Boolean(process.permission) || process.execArgv.some((arg) => /^--(experimental-)?permission$/.test(arg));
  if (cause && cause.code === 'ERR_DLOPEN_DISABLED') {
    return permission
      ? 'Native addons are blocked by Node\'s permission model in this process: start node with --allow-addons ' +
        '(beside --permission or --experimental-permission).'
      : 'Native addons are disabled in this process (--no-addons): start node without it.';
  }
  if (cause && cause.code === 'ERR_ACCESS_DENIED') {
    return 'Node\'s permission model denied it: start node with --allow-addons and with --allow-fs-read ' +
      'covering this package.';
  }
  return `It was built for another platform, Node-API level or SDK library than this process has. ${REBUILD}`;
}

function load(file) {
  try {
    return require(file);
  } catch (cause) {
    throw loadError(`${file} could not be loaded (${cause.message.split('\n')[0]}). ${advice(cause)}`, cause);
  }
}

// A helper addon beside the module, e.g. helperPath('control', 'ombrix_control').
function helperPath(subdir, name) {
  const file = path.join(path.dirname(modulePath()), subdir, `${name}.node`);
  if (!fs.existsSync(file)) {
    throw loadError(`${file} does not exist: ${subdir === 'control'
      ? 'the substitute SDK\'s control surface is built only without a vendor SDK (OMBRIX_SDK_DIR)'
      : 'it is built by the developer commands (npm test, npm run bench)'}.`);
  }
  return file;
}

module.exports = { root, modulePath, helperPath, load, buildDir: () => path.dirname(modulePath()) };
