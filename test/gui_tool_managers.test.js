'use strict';
// GuiTool on stock X programs under one window manager, checked against what
// the X server and the manager say through the stock tools. `npm run
// test:x11` runs it once per manager (OMBRIX_X11_WM: openbox, fluxbox, icewm,
// twm or none), each on an X server of its own.
const test = require('node:test');
const assert = require('node:assert/strict');
const { spawn } = require('child_process');
const os = require('os');
const path = require('path');

const ombrix = require('..');
const { decodePlacement, encodePlacement } = require('../lib/windows');
const { windowClient } = require('./x11/client');
const { run, shell, settle, info, property, wmName, rootChildren, topLevelOf, programs } = require('./x11/desktop');

const wm = process.env.OMBRIX_X11_WM;
const skip = (process.platform !== 'linux' || !wm || !process.env.DISPLAY) &&
  'runs once per window manager under npm run test:x11';
const ewmh = ['openbox', 'fluxbox', 'icewm'].includes(wm);
const ewmhOnly = skip || (!ewmh && `${wm} has no EWMH desktops or active window`);
// Placements as an application reads them (ombrix_addon/windows).
const rectOf = (placement) => Object.values(decodePlacement(placement).normalPosition);
const withRect = (placement, [left, top, right, bottom]) =>
  encodePlacement({ ...decodePlacement(placement), normalPosition: { left, top, right, bottom } });
const showState = (placement) => decodePlacement(placement).showState;
const tool = skip ? null : ombrix.createGuiTool();
const titleOf = (hwnd) => tool.enumerateVisibleTopLevelWindows().find((w) => w.hwnd === hwnd)?.title;
const listed = (hwnds) => tool.enumerateVisibleTopLevelWindows().map((w) => w.hwnd).filter((h) => hwnds.includes(h));

test('a placement read and written back leaves the window where it was: the client area xwininfo reports',
  { skip }, async (t) => {
    const open = programs(t, { managed: wm !== 'none' });
    const windows = [
      await open('xlogo', ['-bw', '5', '-geometry', '200x150+300+200']),
      await open('xlogo', ['-geometry', '200x150+600+200']),
      await open('xterm', ['-geometry', '60x10+300+500', '-e', 'sleep', '600']),
    ];
    for (const hwnd of windows) {
      const read = tool.getWindowPlacement(hwnd);
      const { left, top, width, height } = info(hwnd);
      assert.deepEqual(rectOf(read), [left, top, left + width, top + height], 'what xwininfo says');
      const moved = rectOf(read).map((v, i) => v + (i % 2 ? 30 : 40));
      for (const rect of [moved, rectOf(read), rectOf(read)]) {
        assert.equal(tool.setWindowPlacement(hwnd, withRect(read, rect)), true);
        await settle(() => rectOf(tool.getWindowPlacement(hwnd)).join() === rect.join(),
          `${hwnd} at ${rect} (it is at ${rectOf(tool.getWindowPlacement(hwnd))})`);
      }
      assert.deepEqual(rectOf(tool.getWindowPlacement(hwnd)), rectOf(read));
    }
  });

test('titles in COMPOUND_TEXT (xterm\'s) and Latin-1 are what xprop decodes', { skip }, async (t) => {
  const open = programs(t, { managed: wm !== 'none' });
  const text = 'C: Ünïcødé — 日本語';
  const xterm = await open('xterm', ['-T', text, '-e', 'sleep', '600']);
  assert.match(run('xprop', ['-id', xterm, 'WM_NAME']), /^WM_NAME\(COMPOUND_TEXT\)/);
  assert.deepEqual([titleOf(xterm), wmName(xterm)], [text, text]);
  const logo = await open('xlogo', []);
  shell(`xdotool set_window --name "$(printf 'caf\\351 cr\\350me')" ${logo}`);  // STRING, Latin-1
  assert.deepEqual([titleOf(logo), wmName(logo)], ['café crème', 'café crème']);
});

test('a title of invalid UTF-8 has each bad byte replaced, then is cut at 255 units', { skip }, async (t) => {
  const logo = await programs(t, { managed: wm !== 'none' })('xlogo', []);
  // 302 bytes of Latin-1 marked UTF8_STRING.
  shell(`LC_ALL=C xprop -id ${logo} -f _NET_WM_NAME 8u -set _NET_WM_NAME "$(printf '\\351%.0s' $(seq 302))"`);
  assert.equal(titleOf(logo), '\uFFFD'.repeat(255));
  // Characters past the Basic Multilingual Plane take two units: 127 of them fit.
  run('xprop', ['-id', logo, '-f', '_NET_WM_NAME', '8u', '-set', '_NET_WM_NAME', '😀'.repeat(200)]);
  assert.equal(titleOf(logo), '😀'.repeat(127));
});

test('a window on another desktop is not minimised; a minimised one is, as _NET_WM_STATE says', { skip: ewmhOnly },
  async (t) => {
    const open = programs(t, { managed: true });
    const hwnd = await open('xlogo', []);
    run('wmctrl', ['-i', '-r', hwnd, '-t', '1']);
    await settle(() => property('_NET_WM_DESKTOP', hwnd) === '1', 'on desktop 1');
    assert.doesNotMatch(property('_NET_WM_STATE', hwnd) ?? '', /HIDDEN/);
    assert.deepEqual([tool.isIconic(hwnd), showState(tool.getWindowPlacement(hwnd))], [false, 1]);
    run('wmctrl', ['-i', '-r', hwnd, '-t', '0']);
    run('xdotool', ['windowminimize', hwnd]);
    await settle(() => /HIDDEN/.test(property('_NET_WM_STATE', hwnd) ?? ''), 'minimised');
    assert.deepEqual([tool.isIconic(hwnd), showState(tool.getWindowPlacement(hwnd))], [true, 2]);
  });

test('the enumeration finds every managed client, top first as their frames are stacked on screen',
  { skip }, async (t) => {
    const open = programs(t, { managed: wm !== 'none' });
    const windows = [];
    for (let i = 0; i < 4; i++) windows.push(await open('xlogo', ['-geometry', `150x100+${100 + 60 * i}+${100 + 40 * i}`]));
    const frames = () => {
      const tops = new Map(windows.map((hwnd) => [topLevelOf(hwnd), hwnd]));
      return rootChildren().filter((id) => tops.has(id)).map((id) => tops.get(id));
    };
    assert.equal(listed(windows).length, windows.length, 'every client listed');
    for (const hwnd of [windows[0], windows[2], windows[1], windows[0]]) {
      assert.equal((await tool.activateWindow(hwnd)).ok, true);
      await settle(() => frames()[0] === hwnd, `${hwnd}'s frame on top`);
      assert.deepEqual(listed(windows), frames());
    }
  });

test('a window that unmapped itself is neither listed nor an alt-tab window', { skip }, async (t) => {
  const open = programs(t, { managed: wm !== 'none' });
  const hwnd = await open('xlogo', []);
  assert.deepEqual([tool.isAltTabWindow(hwnd), listed([hwnd])], [true, [hwnd]]);
  run('xdotool', ['windowunmap', hwnd]);
  const inList = () => new RegExp(`0x${hwnd.toString(16)}\\b`).test(property('_NET_CLIENT_LIST') ?? '');
  await settle(() => info(hwnd).mapState === 'IsUnMapped' && !inList(),
    'unmapped, and out of the manager\'s list');
  assert.deepEqual([tool.isAltTabWindow(hwnd), listed([hwnd])], [false, []]);
});

test('a window manager that starts late, leaves and is replaced is followed', { skip: skip || (wm !== 'none' && 'starts its own managers') },
  async (t) => {
    const open = programs(t, { managed: false });
    const first = await open('xlogo', []);
    assert.deepEqual(listed([first]), [first]);
    const start = async (program, args) => {
      const manager = spawn(program, args, { stdio: 'ignore', env: { ...process.env, LC_ALL: 'C' } });
      t.after(() => manager.kill('SIGKILL'));
      await settle(() => property('WM_STATE', first)?.includes('Normal'), `${program} managing the window`);
      return manager;
    };
    const stop = async (manager) => {
      manager.kill('SIGKILL');  // leaves its check window's property on the root behind
      await settle(() => topLevelOf(first) === first, 'the window back on the root');
    };
    const twm = await start('twm', ['-f', path.join(__dirname, 'x11', 'twmrc')]);
    assert.deepEqual(listed([first]), [first], 'found inside twm\'s frame');
    await stop(twm);
    assert.deepEqual(listed([first]), [first], 'on the root again');
    const openbox = await start('openbox', ['--sm-disable']);
    const second = await programs(t, { managed: true })('xlogo', []);
    assert.deepEqual(listed([first, second]).sort(), [first, second].sort(), 'both listed under openbox');
    assert.equal((await tool.activateWindow(first)).ok, true);
    assert.equal(property('_NET_ACTIVE_WINDOW'), `window id # 0x${first.toString(16)}`);
    await stop(openbox);
    assert.deepEqual(listed([first, second]).sort(), [first, second].sort(), 'both listed with none');
  });

test('activation switches to the desktop of a window on another one', { skip: ewmhOnly }, async (t) => {
  const open = programs(t, { managed: true });
  const [here, there] = [await open('xlogo', []), await open('xlogo', [])];
  assert.equal((await tool.activateWindow(here)).ok, true);
  run('wmctrl', ['-i', '-r', there, '-t', '1']);
  await settle(() => property('_NET_WM_DESKTOP', there) === '1', 'on desktop 1');
  assert.deepEqual(await tool.activateWindow(there), { ok: true, tier: 'alt', lastError: 0 });
  assert.deepEqual([property('_NET_CURRENT_DESKTOP'), tool.getForegroundHwnd()], ['1', there]);
});

test('an activation that fails leaves the active window, the focus and the desktop as they were', { skip: ewmhOnly },
  async (t) => {
    const open = programs(t, { managed: true });
    const active = await open('xlogo', []);
    const client = await windowClient(t);
    const unmanaged = await client.create({ title: 'ombrix menu', override: true });
    assert.equal((await tool.activateWindow(active)).ok, true);
    const desktop = property('_NET_CURRENT_DESKTOP');
    assert.deepEqual(await tool.activateWindow(unmanaged),
      { ok: false, tier: 'attach', lastError: os.constants.errno.ETIMEDOUT });
    await settle(() => tool.getForegroundHwnd() === active, 'the previous window active');
    assert.deepEqual([BigInt(run('xdotool', ['getwindowfocus']).trim()), property('_NET_CURRENT_DESKTOP')],
      [active, desktop]);
  });
