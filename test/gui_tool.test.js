'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const os = require('os');

const ombrix = require('..');

const METHODS = ['activateWindow', 'enumerateVisibleTopLevelWindows', 'getForegroundHwnd',
  'setForegroundWindow', 'getWindowPlacement', 'setWindowPlacement', 'isWindow', 'isIconic',
  'isAltTabWindow', 'showWindow', 'shellExecute', 'getWindowProcessId', 'getProcessExePath',
  'allowSetForegroundWindow', 'getLastError'];
const HANDLE_METHODS = ['activateWindow', 'setForegroundWindow', 'getWindowPlacement',
  'setWindowPlacement', 'isWindow', 'isIconic', 'isAltTabWindow', 'showWindow', 'getWindowProcessId'];
const windows = process.platform === 'win32';
// Linux with DISPLAY set: the X11 backend (test/gui_tool_x11.test.js).
const x11 = process.platform === 'linux' && !!process.env.DISPLAY;
// Cases of desktops without Win32 windows are not registered on Windows.
const posixTest = windows ? () => {} : test;

test('createGuiTool makes GuiTool instances; only ShmRegion is exported as a class', () => {
  const keys = Object.keys(ombrix);
  const order = ['ShmRegion', 'createGuiTool', 'setLogger', 'getSDKVersion']
    .map((key) => keys.indexOf(key));
  assert.deepEqual([...order].sort((a, b) => a - b), order);
  assert.ok(order[0] >= 0);
  assert.equal(ombrix.GuiTool, undefined);

  const tool = ombrix.createGuiTool('ignored');
  const other = ombrix.createGuiTool();
  assert.notStrictEqual(tool, other);
  const prototype = Object.getPrototypeOf(tool);
  assert.strictEqual(Object.getPrototypeOf(other), prototype);
  assert.equal(prototype.constructor.name, 'GuiTool');
  assert.deepEqual(Object.getOwnPropertyNames(prototype), [...METHODS, 'constructor']);
  assert.throws(() => prototype.isWindow.call({}, 1n),
    { name: 'TypeError', message: 'Illegal invocation' });
});

test('arguments fail in their Node-API conversion, thrown synchronously', () => {
  const tool = ombrix.createGuiTool();
  const bigintExpected = (e) => e.constructor === Error && e.message === 'A bigint was expected';
  for (const method of HANDLE_METHODS) {
    assert.throws(() => tool[method](1, 1), bigintExpected, `${method}(number)`);
    assert.throws(() => tool[method](), bigintExpected, `${method}()`);
  }
  assert.throws(() => tool.showWindow(1n, '1'), { name: 'TypeError', message: 'A number was expected' });
  assert.throws(() => tool.getProcessExePath(1n), { message: 'A number was expected' });
  assert.throws(() => tool.allowSetForegroundWindow(), { message: 'A number was expected' });
  assert.throws(() => tool.shellExecute(1), { name: 'TypeError', message: 'A string was expected' });
  assert.throws(() => tool.setWindowPlacement(1n, [0]), { name: 'Error', message: 'Invalid argument' });
});

test('activateWindow resolves an activation result through a worker', async () => {
  const tool = ombrix.createGuiTool();
  // These handles name no window: the attach tier fails at once, on every
  // platform. (0n counts as in front on a Windows desktop with no foreground window.)
  const none = windows && tool.getForegroundHwnd() === null ? [-1n, -1n] : [0n, 0n, -1n];
  const results = await Promise.all(none.map((hwnd) => tool.activateWindow(hwnd)));
  for (const result of results) {
    assert.deepEqual(Object.keys(result), ['ok', 'tier', 'lastError']);
    assert.equal(result.ok, false);
    assert.equal(result.tier, 'attach');
    assert.equal(typeof result.lastError, 'number');
    assert.notEqual(result.lastError, 0);
  }
});

posixTest('on a desktop without windows every method answers that nothing was found or done',
  { skip: x11 && 'an X11 display has windows' }, () => {
    const tool = ombrix.createGuiTool();
    const { ENOSYS } = os.constants.errno;
    assert.deepEqual(tool.enumerateVisibleTopLevelWindows(), []);
    assert.equal(tool.getForegroundHwnd(), null);
    for (const method of ['isWindow', 'isIconic', 'isAltTabWindow', 'setForegroundWindow']) {
      assert.equal(tool[method](1n), false, method);
    }
    assert.equal(tool.getWindowPlacement(1n), null);
    assert.equal(tool.setWindowPlacement(1n, Buffer.alloc(43)), false);
    assert.equal(tool.setWindowPlacement(1n, Buffer.alloc(44)), false);
    assert.equal(tool.showWindow(1n, 1), false);
    assert.equal(tool.shellExecute('https://example.invalid/'), false);
    assert.equal(tool.getWindowProcessId(1n), 0);
    assert.equal(tool.allowSetForegroundWindow(-1), false);
    assert.equal(tool.getLastError(), ENOSYS);
  });

posixTest('getProcessExePath reads the process image on Linux',
  { skip: process.platform !== 'linux' && 'reads the image path from /proc' }, () => {
    const tool = ombrix.createGuiTool();
    assert.equal(tool.getProcessExePath(process.pid), fs.realpathSync(process.execPath));
    assert.equal(tool.getProcessExePath(-1), null);  // uint32: no such process
    assert.equal(tool.getLastError(), os.constants.errno.ENOENT);
  });

test('window records and placements keep their shape',
  { skip: !windows && !x11 && 'needs a desktop' }, () => {
    const tool = ombrix.createGuiTool();
    for (const record of tool.enumerateVisibleTopLevelWindows()) {
      assert.deepEqual(Object.keys(record), ['hwnd', 'title']);
      assert.equal(typeof record.hwnd, 'bigint');
      assert.ok(record.title.length > 0 && record.title.length <= 255);
      const placement = tool.getWindowPlacement(record.hwnd);
      if (placement) assert.equal(placement.readUInt32LE(0), 44);
    }
    assert.equal(tool.setWindowPlacement(0n, Buffer.alloc(43)), false);
  });
