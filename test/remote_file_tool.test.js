'use strict';
// RemoteFileTool against the scripted SDK: arguments as the SDK receives
// them, result conversion, failures and cancellation.
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');

const ombrix = require('..');
const { settle, rejection, collectAfterAll, runNode, emu, scripted } = require('./helpers');

emu?.setMode('scripted');
collectAfterAll(test);

async function newTool() {
  return ombrix.createOmbrixClient({ serverName: 'files' }).createRemoteFileTool();
}

test('optional arguments take their defaults unless present with the right type', { skip: scripted }, async () => {
  const tool = await newTool();
  const sent = async (op, start) => {
    start();
    const call = await emu.nextCall(op);
    emu.complete(call, {});
    return call.args;
  };
  assert.deepEqual(await sent('ReadFile', () => tool.fileRead('d', 'p')),
    { deviceId: 'd', filePath: 'p', startLine: -1, endLine: -1 });
  assert.deepEqual(await sent('ReadFile', () => tool.fileRead('d', 'p', '3', 7.9)),
    { deviceId: 'd', filePath: 'p', startLine: -1, endLine: 7 });
  assert.deepEqual(await sent('WriteFile', () => tool.fileWrite('d', 'p', 'c')),
    { deviceId: 'd', filePath: 'p', content: 'c', append: false, createDirs: true });
  assert.deepEqual(await sent('WriteFile', () => tool.fileWrite('d', 'p', 'c', true, 0)),
    { deviceId: 'd', filePath: 'p', content: 'c', append: true, createDirs: true });
  assert.deepEqual(await sent('ReplaceInFile', () => tool.fileReplace('d', 'p', 'a', 'b')),
    { deviceId: 'd', path: 'p', oldPattern: 'a', newText: 'b' });
  assert.deepEqual(await sent('SearchInFile', () => tool.fileSearch('d', 'p', 'x')),
    { deviceId: 'd', filePath: 'p', pattern: 'x', caseSensitive: false, showLineNumbers: true });
  assert.deepEqual((await sent('FindFilesByName', () => tool.fileFindByName('d', '/', '*.c'))).maxResults, 500);
  assert.deepEqual((await sent('FindFilesByName', () => tool.fileFindByName('d', '/', '*', 0))).maxResults, 0);
  assert.deepEqual((await sent('FindFilesByName', () => tool.fileFindByName('d', '/', '*', -4))).maxResults, -4);
  assert.deepEqual(await sent('ListDirectory', () => tool.dirList('d', '/', 'yes')),
    { deviceId: 'd', path: '/', showHidden: false });
});

test('missing or non-string required arguments throw the method\'s TypeError', { skip: scripted }, async () => {
  const tool = await newTool();
  const expect = (fn, message) => assert.throws(fn, { name: 'TypeError', message });
  expect(() => tool.fileRead('d'), 'Expected (deviceId: string, filePath: string, startLine?: number, endLine?: number)');
  expect(() => tool.fileWrite('d', 'p', 5), 'Expected (deviceId: string, filePath: string, content: string, append?: boolean, createDirs?: boolean)');
  expect(() => tool.fileReplace('d', 'p', 'a'), 'Expected (deviceId: string, path: string, oldPattern: string, newText: string)');
  expect(() => tool.fileSearch(1, 'p', 'x'), 'Expected (deviceId: string, filePath: string, pattern: string, caseSensitive?: boolean, showLineNumbers?: boolean, signal?: AbortSignal)');
  expect(() => tool.fileFindByName('d', null, '*'), 'Expected (deviceId: string, directory: string, pattern: string, maxResults?: number, signal?: AbortSignal)');
  expect(() => tool.dirList(), 'Expected (deviceId: string, path: string, showHidden?: boolean, signal?: AbortSignal)');
  assert.deepEqual(emu.calls(), []);  // nothing reached the SDK
});

test('records convert key by key, 64-bit fields as numbers, arrays in order', { skip: scripted }, async () => {
  const tool = await newTool();
  const found = tool.fileFindByName('d', '/', '*');
  emu.complete(await emu.nextCall('FindFilesByName'),
    { filePaths: ['/a', '/b'], totalFound: 9, truncated: true, success: true });
  assert.deepEqual(Object.entries(await found), [['success', true], ['filePaths', ['/a', '/b']],
    ['totalFound', 9], ['truncated', true], ['message', ''], ['errorMessage', ''], ['durationMs', 0]]);

  const listed = tool.dirList('d', '/');
  emu.complete(await emu.nextCall('ListDirectory'), {
    success: true, totalSize: 2 ** 40, durationMs: 5,
    entries: [{ name: 'x', type: 2, size: 2 ** 33, modifiedTime: 1700000000123 }, {}],
  });
  const result = await listed;
  assert.deepEqual(Object.keys(result), ['success', 'entries', 'directoryCount', 'fileCount',
    'totalSize', 'message', 'errorMessage', 'durationMs']);
  assert.deepEqual(result.entries, [
    { name: 'x', type: ombrix.FileEntryType.DIRECTORY, size: 2 ** 33, modifiedTime: 1700000000123 },
    { name: '', type: 0, size: 0, modifiedTime: 0 }]);
  assert.equal(typeof result.totalSize, 'number');

  const searched = tool.fileSearch('d', 'p', 'x');
  emu.complete(await emu.nextCall('SearchInFile'), { success: false, errorMessage: 'no such file', matches: '1:a\n2:b' });
  const search = await searched;
  assert.equal(search.success, false);  // SDK failures resolve, they never reject
  assert.equal(search.matches, '1:a\n2:b');
});

test('a tool without an SDK tool rejects every call', { skip: scripted }, async () => {
  const bare = new (await newTool()).constructor();
  for (const call of [() => bare.fileRead('d', 'p'), () => bare.fileSearch('d', 'p', 'x'),
    () => bare.dirList('d', '/')]) {
    const reason = await rejection(call());
    assert.equal(reason.constructor, Error);
    assert.equal(reason.message, 'Tool is not initialized');
  }
});

test('a tool lost before a call resolves it unsuccessfully, without calling the SDK', { skip: scripted }, async () => {
  const tool = await newTool();
  for (const call of [() => tool.fileRead('d', 'p'), () => tool.fileWrite('d', 'p', 'c'),
    () => tool.fileReplace('d', 'p', 'a', 'b')]) {
    emu.injectWeakLockFailure('RemoteFileTool');
    const result = await call();
    assert.equal(result.success, false);
    assert.equal(result.errorMessage, 'Tool has been destroyed');
  }
  assert.deepEqual(emu.calls(), []);  // the SDK was never called
});

test('cancellable operations call through the tool they hold, never re-locking it', { skip: scripted }, async () => {
  const tool = await newTool();
  emu.injectWeakLockFailure('RemoteFileTool');
  const listed = tool.dirList('d', '/');
  emu.complete(await emu.nextCall('ListDirectory'), { success: true });
  assert.equal((await listed).success, true);
  // …so the injected failure is still waiting for the next re-lock.
  assert.equal((await tool.fileRead('d', 'p')).errorMessage, 'Tool has been destroyed');
});

test('an SDK operation that throws is one synchronous Error, and no unhandled rejection', { skip: scripted }, async () => {
  const { code, stdout, stderr } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    process.on('unhandledRejection', (reason) => console.log('unhandled:', reason.message));
    emu.setMode('scripted');
    const client = ombrix.createOmbrixClient({ serverName: 'throws' });
    client.createRemoteFileTool().then(async (files) => {
      for (const [op, call] of [['ReadFile', () => files.fileRead('d', 'p')],
        ['SearchInFile', () => files.fileSearch('d', 'p', 'x')]]) {
        emu.injectFault(op, 'throw');
        try {
          call();
          console.log('no error');
        } catch (e) {
          console.log(e.code, e.message);
        }
      }
      global.gc();
      setTimeout(() => { client.close(); console.log('end'); }, 100);
    });`, { args: ['--expose-gc'] });
  assert.equal(code, 0, stderr);
  assert.deepEqual(stdout.trim().split('\n'), ['ERR_OMBRIX_SDK_FAILURE ReadFile: injected failure',
    'ERR_OMBRIX_SDK_FAILURE SearchInFile: injected failure', 'end']);
});

test('abort signals cancel through the operation handle; look-alikes are ignored', { skip: scripted }, async () => {
  const tool = await newTool();
  const start = async (signal) => {
    const pending = tool.fileSearch('d', 'p', 'x', true, true, signal);
    return { pending, call: await emu.nextCall('SearchInFile') };
  };

  const early = new AbortController();
  early.abort();
  const first = await start(early.signal);  // started, then cancelled at once
  assert.equal(emu.isCancelled(first.call), true);

  const late = new AbortController();
  const second = await start(late.signal);
  assert.equal(emu.isCancelled(second.call), false);
  late.abort();
  assert.equal(emu.isCancelled(second.call), true);

  const ignored = [{ aborted: true }, 'signal', 7, { addEventListener() {} }];
  const others = [];
  for (const signal of ignored) others.push(await start(signal));
  assert.deepEqual(others.map((o) => emu.isCancelled(o.call)), [false, false, false, false]);

  // Aborting never settles by itself: the SDK's result does.
  for (const { call } of [first, second, ...others]) emu.complete(call, { errorMessage: 'Cancelled' });
  const results = await Promise.all([first, second, ...others].map((o) => o.pending));
  assert.ok(results.every((r) => r.errorMessage === 'Cancelled'));

  const after = new AbortController();
  const third = await start(after.signal);
  emu.complete(third.call, { success: true });
  await third.pending;
  after.abort();  // a finished operation: harmless
  await settle();
});

test('a result the SDK never delivers keeps the process alive until it is completed', { skip: scripted }, async () => {
  const script = `
    const ombrix = require('.');
    const emu = require('./emulator/js');
    emu.setMode('scripted');
    (async () => {
      const tool = await ombrix.createOmbrixClient({ serverName: 'x' }).createRemoteFileTool();
      tool.fileRead('d', 'p').then((r) => console.log('settled', r.content));
      const call = await emu.nextCall('ReadFile');
      setTimeout(() => { console.log('still alive'); emu.complete(call, { content: 'late' }); }, 300);
      global.gc();
    })();`;
  const { code, stdout } = await runNode(script, { args: ['--expose-gc'] });
  assert.equal(code, 0);
  assert.equal(stdout, 'still alive\nsettled late\n');
});

test('pending calls still settle after their tool wrapper is collected', { skip: scripted }, async () => {
  let tool = await newTool();
  const pending = [tool.fileRead('d', 'p'), tool.dirList('d', '/')];
  const calls = [await emu.nextCall('ReadFile'), await emu.nextCall('ListDirectory')];
  tool = null;
  for (let i = 0; i < 3; ++i) {
    global.gc();
    await settle(5);
  }
  for (const call of calls) emu.complete(call, { success: true });
  assert.deepEqual((await Promise.all(pending)).map((r) => r.success), [true, true]);
});

test('ten thousand concurrent reads each settle exactly once', { skip: scripted }, async () => {
  const tool = await newTool();
  emu.autoComplete('ReadFile', { success: true, content: 'x' });
  try {
    let settled = 0;
    const all = Array.from({ length: 10000 }, () => tool.fileRead('d', 'p').then((r) => {
      settled += 1;
      return r.content;
    }));
    const contents = await Promise.all(all);
    assert.equal(settled, 10000);
    assert.ok(contents.every((c) => c === 'x'));
  } finally {
    emu.autoComplete('ReadFile', null);
  }
  await settle();
  assert.equal(emu.liveObjects().FileReadCallback, 0);
});

// --- loopback: the device is this machine -----------------------------------

const fs = require('fs');
const path = require('path');
const net = require('net');
const { spawn } = require('child_process');
const { clientIn, scratchDir } = require('./helpers');

const dir = scratchDir(test);
const windows = process.platform === 'win32';

describe('loopback: a real file', () => {
  let tool;
  before(async () => {
    tool = await clientIn('loopback').createRemoteFileTool();
  });
  after(() => {
    tool = null;  // collected at the end: nothing native is left alive
  });
  const fileWith = (name, content) => {
    const file = path.join(dir, name);
    fs.writeFileSync(file, content);
    return file;
  };

  test('fileWrite creates the parent folders, then appends', async () => {
    const file = path.join(dir, 'nested', 'notes.txt');
    const written = await tool.fileWrite('local', file, 'alpha\nBeta\ngamma beta\n');
    assert.equal(written.success, true, written.errorMessage);
    assert.equal((await tool.fileWrite('local', file, 'delta\n', true)).success, true);
    assert.equal(fs.readFileSync(file, 'utf8'), 'alpha\nBeta\ngamma beta\ndelta\n');
  });

  test('fileRead returns the lines asked for and counts them all', async () => {
    const read = await tool.fileRead('local', fileWith('read.txt', 'alpha\nBeta\ngamma beta\ndelta\n'), 2, 3);
    assert.deepEqual([read.success, read.content, read.dataStartLine, read.dataEndLine,
      read.originalLineCount, read.isTruncated], [true, 'Beta\ngamma beta\n', 2, 3, 4, false]);
  });

  test('fileSearch ignores case and numbers lines unless told otherwise', async () => {
    const file = fileWith('search.txt', 'alpha\nBeta\ngamma beta\ndelta\n');
    const insensitive = await tool.fileSearch('local', file, 'beta');
    assert.deepEqual([insensitive.matches, insensitive.matchCount], ['2:Beta\n3:gamma beta\n', 2]);
    const sensitive = await tool.fileSearch('local', file, 'beta', true, false);
    assert.deepEqual([sensitive.matches, sensitive.matchCount], ['gamma beta\n', 1]);
  });

  test('fileReplace rewrites the file and counts what it replaced', async () => {
    const file = fileWith('replace.txt', 'alpha\nBeta\ngamma beta\ndelta\n');
    const replaced = await tool.fileReplace('local', file, 'beta', 'BETA');
    assert.equal(replaced.success, true);
    assert.match(replaced.message, /1/);
    assert.equal(fs.readFileSync(file, 'utf8'), 'alpha\nBeta\ngamma BETA\ndelta\n');
  });

  test('paths beyond Windows\' MAX_PATH are written, replaced and read', async () => {
    const far = path.join(dir, ...Array(12).fill('abcdefghijklmnopqrstuvwxyz'), 'far.txt');
    assert.equal((await tool.fileWrite('local', far, 'far\n', false, true)).success, true);
    assert.equal((await tool.fileReplace('local', far, 'far', 'near')).success, true);
    assert.equal((await tool.fileRead('local', far)).content, 'near\n');
  });

  test('failures carry the same messages from every platform', async () => {
    const absent = path.join(dir, 'absent.txt');
    const missing = await tool.fileRead('local', absent);
    assert.deepEqual([missing.success, missing.errorMessage], [false, `No such file or directory: ${absent}`]);
    assert.equal((await tool.fileRead('local', dir)).errorMessage, `Is a directory: ${dir}`);
    assert.equal((await tool.fileWrite('local', dir, 'x')).errorMessage, `Is a directory: ${dir}`);
    const noParent = await tool.fileWrite('local', path.join(dir, 'no', 'dir', 'f'), 'x', false, false);
    assert.equal(noParent.success, false);
  });
});

describe('loopback: a real tree', () => {
  const root = path.join(dir, 'tree');
  let tool;
  before(async () => {
    tool = await clientIn('loopback').createRemoteFileTool();
    for (const name of ['a.c', 'b.c', 'c.h', 'sub/d.c', 'sub/e.txt', '.hidden.c']) {
      fs.mkdirSync(path.dirname(path.join(root, name)), { recursive: true });
      fs.writeFileSync(path.join(root, name), name);
    }
  });
  after(() => {
    tool = null;  // collected at the end: nothing native is left alive
  });

  test('fileFindByName finds hidden and nested matches, with native separators', async () => {
    const all = await tool.fileFindByName('local', root, '*.c');
    assert.deepEqual(all.filePaths.map((p) => path.relative(root, p)).sort(),
      ['.hidden.c', 'a.c', 'b.c', path.join('sub', 'd.c')]);
    assert.ok(all.filePaths.every((p) => p.startsWith(root + path.sep)), 'native separators');
    assert.deepEqual([all.totalFound, all.truncated], [4, false]);
  });

  test('fileFindByName with a limit truncates and still counts every match', async () => {
    const limited = await tool.fileFindByName('local', root, '*.c', 2);
    assert.deepEqual([limited.filePaths.length, limited.totalFound, limited.truncated], [2, 4, true]);
  });

  test('dirList sorts entries with their types, counts, sizes and times', async () => {
    const listed = await tool.dirList('local', root);
    assert.deepEqual(listed.entries.map((e) => [e.name, e.type]), [['a.c', 1], ['b.c', 1], ['c.h', 1], ['sub', 2]]);
    assert.deepEqual([listed.fileCount, listed.directoryCount, listed.totalSize], [3, 1, 9]);
    assert.ok(listed.entries.every((e) => typeof e.modifiedTime === 'number' && e.modifiedTime > 0));
  });

  test('dirList shows hidden entries only when asked', async () => {
    const hidden = await tool.dirList('local', root, true);
    assert.equal(hidden.entries[0].name, '.hidden.c');
  });

  test('dirList of a file fails with "Not a directory"', async () => {
    const notDir = await tool.dirList('local', path.join(root, 'a.c'));
    assert.deepEqual([notDir.success, notDir.errorMessage], [false, `Not a directory: ${path.join(root, 'a.c')}`]);
  });
});

// A file that never ends: a FIFO fed by `yes`, or on Windows a named pipe
// this process feeds. Null where neither can be made.
async function endlessFile(t) {
  if (windows) {
    const pipe = `\\\\.\\pipe\\ombrix-endless-${process.pid}`;
    const line = Buffer.from('no match here\n'.repeat(4096));
    const server = net.createServer((socket) => {
      const pump = () => { while (socket.write(line)); };
      socket.on('drain', pump).on('error', () => {});
      pump();
    });
    await new Promise((resolve) => server.listen(pipe, resolve));
    t.after(() => server.close());
    return pipe;
  }
  const fifo = path.join(dir, 'endless');
  try {
    require('child_process').execFileSync('mkfifo', [fifo]);
  } catch {
    return null;
  }
  // The writer holds the FIFO open read-write, so a reader never sees end-of-file.
  const writer = spawn('sh', ['-c', 'exec 3<>"$0"; echo ready; exec yes "no match here" >&3', fifo]);
  t.after(() => writer.kill());
  await new Promise((resolve) => writer.stdout.once('data', resolve));
  return fifo;
}

test('loopback: cancelling an endless search or a whole-disk find settles unsuccessfully', async (t) => {
  const tool = await clientIn('loopback').createRemoteFileTool();
  const endless = await endlessFile(t);
  if (!endless) {
    t.skip('mkfifo is not available');
    return;
  }
  const search = new AbortController();
  const searching = tool.fileSearch('local', endless, 'needle', false, true, search.signal);
  const find = new AbortController();
  const finding = tool.fileFindByName('local', path.parse(dir).root, 'no-such-file-*', -1, find.signal);
  await settle(50);
  search.abort();
  find.abort();
  const [searched, found] = await Promise.all([searching, finding]);
  assert.deepEqual([searched.success, searched.errorMessage], [false, 'Cancelled']);
  assert.deepEqual([found.success, found.errorMessage], [false, 'Cancelled']);
});
