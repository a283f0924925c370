'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { execFileSync } = require('child_process');
const { Worker } = require('worker_threads');
const path = require('path');

const ombrix = require('..');
const emu = require('../emulator/js');
const { bindingPath } = require('../lib/binding');

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
  const { version } = require('../package.json');
  assert.match(first.version, new RegExp(`^${version.replace(/\./g, '\\.')}`));
  assert.match(first.commitHash, /^([0-9a-f]{7,40}|unknown)$/);
  assert.ok(!Number.isNaN(Date.parse(first.buildTimestamp)), first.buildTimestamp);
  const second = ombrix.getSDKVersion();
  assert.notStrictEqual(first, second);
  assert.deepEqual(first, second);
});

test('the module exports only its two Node-API entry points', (t) => {
  let symbols;
  try {
    symbols = execFileSync('nm', ['-D', '--defined-only', bindingPath('ombrix_addon')],
      { encoding: 'utf8' });
  } catch {
    t.skip('nm is not available');
    return;
  }
  const names = symbols.trim().split('\n').map((line) => line.trim().split(/\s+/).pop()).sort();
  assert.deepEqual(names, ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

test('each environment that loads the module starts and stops crash reporting', async () => {
  const before = emu.sentryCounts();
  const modulePath = path.resolve(__dirname, '..');
  for (let i = 0; i < 3; ++i) {
    const worker = new Worker(
      `require(${JSON.stringify(modulePath)}).getSDKVersion();`, { eval: true });
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
