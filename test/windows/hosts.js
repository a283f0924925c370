'use strict';
// The Windows test programs (built into build/<variant>/ with the module):
// window_host.exe owns top-level windows in a process of its own,
// section_host.exe a named section and mutex, and window_fixture.node creates
// windows inside the test process itself.
const { spawn } = require('child_process');
const path = require('path');
const { buildDir, load } = require('../../lib/binding');

/** A child that answers each line written to it with one line. Killed after the test. */
async function lineChild(t, program, args = []) {
  const child = spawn(programPath(program), args, { stdio: ['pipe', 'pipe', 'inherit'] });
  t.after(() => child.kill());
  const waiting = [];
  let pending = '';
  child.stdout.setEncoding('utf8').on('data', (chunk) => {
    const lines = (pending + chunk).split(/\r?\n/);
    pending = lines.pop();
    for (const line of lines) waiting.shift()?.resolve(line);
  });
  child.exited = new Promise((resolve) => child.on('exit', resolve));
  child.exited.then((code) => {
    for (const { reject } of waiting.splice(0)) reject(new Error(`${program} exited with ${code}`));
  });
  child.nextLine = () => new Promise((resolve, reject) => waiting.push({ resolve, reject }));
  /** Resolves once the line is handed to the pipe, before the answer. */
  child.write = (line) => new Promise((resolve) => child.stdin.write(`${line}\n`, resolve));
  child.ask = (line) => {
    const answer = child.nextLine();
    child.write(line);
    return answer;
  };
  return child;
}

/** Windows in another process: create({ title, style?, exStyle?, owner?, visible? }) -> hwnd. */
async function windowHost(t) {
  const host = await lineChild(t, 'window_host.exe');
  return {
    pid: host.pid,
    async create({ title, style = WS.OVERLAPPEDWINDOW, exStyle = 0, owner = 0n, visible = true }) {
      const hwnd = BigInt(await host.ask(`create ${exStyle} ${style >>> 0} ${owner} ${visible ? 1 : 0} ${title}`));
      if (hwnd === 0n) throw new Error(`window "${title}" was not created`);
      return hwnd;
    },
    destroy: async (hwnd) => (await host.ask(`destroy ${hwnd}`)) === '1',
  };
}

let serial = 0;

/** A section of `bytes` and its mutex, created by another process under fresh names (or `names`). */
async function sectionHost(t, bytes, names) {
  const id = `ombrix-test-${process.pid}-${++serial}`;
  const { name, mutex } = names || { name: `Local\\${id}`, mutex: `Local\\${id}-lock` };
  const host = await lineChild(t, 'section_host.exe', [name, String(bytes), mutex]);
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
