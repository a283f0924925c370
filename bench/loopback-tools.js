'use strict';
// The loopback tools against the everyday equivalents on trees generated in a
// temporary folder: a tree search (find by name, then search each file found)
// against grep -rn; a directory listing against readdir with an lstat per
// entry, synchronous and as promises; a 50 MB file search against grep -n -F,
// find by name against find -name, shell exec against execFile. Each subject
// is a whole tool call (JS → SDK thread → JS).
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFile } = require('child_process');
const { promisify } = require('util');
const { rate, row } = require('./harness');

const execFile$ = promisify(execFile);
const LINE = 'the quick brown fox jumps over the lazy dog 0123456789\n';

// Each builder makes its part of the fixture under `root` and returns the
// workload arguments.
const builders = {
  search(root) {  // 300 files of ~8 KB in 20 folders; every third file has the needle once
    const tree = path.join(root, 'search');
    let expect = 0;
    for (let f = 0; f < 300; ++f) {
      const dir = path.join(tree, `d${f % 20}`);
      fs.mkdirSync(dir, { recursive: true });
      const needle = f % 3 === 0 ? `line with a needle in it ${f}\n` : '';
      expect += needle ? 1 : 0;
      fs.writeFileSync(path.join(dir, `f${f}.txt`), LINE.repeat(80) + needle + LINE.repeat(70));
    }
    return { tree, expect };
  },
  flat(root) {
    const flat = path.join(root, 'flat');
    fs.mkdirSync(flat);
    for (let i = 0; i < 5000; ++i) fs.writeFileSync(path.join(flat, `f${i}.txt`), 'x');
    return { flat };
  },
  big(root) {
    const big = path.join(root, 'big.txt');
    const fd = fs.openSync(big, 'w');
    const chunk = LINE.repeat(20000);  // ~1.1 MB
    for (let i = 0; i < 45; ++i) fs.writeSync(fd, chunk);
    fs.writeSync(fd, 'a needle in the haystack\n');
    fs.closeSync(fd);
    return { big };
  },
  names(root) {  // 15,000 files in 300 folders
    const names = path.join(root, 'names');
    for (let d = 0; d < 300; ++d) {
      const dir = path.join(names, `d${d % 30}`, `e${d}`);
      fs.mkdirSync(dir, { recursive: true });
      for (let f = 0; f < 50; ++f) fs.writeFileSync(path.join(dir, `f${f}.${f % 5 ? 'c' : 'h'}`), '');
    }
    return { names };
  },
};

function fixture(fixtures, part) {
  if (!fixtures.loopbackRoot) fixtures.loopbackRoot = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-bench-'));
  if (!fixtures[part]) fixtures[part] = builders[part](fixtures.loopbackRoot);
  return fixtures[part];
}

function cleanup(fixtures) {
  if (fixtures.loopbackRoot) fs.rmSync(fixtures.loopbackRoot, { recursive: true, force: true });
}

async function loopbackTools({ ombrix, emu, keep }) {
  emu.setMode('loopback');
  const client = keep(ombrix.createOmbrixClient({ serverName: 'bench-loopback' }));
  return { files: await client.createRemoteFileTool(), shell: await client.createRemoteShellTool() };
}

// n sequential operations after one to warm up, as operations per second.
async function repeated(op, n) {
  await op();
  return { rate: await rate(async () => { for (let i = 0; i < n; ++i) await op(); }, n) };
}

function expectMatches(found, expect) {
  if (found !== expect) throw new Error(`found ${found} matching lines, expected ${expect}`);
}

const workloads = {
  async treeSearch(ctx, n, { tree, expect }) {
    const { files } = await loopbackTools(ctx);
    return repeated(async () => {
      const found = await files.fileFindByName('local', tree, '*.txt', -1);
      const results = await Promise.all(found.filePaths.map((file) => files.fileSearch('local', file, 'needle', true, true)));
      expectMatches(results.reduce((sum, r) => sum + r.matchCount, 0), expect);
    }, n);
  },
  grepTree: (ctx, n, { tree, expect }) => repeated(async () => {
    const { stdout } = await execFile$('grep', ['-rn', 'needle', tree]);
    expectMatches(stdout.split('\n').length - 1, expect);
  }, n),
  async dirList(ctx, n, { flat }) {
    const { files } = await loopbackTools(ctx);
    return repeated(() => files.dirList('local', flat), n);
  },
  readdirSync: (ctx, n, { flat }) => repeated(async () => {
    for (const name of fs.readdirSync(flat)) fs.lstatSync(path.join(flat, name));
  }, n),
  readdirPromise: (ctx, n, { flat }) => repeated(async () => {
    await Promise.all((await fs.promises.readdir(flat)).map((name) => fs.promises.lstat(path.join(flat, name))));
  }, n),
  async fileSearch(ctx, n, { big }) {
    const { files } = await loopbackTools(ctx);
    return repeated(() => files.fileSearch('local', big, 'needle', true, true), n);
  },
  grepFile: (ctx, n, { big }) => repeated(() => execFile$('grep', ['-n', '-F', 'needle', big]), n),
  async findByName(ctx, n, { names }) {
    const { files } = await loopbackTools(ctx);
    return repeated(() => files.fileFindByName('local', names, '*.h', 100000), n);
  },
  find: (ctx, n, { names }) => repeated(() => execFile$('find', [names, '-name', '*.h'], { maxBuffer: 1 << 26 }), n),
  async shellExec(ctx, n) {
    const { shell } = await loopbackTools(ctx);
    return repeated(() => shell.shellExec('local', 'true', os.tmpdir()), n);
  },
  execFile: (ctx, n) => repeated(() => execFile$('sh', ['-c', 'true']), n),
};

function groups({ subject, fixtures }) {
  if (process.platform === 'win32') return [];
  const rate$ = { pick: (x) => x.rate };
  const tool = (workload) => ({ build: subject, workload: `loopback-tools.${workload}` });
  const other = (workload, label) => ({ ...tool(workload), label });
  const pair = (name, n, part, subjectWorkload, baselines) => ({
    name, n, setup: part && (() => fixture(fixtures, part)),
    variants: { tool: tool(subjectWorkload), ...Object.fromEntries(baselines.map(([w, label]) => [w, other(w, label)])) },
    rows: (r) => baselines.map(([w]) => row(name, r.tool, r[w], rate$)),
  });
  return [
    pair('loopback tree search, 300 files (find by name, then search each)', 10, 'search', 'treeSearch',
      [['grepTree', 'grep -rn']]),
    pair('loopback dirList, 5,000 entries', 10, 'flat', 'dirList',
      [['readdirSync', 'readdirSync + lstatSync'], ['readdirPromise', 'fs.promises readdir + lstat']]),
    pair('loopback file search, 50 MB', 5, 'big', 'fileSearch', [['grepFile', 'grep -n -F']]),
    pair('loopback find by name, 15,000 files', 5, 'names', 'findByName', [['find', 'find -name']]),
    pair('loopback shell exec of `true`', 20, null, 'shellExec', [['execFile', 'execFile sh -c']]),
  ];
}

module.exports = { workloads, groups, cleanup };
