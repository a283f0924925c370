'use strict';
// On Windows the addons import Node-API from "node.exe"; a host executable
// with another name (an Electron app) must still satisfy those imports.
const test = require('node:test');
const assert = require('node:assert/strict');
const { execFile } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const { root } = require('./helpers');

const skip = process.platform !== 'win32' && 'only Windows addons bind to the host by file name';

test('the addons load in a host executable not named node.exe', { skip }, async (t) => {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-host-'));
  t.after(() => fs.rmSync(dir, { recursive: true, force: true }));
  const host = path.join(dir, 'agent-desktop.exe');
  fs.copyFileSync(process.execPath, host);

  const source = `
    const ombrix = require(${JSON.stringify(root)});
    const emu = require(${JSON.stringify(path.join(root, 'emulator', 'js'))});
    console.log(JSON.stringify([require('path').basename(process.execPath),
      ombrix.getSDKVersion().version, emu.sentryCounts().initialized]));`;
  const stdout = await new Promise((resolve, reject) => {
    execFile(host, ['-e', source], { cwd: dir, env: process.env }, (error, out, err) =>
      (error ? reject(new Error(`${error.message}\n${err}`)) : resolve(out)));
  });
  const [name, version, initialized] = JSON.parse(stdout);
  assert.equal(name, 'agent-desktop.exe');
  assert.match(version, /substitute$/);
  assert.equal(initialized, 1);  // both addons share the one SDK
});
