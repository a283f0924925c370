'use strict';
// GuiTool on real Win32 windows (under Wine for `npm run test:windows`).
const test = require('node:test');
const assert = require('node:assert/strict');

const { execFileSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const ombrix = require('..');
const { modulePath } = require('../lib/binding');
const { waitFor } = require('./helpers');
const { windowHost, ownWindows, WS, programPath } = require('./windows/hosts');

const skip = process.platform !== 'win32' && 'needs Win32 windows (npm run test:windows)';
const SW = { MAXIMIZE: 3, MINIMIZE: 6, RESTORE: 9, SHOWMAXIMIZED: 3, SHOWNORMAL: 1 };
// WINDOWPLACEMENT: length, flags, showCmd, ptMinPosition, ptMaxPosition, rcNormalPosition.
const SHOW_CMD = 8;
const NORMAL_RECT = 28;

const rectOf = (placement) => [0, 1, 2, 3].map((i) => placement.readInt32LE(NORMAL_RECT + 4 * i));

test('GuiTool on Win32 windows', { skip }, async (t) => {
  const tool = ombrix.createGuiTool();
  const host = await windowHost(t);

  await t.test('enumeration lists visible titled windows top first, titles cut at 255', async () => {
    const long = 'ombrix é✓ '.repeat(30);  // 300 UTF-16 units
    const lower = await host.create({ title: 'ombrix lower' });
    const upper = await host.create({ title: long });
    const hidden = await host.create({ title: 'ombrix hidden', visible: false });
    const untitled = await host.create({ title: '' });

    // A window shown or restored goes on top of the others.
    const order = () => tool.enumerateVisibleTopLevelWindows().map((w) => w.hwnd)
      .filter((hwnd) => hwnd === lower || hwnd === upper);
    assert.deepEqual(order(), [upper, lower]);
    tool.showWindow(lower, SW.MINIMIZE);
    tool.showWindow(lower, SW.RESTORE);
    assert.deepEqual(order(), [lower, upper]);

    const records = tool.enumerateVisibleTopLevelWindows();
    assert.deepEqual(Object.keys(records[0]), ['hwnd', 'title']);
    assert.equal(records.find((w) => w.hwnd === upper).title, long.slice(0, 255));
    assert.equal(records.find((w) => w.hwnd === lower).title, 'ombrix lower');
    assert.ok(!records.some((w) => w.hwnd === hidden || w.hwnd === untitled));
    assert.equal(tool.isWindow(hidden), true);
  });

  await t.test('placement round trip on a window of this process; 43 bytes are refused', () => {
    const own = ownWindows().createWindow('ombrix own', WS.OVERLAPPEDWINDOW, 0);
    t.after(() => ownWindows().destroyWindow(own));
    const placement = tool.getWindowPlacement(own);
    assert.equal(placement.length, 44);
    assert.equal(placement.readUInt32LE(0), 44);

    const moved = Buffer.from(placement);
    [100, 120, 500, 420].forEach((v, i) => moved.writeInt32LE(v, NORMAL_RECT + 4 * i));
    assert.equal(tool.setWindowPlacement(own, moved), true);
    assert.deepEqual(rectOf(tool.getWindowPlacement(own)), [100, 120, 500, 420]);

    const short = Buffer.from(moved.subarray(0, 43));
    short.writeInt32LE(7, NORMAL_RECT);
    assert.equal(tool.setWindowPlacement(own, short), false);
    assert.deepEqual(rectOf(tool.getWindowPlacement(own)), [100, 120, 500, 420]);
  });

  await t.test('alt-tab: app windows yes; hidden, owned, captionless and tool windows no', async () => {
    const app = await host.create({ title: 'ombrix app' });
    const owned = await host.create({ title: 'ombrix owned', owner: app, style: WS.DIALOG });
    const cases = [
      [app, true],
      [owned, false],
      [await host.create({ title: 'ombrix hidden', visible: false }), false],
      [await host.create({ title: 'ombrix popup', style: WS.POPUP }), false],
      [await host.create({ title: 'ombrix tool', exStyle: WS.EX_TOOLWINDOW }), false],
      [await host.create({ title: 'ombrix tool app', exStyle: WS.EX_TOOLWINDOW | WS.EX_APPWINDOW }), true],
    ];
    assert.deepEqual(cases.map(([hwnd]) => tool.isAltTabWindow(hwnd)), cases.map(([, shown]) => shown));
  });

  await t.test('activation restores a minimised window as it was, then brings it to front', async () => {
    const maximised = await host.create({ title: 'ombrix maximised' });
    const normal = await host.create({ title: 'ombrix normal' });
    tool.showWindow(maximised, SW.MAXIMIZE);
    for (const hwnd of [maximised, normal]) {
      tool.showWindow(hwnd, SW.MINIMIZE);
      assert.equal(tool.isIconic(hwnd), true);
    }
    for (const [hwnd, showCmd] of [[maximised, SW.SHOWMAXIMIZED], [normal, SW.SHOWNORMAL]]) {
      const result = await tool.activateWindow(hwnd);
      assert.deepEqual([result.ok, result.lastError], [true, 0]);
      assert.equal(tool.isIconic(hwnd), false);
      assert.equal(tool.getWindowPlacement(hwnd).readUInt32LE(SHOW_CMD), showCmd);
      assert.equal(tool.getForegroundHwnd(), hwnd);
    }
    // Already in front: the first tier is enough.
    assert.deepEqual(await tool.activateWindow(normal), { ok: true, tier: 'direct', lastError: 0 });
  });

  await t.test('a window its own thread will not activate: the Alt tap lets it come, else attached input brings it', async (t) => {
    // A host of its own: its keyboard hook is global and ends with it.
    const locked = await windowHost(t);
    for (const [until, tier] of [['alt', 'alt'], ['always', 'attach']]) {
      const target = await locked.create({ title: `ombrix ${tier} target` });
      const front = await locked.create({ title: `ombrix ${tier} front` });
      assert.equal(tool.getForegroundHwnd(), front);
      assert.equal(await locked.lock(target, until), true);

      // Asked from outside, the foreground moves to the window's thread,
      // which refuses to make the window active.
      assert.equal(tool.setForegroundWindow(target), true);
      await locked.sync();
      assert.equal(tool.getForegroundHwnd(), front, `${until}: the lock holds`);

      assert.deepEqual(await tool.activateWindow(target), { ok: true, tier, lastError: 0 }, until);
      assert.equal(tool.getForegroundHwnd(), target);
      assert.equal(await locked.unlock(), true);
    }
  });

  await t.test('without a placement, activation restores only a minimised window', async (t) => {
    const minimised = await host.create({ title: 'ombrix no placement, minimised' });
    const maximised = await host.create({ title: 'ombrix no placement, maximised' });
    tool.showWindow(minimised, SW.MINIMIZE);
    tool.showWindow(maximised, SW.MAXIMIZE);

    const fixture = ownWindows();
    assert.equal(fixture.failWindowPlacement(modulePath(), true), true);
    t.after(() => fixture.failWindowPlacement(modulePath(), false));
    assert.equal(tool.getWindowPlacement(maximised), null);
    for (const hwnd of [minimised, maximised]) {
      const result = await tool.activateWindow(hwnd);
      assert.deepEqual([result.ok, result.lastError], [true, 0]);
      assert.equal(tool.getForegroundHwnd(), hwnd);
    }
    assert.equal(fixture.failWindowPlacement(modulePath(), false), true);

    assert.equal(tool.isIconic(minimised), false);
    assert.equal(tool.getWindowPlacement(minimised).readUInt32LE(SHOW_CMD), SW.SHOWNORMAL);
    assert.equal(tool.getWindowPlacement(maximised).readUInt32LE(SHOW_CMD), SW.SHOWMAXIMIZED);
  });

  await t.test('process queries name the window host', async () => {
    const hwnd = await host.create({ title: 'ombrix process' });
    assert.equal(tool.getWindowProcessId(hwnd), host.pid);
    assert.match(tool.getProcessExePath(host.pid), /\\window_host\.exe$/i);
    assert.equal(tool.getProcessExePath(0xfffffff0), null);
  });

  await t.test('a closed window: nothing to read, activation fails in the attach tier', async () => {
    const hwnd = await host.create({ title: 'ombrix closed' });
    assert.equal(await host.destroy(hwnd), true);
    assert.equal(tool.isWindow(hwnd), false);
    assert.equal(tool.getWindowProcessId(hwnd), 0);
    assert.equal(tool.getWindowPlacement(hwnd), null);
    const result = await tool.activateWindow(hwnd);
    assert.deepEqual([result.ok, result.tier], [false, 'attach']);
    assert.notEqual(result.lastError, 0);
  });

  await t.test('shellExecute opens a document with its program; a missing one is refused', async (t) => {
    // A document type of the test's own, opened by window_host.exe. Under
    // HKCR itself: Wine 8 does not merge the per-user classes into it.
    const type = `HKCR\\.ombrix${process.pid}`;
    const program = `HKCR\\ombrix.test${process.pid}`;
    const reg = (...args) => execFileSync('reg.exe', args, { stdio: 'ignore' });
    reg('add', type, '/ve', '/d', `ombrix.test${process.pid}`, '/f');
    reg('add', `${program}\\shell\\open\\command`, '/ve', '/d', `"${programPath('window_host.exe')}" opened "%1"`, '/f');
    t.after(() => [type, program].forEach((key) => reg('delete', key, '/f')));
    const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-open-'));
    t.after(() => fs.rmSync(dir, { recursive: true, force: true }));
    const doc = path.join(dir, `report.ombrix${process.pid}`);
    fs.writeFileSync(doc, 'x');

    assert.equal(tool.shellExecute(doc), true);
    await waitFor(() => fs.existsSync(`${doc}.opened`), { what: 'the document opened by its program' });
    assert.equal(tool.shellExecute(path.join(dir, 'missing.ombrix')), false);
  });

  await t.test('setForegroundWindow, allowSetForegroundWindow and getLastError on this thread', async () => {
    const hwnd = await host.create({ title: 'ombrix foreground' });
    assert.equal(tool.setForegroundWindow(hwnd), true);
    assert.equal(tool.getForegroundHwnd(), hwnd);
    assert.equal(tool.allowSetForegroundWindow(-1), true);  // ASFW_ANY
    assert.equal(await host.destroy(hwnd), true);
    assert.equal(tool.setForegroundWindow(hwnd), false);
    assert.equal(tool.getLastError(), 1400);  // ERROR_INVALID_WINDOW_HANDLE
  });
});
