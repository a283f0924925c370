'use strict';
// GuiTool on an X11 desktop with an EWMH window manager (`npm run test:x11`
// runs it under Xvfb and openbox), against windows of another process.
const test = require('node:test');
const assert = require('node:assert/strict');
const { spawn } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const ombrix = require('..');
const { waitFor, runNode, nodeEnv } = require('./helpers');
const { windowClient } = require('./x11/client');

// Not registered on Windows, which has no X11 backend.
const posixTest = process.platform === 'win32' ? () => {} : test;
const skip = process.platform !== 'linux' ? 'the X11 backend is tested on Linux'
  : !process.env.DISPLAY && 'needs an X11 display with a window manager (npm run test:x11)';
const SW = { HIDE: 0, SHOWNORMAL: 1, SHOWMINIMIZED: 2, MAXIMIZE: 3, SHOW: 5, MINIMIZE: 6 };
const { ESRCH, EINVAL, ENOENT, ENOSYS, ENOTCONN } = os.constants.errno;
// WINDOWPLACEMENT: length, flags, showCmd, ptMinPosition, ptMaxPosition, rcNormalPosition.
const FLAGS = 4;
const SHOW_CMD = 8;
const NORMAL_RECT = 28;
const RESTORE_TO_MAXIMIZED = 2;

const rectOf = (placement) => [0, 1, 2, 3].map((i) => placement.readInt32LE(NORMAL_RECT + 4 * i));
const withRect = (placement, rect) => {
  const copy = Buffer.from(placement);
  rect.forEach((v, i) => copy.writeInt32LE(v, NORMAL_RECT + 4 * i));
  return copy;
};

posixTest('GuiTool on an X11 desktop', { skip }, async (t) => {
  const tool = ombrix.createGuiTool();
  const client = await windowClient(t);
  const showCmd = (hwnd) => tool.getWindowPlacement(hwnd)?.readUInt32LE(SHOW_CMD);
  const settled = (what, predicate) => waitFor(predicate, { what });

  await t.test('enumeration lists managed titled windows top first, titles cut at 255', async () => {
    const long = 'ombrix é✓ '.repeat(30);  // 300 UTF-16 units
    const lower = await client.create({ title: 'ombrix lower' });
    const upper = await client.create({ title: long });
    const legacy = await client.create({ title: 'ombrix café', legacyName: true });
    const hidden = await client.create({ title: 'ombrix hidden', visible: false });
    const untitled = await client.create({ title: '' });

    const order = () => tool.enumerateVisibleTopLevelWindows().map((w) => w.hwnd)
      .filter((hwnd) => hwnd === lower || hwnd === upper);
    assert.deepEqual(order(), [upper, lower]);
    assert.equal((await tool.activateWindow(lower)).ok, true);
    await settled('the activated window on top', () => order()[0] === lower);

    const records = tool.enumerateVisibleTopLevelWindows();
    assert.deepEqual(Object.keys(records[0]), ['hwnd', 'title']);
    assert.equal(records.find((w) => w.title === 'ombrix lower').hwnd, lower);
    assert.equal(records.find((w) => w.hwnd === upper).title, long.slice(0, 255));
    assert.equal(records.find((w) => w.hwnd === legacy).title, 'ombrix café');
    assert.ok(!records.some((w) => w.hwnd === hidden || w.hwnd === untitled));
    assert.equal(tool.isWindow(hidden), true);
  });

  // A new window, moved to [100, 120, 500, 420]; resolves with its placement.
  const movedWindow = async () => {
    const hwnd = await client.create({ title: 'ombrix placement' });
    const moved = withRect(tool.getWindowPlacement(hwnd), [100, 120, 500, 420]);
    assert.equal(tool.setWindowPlacement(hwnd, moved), true);
    await settled('the new rectangle', () => rectOf(tool.getWindowPlacement(hwnd)).join() === '100,120,500,420');
    return { hwnd, moved };
  };
  const maximiseThenMinimise = async (hwnd) => {
    assert.equal(tool.showWindow(hwnd, SW.MAXIMIZE), true);
    await settled('maximised', () => showCmd(hwnd) === SW.MAXIMIZE);
    assert.equal(tool.showWindow(hwnd, SW.MINIMIZE), true);
    await settled('minimised', () => tool.isIconic(hwnd));
  };

  await t.test('placement: 44 bytes, shown normally; the client rectangle round-trips', async () => {
    const hwnd = await client.create({ title: 'ombrix placement' });
    const placement = tool.getWindowPlacement(hwnd);
    assert.equal(placement.length, 44);
    assert.deepEqual([placement.readUInt32LE(0), placement.readUInt32LE(SHOW_CMD)], [44, SW.SHOWNORMAL]);
    assert.equal(tool.setWindowPlacement(hwnd, withRect(placement, [100, 120, 500, 420])), true);
    await settled('the new rectangle', () => rectOf(tool.getWindowPlacement(hwnd)).join() === '100,120,500,420');
  });

  await t.test('placement: a maximised window minimised restores to maximised', async () => {
    const { hwnd } = await movedWindow();
    await maximiseThenMinimise(hwnd);
    const minimised = tool.getWindowPlacement(hwnd);
    assert.equal(minimised.readUInt32LE(SHOW_CMD), SW.SHOWMINIMIZED);
    assert.equal(minimised.readUInt32LE(FLAGS), RESTORE_TO_MAXIMIZED);
  });

  await t.test('placement: a normal one restores a minimised maximised window, unmaximised and moved', async () => {
    const { hwnd, moved } = await movedWindow();
    await maximiseThenMinimise(hwnd);
    assert.equal(tool.setWindowPlacement(hwnd, withRect(moved, [60, 80, 460, 380])), true);
    await settled('normal again', () => showCmd(hwnd) === SW.SHOWNORMAL &&
      rectOf(tool.getWindowPlacement(hwnd)).join() === '60,80,460,380');
    assert.equal(tool.isIconic(hwnd), false);
  });

  await t.test('placement: a short buffer or an empty rectangle is refused', async () => {
    const { hwnd, moved } = await movedWindow();
    assert.equal(tool.setWindowPlacement(hwnd, moved.subarray(0, 43)), false);
    assert.equal(tool.setWindowPlacement(hwnd, withRect(moved, [100, 120, 100, 420])), false);
    assert.equal(tool.getLastError(), EINVAL);
  });

  await t.test('alt-tab: normal and unowned dialog windows yes; owned, hidden, undecorated, utility and skip-taskbar no',
    async () => {
      const app = await client.create({ title: 'ombrix app' });
      const cases = [
        [app, true],
        [await client.create({ title: 'ombrix dialog', type: 'dialog' }), true],
        [await client.create({ title: 'ombrix owned', type: 'dialog', owner: app }), false],
        [await client.create({ title: 'ombrix hidden', visible: false }), false],
        [await client.create({ title: 'ombrix undecorated', decorated: false }), false],
        [await client.create({ title: 'ombrix utility', type: 'utility' }), false],
        [await client.create({ title: 'ombrix skip', skipTaskbar: true }), false],
      ];
      assert.deepEqual(cases.map(([hwnd]) => tool.isAltTabWindow(hwnd)), cases.map(([, shown]) => shown));
      assert.equal(tool.showWindow(app, SW.HIDE), true);
      await settled('withdrawn', () => !tool.isAltTabWindow(app));
      assert.equal(tool.showWindow(app, SW.SHOW), false);
      await settled('managed again', () => tool.isAltTabWindow(app));
    });

  await t.test('activation restores a minimised window as it was, then reads it back as active', async () => {
    const maximised = await client.create({ title: 'ombrix maximised' });
    const normal = await client.create({ title: 'ombrix normal' });
    tool.showWindow(maximised, SW.MAXIMIZE);
    await settled('maximised', () => showCmd(maximised) === SW.MAXIMIZE);
    for (const hwnd of [maximised, normal]) {
      tool.showWindow(hwnd, SW.MINIMIZE);
      await settled('minimised', () => tool.isIconic(hwnd));
    }
    for (const [hwnd, state] of [[maximised, SW.MAXIMIZE], [normal, SW.SHOWNORMAL]]) {
      const result = await tool.activateWindow(hwnd);
      assert.deepEqual([result.ok, result.lastError], [true, 0]);
      assert.equal(tool.getForegroundHwnd(), hwnd);
      await settled('restored', () => !tool.isIconic(hwnd) && showCmd(hwnd) === state);
    }
    // Already active: the first tier; in the background: the window manager's.
    assert.deepEqual(await tool.activateWindow(normal), { ok: true, tier: 'direct', lastError: 0 });
    assert.deepEqual(await tool.activateWindow(maximised), { ok: true, tier: 'alt', lastError: 0 });
    assert.equal(tool.getForegroundHwnd(), maximised);
  });

  await t.test('setForegroundWindow asks the window manager; allowSetForegroundWindow has nothing to lift', async () => {
    const first = await client.create({ title: 'ombrix first' });
    await client.create({ title: 'ombrix second' });
    assert.equal(tool.setForegroundWindow(first), true);
    await settled('the window active', () => tool.getForegroundHwnd() === first);
    assert.equal(tool.allowSetForegroundWindow(-1), false);
    assert.equal(tool.getLastError(), ENOSYS);
  });

  await t.test('process queries name the client', async () => {
    const hwnd = await client.create({ title: 'ombrix process' });
    assert.equal(tool.getWindowProcessId(hwnd), client.pid);
    assert.equal(tool.getProcessExePath(client.pid), client.path);
  });

  await t.test('a closed window or a handle no X window can have: nothing to read, activation fails at once', async () => {
    const closed = await client.create({ title: 'ombrix closed' });
    assert.equal(await client.destroy(closed), true);
    for (const hwnd of [closed, 1n << 32n]) {
      assert.equal(tool.isWindow(hwnd), false);
      assert.equal(tool.getLastError(), ESRCH);
      assert.equal(tool.getWindowProcessId(hwnd), 0);
      assert.equal(tool.getWindowPlacement(hwnd), null);
      assert.equal(tool.setForegroundWindow(hwnd), false);
      assert.deepEqual(await tool.activateWindow(hwnd), { ok: false, tier: 'attach', lastError: ESRCH });
    }
  });

  await t.test('shellExecute starts the desktop opener, without the module\'s descriptors', async (t) => {
    // A link scheme of the test's own, handled by a script that records what it got.
    const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-open-'));
    const saved = { XDG_DATA_HOME: process.env.XDG_DATA_HOME, XDG_CONFIG_HOME: process.env.XDG_CONFIG_HOME };
    t.after(() => {
      fs.rmSync(dir, { recursive: true, force: true });
      for (const [key, value] of Object.entries(saved)) {
        if (value === undefined) delete process.env[key]; else process.env[key] = value;
      }
    });
    const handler = path.join(dir, 'handler');
    fs.writeFileSync(handler, `#!/bin/sh\nls -l /proc/$$/fd > "${dir}/fds"\necho "$1" > "${dir}/opened"\n`, { mode: 0o755 });
    fs.mkdirSync(path.join(dir, 'data', 'applications'), { recursive: true });
    fs.writeFileSync(path.join(dir, 'data', 'applications', 'ombrix-test.desktop'),
      `[Desktop Entry]\nType=Application\nName=ombrix test\nExec=${handler} %u\nMimeType=x-scheme-handler/ombrixtest;\n`);
    fs.mkdirSync(path.join(dir, 'config'));
    fs.writeFileSync(path.join(dir, 'config', 'mimeapps.list'),
      '[Default Applications]\nx-scheme-handler/ombrixtest=ombrix-test.desktop\n');
    process.env.XDG_DATA_HOME = path.join(dir, 'data');
    process.env.XDG_CONFIG_HOME = path.join(dir, 'config');

    assert.equal(tool.shellExecute('ombrixtest://report?id=7'), true);
    const opened = path.join(dir, 'opened');
    await waitFor(() => fs.existsSync(opened) && fs.readFileSync(opened, 'utf8').endsWith('\n'),
      { what: 'the link handed to its handler', timeoutMs: 30000 });
    assert.equal(fs.readFileSync(opened, 'utf8'), 'ombrixtest://report?id=7\n');
    const fds = fs.readFileSync(path.join(dir, 'fds'), 'utf8');
    assert.match(fds, / 0 -> \/dev\/null$/m);
    assert.match(fds, / 2 -> \/dev\/null$/m);
    assert.doesNotMatch(fds, /socket:/);

    assert.equal(tool.shellExecute(path.join(dir, 'missing.txt')), false);
    assert.equal(tool.getLastError(), ENOENT);
  });
});

posixTest('an X server that goes away leaves the process running and the tool finding nothing',
  { skip: process.platform !== 'linux' ? 'the X11 backend is tested on Linux' : !fs.existsSync('/usr/bin/Xvfb') && 'needs Xvfb' },
  async (t) => {
    const server = spawn('Xvfb', ['-displayfd', '3', '-nolisten', 'tcp'], { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
    t.after(() => server.kill('SIGKILL'));
    const display = await new Promise((resolve) => server.stdio[3].once('data', (d) => resolve(`:${String(d).trim()}`)));
    // The child kills the server between two calls; a killed server is a
    // zombie until this process reaps it, its connections closed all the same.
    const { code, stdout, stderr } = await runNode(`
      const fs = require('fs');
      const tool = require('.').createGuiTool();
      const before = [tool.enumerateVisibleTopLevelWindows().length, tool.getLastError()];
      process.kill(${server.pid}, 'SIGKILL');
      const dead = () => {
        try { return / Z /.test(fs.readFileSync('/proc/${server.pid}/stat', 'utf8')); } catch { return true; }
      };
      const wait = () => (dead() ? after() : setTimeout(wait, 5));
      const after = async () => {
        const windows = tool.enumerateVisibleTopLevelWindows();
        const error = tool.getLastError();
        const activation = await tool.activateWindow(1n);
        console.log(JSON.stringify({ before, windows, error, activation, active: tool.getForegroundHwnd() }));
      };
      wait();`, { env: { ...nodeEnv(), DISPLAY: display } });
    assert.equal(code, 0, stderr);
    assert.deepEqual(JSON.parse(stdout), {
      before: [0, 0], windows: [], error: ENOTCONN,
      activation: { ok: false, tier: 'attach', lastError: ENOTCONN }, active: null,
    });
  });
