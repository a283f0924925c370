'use strict';
// The Windows test programs (built into build/<variant>/ with the module):
// window_host.exe owns top-level windows in a process of its own,
// section_host.exe a named section and mutex, and window_fixture.node creates
// windows inside the test process itself.
const path = require('path');
const { buildDir, load } = require('../../lib/binding');
const { lineChild } = require('../helpers');

/** Windows in another process, all of one thread: create({ title, style?, exStyle?, owner?, visible? }) -> hwnd. */
async function windowHost(t) {
  const host = await lineChild(t, programPath('window_host.exe'));
  return {
    pid: host.pid,
    async create({ title, style = WS.OVERLAPPEDWINDOW, exStyle = 0, owner = 0n, visible = true }) {
      const hwnd = BigInt(await host.ask(`create ${exStyle} ${style >>> 0} ${owner} ${visible ? 1 : 0} ${title}`));
      if (hwnd === 0n) throw new Error(`window "${title}" was not created`);
      return hwnd;
    },
    destroy: async (hwnd) => (await host.ask(`destroy ${hwnd}`)) === '1',
    /** The window's own thread refuses to activate it: until an Alt key press ('alt') or for good ('always'). */
    lock: async (hwnd, until) => (await host.ask(`lock ${hwnd} ${until}`)) === '1',
    unlock: async () => (await host.ask('unlock')) === '1',
    /** Resolves once the windows' thread has handled what was sent to it before. */
    sync: () => host.ask('sync'),
  };
}

let serial = 0;

/** A section of `bytes` and its mutex, created by another process under fresh names (or `names`). */
async function sectionHost(t, bytes, names) {
  const id = `ombrix-test-${process.pid}-${++serial}`;
  const { name, mutex } = names || { name: `Local\\${id}`, mutex: `Local\\${id}-lock` };
  const host = await lineChild(t, programPath('section_host.exe'), [name, String(bytes), mutex]);
  const ready = await host.nextLine();
  if (ready !== 'ready') throw new Error(`section_host: ${ready}`);
  return Object.assign(host, { name, mutex });
}

const WS = {
  OVERLAPPEDWINDOW: 0x00cf0000,
  POPUP: 0x80000000,
  DIALOG: 0x80c80000,  // popup, caption, system menu: owned windows are popups
  EX_TOOLWINDOW: 0x80,
  EX_APPWINDOW: 0x40000,
};

/** The full path of a test program built beside the module. */
const programPath = (program) => path.join(buildDir(), program);

/** Windows owned by the test process; loaded only when asked for. */
const ownWindows = () => load(path.join(buildDir(), 'window_fixture.node'));

module.exports = { windowHost, sectionHost, ownWindows, WS, programPath };
