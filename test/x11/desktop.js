'use strict';
// Stock X programs (x11-apps' xlogo, xterm) and what the stock tools say about
// their windows: xwininfo and xprop ask the X server, wmctrl and xdotool
// speak to the window manager. The GuiTool suites per manager check the
// module's answers against these.
const { spawn, execFileSync } = require('child_process');

const env = { ...process.env, LC_ALL: 'C.UTF-8' };
const run = (command, args) => execFileSync(command, args.map(String), { encoding: 'utf8', env, timeout: 10000 });
// A shell for arguments that are not UTF-8 (printf's octal escapes).
const shell = (script) => execFileSync('sh', ['-c', script], { encoding: 'utf8', env, timeout: 10000 });

/** Polls what the X server or the manager does in its own time. */
async function settle(predicate, what, timeoutMs = 10000) {
  const deadline = Date.now() + timeoutMs;
  for (;;) {
    const value = predicate();
    if (value) return value;
    if (Date.now() > deadline) throw new Error(`timed out waiting for ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

/** xwininfo: the outer corner (past the border) on the screen, the inside size, the map state. */
function info(hwnd) {
  const out = run('xwininfo', ['-id', hwnd]);
  const field = (name) => Number(out.match(new RegExp(`${name}:\\s+(-?\\d+)`))[1]);
  const border = field('Border width');
  return {
    left: field('Absolute upper-left X') + border,
    top: field('Absolute upper-left Y') + border,
    width: field('Width'),
    height: field('Height'),
    border,
    mapState: out.match(/Map State: (\w+)/)[1],
  };
}

/** A root property or a window's, as xprop prints it after the '='; null when unset. */
function property(name, hwnd) {
  const out = run('xprop', [...(hwnd ? ['-id', hwnd] : ['-root']), name]);
  const value = out.match(/[=:]\s?(.*)$/s)[1].trim();
  return /not found|no such atom/.test(out) ? null : value;
}

/** The title xprop decodes from WM_NAME (its quotes removed). */
const wmName = (hwnd) => property('WM_NAME', hwnd).replace(/^"|"$/g, '');

/** The windows holding each child of the root, top first, as xwininfo lists them. */
const rootChildren = () => [...run('xwininfo', ['-root', '-children']).matchAll(/^\s+(0x[0-9a-f]+) /gm)]
  .map((m) => BigInt(m[1]));

/** The child of the root that holds the window: its frame, or itself. */
function topLevelOf(hwnd) {
  const rootId = BigInt(run('xwininfo', ['-root']).match(/Window id: (0x[0-9a-f]+)/)[1]);
  for (;;) {
    const parent = BigInt(run('xwininfo', ['-id', hwnd, '-tree']).match(/Parent window id: (0x[0-9a-f]+)/)[1]);
    if (parent === rootId) return hwnd;
    hwnd = parent;
  }
}

/** Opens stock programs on the desktop; each window found by an instance name of its own. */
let count = 0;
function programs(t, { managed }) {
  const find = (instance) => {
    try {
      const ids = run('xdotool', ['search', '--classname', `^${instance}$`]).trim().split('\n');
      return ids[0] ? BigInt(ids[0]) : null;
    } catch {
      return null;  // xdotool exits 1 when it finds none
    }
  };
  // With a manager, once it manages the window; without, once it is mapped.
  const ready = (hwnd) => (managed ? property('WM_STATE', hwnd)?.includes('Normal')
    : info(hwnd).mapState === 'IsViewable');
  return async (program, args) => {
    const instance = `ombrix-${process.pid}-${++count}`;
    const child = spawn(program, ['-name', instance, ...args], { stdio: 'ignore' });
    t.after(() => child.kill());
    return settle(() => {
      const hwnd = find(instance);
      return hwnd && ready(hwnd) && hwnd;
    }, `${program} ${args.join(' ')} on screen`, 20000);
  };
}

module.exports = { run, shell, settle, info, property, wmName, rootChildren, topLevelOf, programs };
