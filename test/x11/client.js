'use strict';
// window_client (built into build/<variant>/ with the module): an X11 client
// owning top-level windows in a process of its own.
const path = require('path');
const { buildDir } = require('../../lib/binding');
const { lineChild } = require('../helpers');

const clientPath = () => path.join(buildDir(), 'window_client');

/**
 * create({ title, type?, owner?, skipTaskbar?, decorated?, legacyName?, visible?, input?, override? }) -> window handle,
 * once the window manager manages it. `legacyName` sets only ICCCM's Latin-1 WM_NAME.
 */
async function windowClient(t) {
  const client = await lineChild(t, clientPath());
  return {
    pid: client.pid,
    path: clientPath(),
    async create({ title, type = 'normal', owner = 0n, skipTaskbar = false, decorated = true,
      legacyName = false, visible = true, input = true,
      override = false }) {
      const hwnd = BigInt(await client.ask(`create type=${type} owner=${owner} skip=${+skipTaskbar} ` +
        `decor=${+decorated} name=${legacyName ? 'wm' : 'net'} visible=${+visible} input=${+input} override=${+override} ` +
        `title=${title}`));
      if (hwnd === 0n) throw new Error(`window "${title}" was not managed`);
      return hwnd;
    },
    destroy: async (hwnd) => (await client.ask(`destroy ${hwnd}`)) === '1',
  };
}

module.exports = { windowClient, clientPath };
