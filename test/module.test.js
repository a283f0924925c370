'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { execFileSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const { Worker } = require('worker_threads');
const path = require('path');

const ombrix = require('..');
const { modulePath } = require('../lib/binding');
const { root, runNode, nodeEnv, emu, scripted } = require('./helpers');

const ENUMS = {
  RemoteDeviceStatus: [['UNKNOWN', 0], ['OFFLINE', 1], ['ONLINE', 2]],
  RemoteDeviceType: [['UNKNOWN', 0], ['PC_WINDOWS', 1], ['PC_MAC', 2], ['PC_LINUX', 3],
    ['MOBILE_ANDROID', 4], ['MOBILE_IOS', 5], ['WEB', 6]],
  FileTransferErrorCode: [['SUCCESS', 0], ['FILE_NOT_FOUND', 1], ['PERMISSION_DENIED', 2],
    ['NETWORK_ERROR', 3], ['DISK_FULL', 4], ['CANCELLED', 5], ['UNKNOWN_ERROR', 99]],
  RemoteControlUIType: [['REMOTE_CONTROL', 0], ['REMOTE_CONTROL_VIEW_ONLY', 1],
    ['FILE_TRANSFER', 2], ['TERMINAL', 3], ['AI_TERMINAL', 4], ['CAMERA', 5],
    ['SCREEN_MIRROR', 6], ['ALL', 7]],
  FileEntryType: [['UNSPECIFIED', 0], ['FILE', 1], ['DIRECTORY', 2], ['SYMLINK', 3], ['OTHER', 4]],
  LogLevel: [['TRACE', 0], ['DEBUG', 1], ['INFO', 2], ['WARNING', 3], ['ERROR', 4], ['FATAL', 5]],
  ChatStreamEventType: [['START', 0], ['CHUNK', 1], ['END', 2], ['ERROR', 3],
    ['THINKING_START', 4], ['THINKING_CHUNK', 5], ['THINKING_END', 6], ['SUGGESTIONS', 7],
    ['ATTACHMENT', 8]],
  ConfirmActionType: [['HIGH_RISK_OPERATION', 0], ['DISAMBIGUATION', 1], ['QR_LOGIN', 3],
    ['FILE_CONFLICT', 4], ['CONTENT_REVIEW', 5], ['ELEMENT_NOT_FOUND', 6], ['SCREEN_LOCKED', 7]],
  ToolCallType: [['START', 0], ['END', 1]],
  TodoStatus: [['PENDING', 0], ['IN_PROGRESS', 1], ['COMPLETED', 2], ['CANCELLED', 3]],
  ResultCode: [['SUCCESS', 0], ['ERROR_UNKNOWN', 1], ['ERROR_NOT_CONNECTED', 2],
    ['ERROR_TIMEOUT', 3], ['ERROR_INVALID_PARAM', 4], ['ERROR_PERMISSION_DENIED', 5],
    ['ERROR_SESSION_NOT_FOUND', 6], ['ERROR_SESSION_EXISTS', 7], ['ERROR_OPERATION_FAILED', 8]],
  LanguageCode: [['ENGLISH', 0], ['CHINESE_SIMPLIFIED', 1], ['CHINESE_TRADITIONAL', 2],
    ['JAPANESE', 3], ['THAI', 4], ['VIETNAMESE', 5], ['INDONESIAN', 6]],
  ChatMode: [['OMBRIX', 0], ['FERNWICK', 1], ['GUIAGENT', 2]],
  NotificationType: [['REMINDER', 0], ['SYSTEM', 1], ['TASK_COMPLETE', 2], ['ALERT', 3]],
  NotificationPriority: [['LOW', 0], ['NORMAL', 1], ['HIGH', 2], ['URGENT', 3]],
  AuditSessionStatus: [['CREATED', 0], ['RUNNING', 1], ['STOPPED', 2], ['ERROR', 3]],
};

test('the sixteen enumeration objects are exported in order with exact values', () => {
  const exported = Object.keys(ombrix).filter((key) => key in ENUMS);
  assert.deepEqual(exported, Object.keys(ENUMS));
  for (const [name, members] of Object.entries(ENUMS)) {
    // Entries keep insertion order, so this checks names, order and values.
    assert.deepEqual(Object.entries(ombrix[name]), members, name);
    for (const [, value] of members) assert.equal(typeof value, 'number');
    assert.equal(Object.isFrozen(ombrix[name]), false);
  }
  assert.strictEqual(ombrix.LogLevel.WARNING, 3);
  assert.equal(Object.values(ombrix.ConfirmActionType).includes(2), false);
  // Each object is its own: changing one leaves the others alone.
  ombrix.TodoStatus.CANCELLED = 42;
  assert.equal(ombrix.FileTransferErrorCode.CANCELLED, 5);
  ombrix.TodoStatus.CANCELLED = 3;
});

test('getSDKVersion returns a fresh record of the build', () => {
  const first = ombrix.getSDKVersion('ignored', 1);
  assert.deepEqual(Object.keys(first), ['version', 'commitHash', 'buildTimestamp']);
  assert.equal(typeof first.version, 'string');
  if (emu) {  // the substitute stamps the package's version and the commit it was built from
    const { version } = require('../package.json');
    assert.match(first.version, new RegExp(`^${version.replace(/\./g, '\\.')}`));
    assert.match(first.commitHash, /^([0-9a-f]{7,40}|unknown)$/);
  }
  assert.ok(!Number.isNaN(Date.parse(first.buildTimestamp)), first.buildTimestamp);
  const second = ombrix.getSDKVersion();
  assert.notStrictEqual(first, second);
  assert.deepEqual(first, second);
});

// The names a Windows DLL exports, read from its PE export table.
function peExports(file) {
  const image = fs.readFileSync(file);
  const pe = image.readUInt32LE(0x3c);
  const sections = image.readUInt16LE(pe + 6);
  const optional = pe + 24;
  const directories = optional + (image.readUInt16LE(optional) === 0x20b ? 112 : 96);
  const sectionTable = optional + image.readUInt16LE(pe + 20);
  const offset = (rva) => {
    for (let i = 0; i < sections; ++i) {
      const header = sectionTable + 40 * i;
      const address = image.readUInt32LE(header + 12);
      const size = Math.max(image.readUInt32LE(header + 8), image.readUInt32LE(header + 16));
      if (rva >= address && rva < address + size) return rva - address + image.readUInt32LE(header + 20);
    }
    throw new Error(`RVA ${rva} is in no section`);
  };
  const exportsRva = image.readUInt32LE(directories);
  if (exportsRva === 0) return [];
  const directory = offset(exportsRva);
  const names = offset(image.readUInt32LE(directory + 32));
  return Array.from({ length: image.readUInt32LE(directory + 24) }, (_, i) => {
    const start = offset(image.readUInt32LE(names + 4 * i));
    return image.toString('latin1', start, image.indexOf(0, start));
  });
}

test('the module exports only its two Node-API entry points', (t) => {
  let names;
  if (process.platform === 'win32') {
    names = peExports(modulePath());
  } else {
    try {
      names = execFileSync('nm', ['-D', '--defined-only', modulePath()], { encoding: 'utf8' })
        .trim().split('\n').map((line) => line.trim().split(/\s+/).pop());
    } catch {
      t.skip('nm is not available');
      return;
    }
  }
  assert.deepEqual(names.sort(), ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

test('each environment that loads the module starts and stops crash reporting', { skip: scripted }, async () => {
  const before = emu.sentryCounts();
  const packageDir = path.resolve(__dirname, '..');
  for (let i = 0; i < 3; ++i) {
    const worker = new Worker(
      `require(${JSON.stringify(packageDir)}).getSDKVersion();`, { eval: true });
    await new Promise((resolve, reject) => {
      worker.on('error', reject);
      worker.on('exit', resolve);
    });
  }
  const after = emu.sentryCounts();
  assert.equal(after.initialized - before.initialized, 3);
  assert.equal(after.shutdown - before.shutdown, 3);
  // The main environment is still running and still works.
  assert.equal(typeof ombrix.getSDKVersion().version, 'string');
});

test('ES modules import every export by name, the very objects require gives', async () => {
  const source = `
    import { createRequire } from 'node:module';
    import * as named from 'ombrix_addon';
    const cjs = createRequire(import.meta.url)('ombrix_addon');
    const keys = Object.keys(cjs);
    const missing = keys.filter((k) => named[k] !== cjs[k]);
    const extra = Object.keys(named).filter((k) => k !== 'default' && !keys.includes(k));
    console.log(JSON.stringify({ count: keys.length, missing, extra, whole: named.default === cjs }));`;
  const { code, stdout, stderr } = await runNode(source, { args: ['--input-type=module'] });
  assert.equal(code, 0, stderr);
  assert.deepEqual(JSON.parse(stdout), { count: 21, missing: [], extra: [], whole: true });
});

test('a missing binary is named with where it was looked for and how to build it', async () => {
  // A copy of the package's JavaScript with no build and no prebuilt binaries.
  const copy = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-nobinary-'));
  fs.cpSync(path.join(root, 'lib'), path.join(copy, 'lib'), { recursive: true });
  fs.copyFileSync(path.join(root, 'package.json'), path.join(copy, 'package.json'));
  const platform = `${process.platform}-${process.arch}`;
  // The copy's default loader (not a developer build variant), with this
  // checkout's dependencies.
  const env = { ...nodeEnv(), NODE_PATH: path.join(root, 'node_modules') };
  delete env.OMBRIX_BUILD;
  try {
    const missing = await runNode(`try { require(${JSON.stringify(copy)}); } catch (e) {
      console.log(JSON.stringify({ code: e.code, message: e.message })); }`, { env });
    const error = JSON.parse(missing.stdout);
    assert.equal(error.code, 'ERR_OMBRIX_LOAD');
    for (const part of [`no native module for ${platform}`, path.join(copy, 'build', 'Release'),
      path.join(copy, 'prebuilds', platform), 'npm rebuild ombrix_addon']) {
      assert.ok(error.message.includes(part), `"${part}" is not in: ${error.message}`);
    }
    // A binary that is there but does not load says which file and why.
    fs.mkdirSync(path.join(copy, 'prebuilds', platform), { recursive: true });
    fs.writeFileSync(path.join(copy, 'prebuilds', platform, 'ombrix_addon.node'), 'not a library');
    const broken = await runNode(`try { require(${JSON.stringify(copy)}); } catch (e) { console.log(e.message); }`, { env });
    assert.match(broken.stdout, /ombrix_addon\.node could not be loaded \(.+\)\..*npm rebuild ombrix_addon/s);
  } finally {
    fs.rmSync(copy, { recursive: true, force: true });
  }
});
