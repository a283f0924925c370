#!/usr/bin/env node
'use strict';
// npm's install step. A clone builds from source, keeping its build tree for
// the developer commands. An installed package uses the prebuilt binary for
// this platform when one loads; it builds the module (with the substitute SDK,
// unless OMBRIX_SDK_DIR names a vendor SDK) when none does, when
// OMBRIX_SDK_DIR is set, or when asked to (`--build-from-source`,
// OMBRIX_BUILD_FROM_SOURCE=1), and leaves no build tree behind. Package
// managers that block dependencies' install scripts skip this step: the
// loader then finds the prebuilt binary itself.
const { spawnSync } = require('child_process');
const fs = require('fs');
const path = require('path');
const { build, isCheckout, root } = require('./build');

const say = (line) => console.error(`ombrix_addon: ${line}`);

// Loads the prebuilt module in a child, so a crash or a missing library only
// means "build from source".
function prebuildLoads() {
  const probe = `process.env.PREBUILDS_ONLY = '1'; const p = require('node-gyp-build').path(${JSON.stringify(root)});
    require(p); process.stdout.write(p);`;
  const child = spawnSync(process.execPath, ['-e', probe], { cwd: root, encoding: 'utf8' });
  return child.status === 0 ? child.stdout : null;
}

function announceSubstitute(how) {
  say(`${how} against the substitute SDK: this is not the vendor's SDK. Its tools do real work on ` +
    'this machine (file reads and writes, shell commands, transfers). To use the vendor SDK: ' +
    'OMBRIX_SDK_DIR=<dir> npm rebuild ombrix_addon');
}

function main() {
  const sdkDir = process.env.OMBRIX_SDK_DIR;
  if (isCheckout()) {
    build('release');
    return;
  }
  // pnpm does not pass npm's flag on to scripts: OMBRIX_BUILD_FROM_SOURCE=1 works everywhere.
  const fromSource = sdkDir || process.env.npm_config_build_from_source === 'true' ||
    /^(1|true)$/i.test(process.env.OMBRIX_BUILD_FROM_SOURCE || '');
  if (!fromSource) {
    const prebuild = prebuildLoads();
    if (prebuild) {
      announceSubstitute(`using the prebuilt binary ${path.relative(root, prebuild)}`);
      return;
    }
    say(`no prebuilt binary loads on ${process.platform}-${process.arch}: building from source`);
  }
  const { buildDir } = build('release');
  fs.rmSync(buildDir, { recursive: true, force: true });  // object files are not for the app
  if (sdkDir) say(`built against the SDK in ${sdkDir}`);
  else announceSubstitute('built from source');
}

try {
  main();
} catch (error) {
  say(`install failed: ${error.message}`);
  process.exit(1);
}
