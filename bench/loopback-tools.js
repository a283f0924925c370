'use strict';
// The loopback tools against the everyday equivalents on the same generated
// tree: search vs grep -n, find by name vs find -name, listing vs readdir with
// a stat per entry, shell exec vs child_process.execFile. Each subject is a
// whole tool call (JS → SDK thread → JS); each baseline a whole process or
// libuv round trip.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFile } = require('child_process');
const { promisify } = require('util');
const ombrix = require('..');
const emu = require('../emulator/js');
const { compare } = require('./harness');

const run$ = promisify(execFile);
const times = (n, op) => async () => { for (let i = 0; i < n; ++i) await op(); };

function makeTree(root) {
  const line = 'the quick brown fox jumps over the lazy dog 0123456789\n';
  const big = path.join(root, 'big.txt');
  const chunk = line.repeat(20000);  // ~1.1 MB
  const fd = fs.openSync(big, 'w');
  for (let i = 0; i < 45; ++i) fs.writeSync(fd, chunk);
  fs.writeSync(fd, 'a needle in the haystack\n');
  fs.closeSync(fd);
  const flat = path.join(root, 'flat');
  fs.mkdirSync(flat);
  for (let i = 0; i < 5000; ++i) fs.writeFileSync(path.join(flat, `f${i}.txt`), 'x');
  for (let d = 0; d < 300; ++d) {
    const dir = path.join(root, 'tree', `d${d % 30}`, `e${d}`);
    fs.mkdirSync(dir, { recursive: true });
    for (let f = 0; f < 50; ++f) fs.writeFileSync(path.join(dir, `f${f}.${f % 5 ? 'c' : 'h'}`), '');
  }
  return { big, flat, tree: path.join(root, 'tree') };
}

async function run() {
  if (process.platform === 'win32') return [];
  const root = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-bench-'));
  try {
    const { big, flat, tree } = makeTree(root);
    emu.setMode('loopback');
    const client = ombrix.createOmbrixClient({ serverName: 'bench-loopback' });
    const files = await client.createRemoteFileTool();
    const shell = await client.createRemoteShellTool();
    const cases = [
      ['file search, 50 MB', 'grep -n -F', 5,
        () => files.fileSearch('local', big, 'needle', true, true),
        () => run$('grep', ['-n', '-F', 'needle', big])],
      ['find by name, 15,000 files', 'find -name', 5,
        () => files.fileFindByName('local', tree, '*.h', 100000),
        () => run$('find', [tree, '-name', '*.h'], { maxBuffer: 1 << 26 })],
      ['directory listing, 5,000 entries', 'readdir + stat', 10,
        () => files.dirList('local', flat),
        async () => Promise.all((await fs.promises.readdir(flat)).map((n) => fs.promises.lstat(path.join(flat, n))))],
      ['shell exec of `true`', 'execFile sh -c', 20,
        () => shell.shellExec('local', 'true', root),
        () => run$('sh', ['-c', 'true'])],
    ];
    const rows = [];
    for (const [name, baselineName, n, subjectOp, baselineOp] of cases) {
      const result = await compare({ subject: times(1, subjectOp), baseline: times(1, baselineOp), n });
      rows.push({ name: `loopback ${name}`, baselineName, ...result });
    }
    return rows;
  } finally {
    fs.rmSync(root, { recursive: true, force: true });
  }
}

module.exports = { run };
