'use strict';
// RemoteFileTransferTool: scripted (arguments, conversion, lost tool) and
// loopback (real copies on this machine, failures and cancellation).
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');
const crypto = require('crypto');
const fs = require('fs');
const path = require('path');

const ombrix = require('..');
const { rejection, collectAfterAll, clientIn, scratchDir, emu, scripted, substitute } = require('./helpers');

collectAfterAll(test);
const { FileTransferErrorCode } = ombrix;
const EXPECTED = 'Expected (deviceId: string, localPath: string, remotePath: string)';

describe('scripted', { skip: scripted }, () => {
  let client;
  let tool;
  before(async () => {
    client = clientIn('scripted', 'transfer');
    tool = await client.createRemoteFileTransferTool();
  });
  after(() => {
    client = tool = null;  // collected at the end, so that the process can exit
  });

  test('an empty factory result rejects with its message', async () => {
    emu.injectFault('CreateRemoteFileTransferTool', 'empty');
    assert.strictEqual(await rejection(client.createRemoteFileTransferTool()), 'Failed to create RemoteFileTransfer');
    assert.equal(tool.constructor.name, 'RemoteFileTransferTool');
  });

  test('wrong arguments are TypeErrors and reach no SDK call', () => {
    for (const method of ['downloadFile', 'uploadFile']) {
      for (const args of [[], ['d', 'l'], ['d', 'l', 3], [null, 'l', 'r']]) {
        assert.throws(() => tool[method](...args), { name: 'TypeError', message: EXPECTED });
      }
    }
    assert.deepEqual(emu.calls(), []);
  });

  test('downloadFile: the SDK receives the arguments; the result keeps key order and 64-bit values', async () => {
    const download = tool.downloadFile('dev', '/local', '/remote');
    const call = await emu.nextCall('DownloadFile');
    assert.deepEqual(call.args, { deviceId: 'dev', localPath: '/local', remotePath: '/remote' });
    emu.complete(call, { errorMessage: 'Network unreachable', errorCode: 3, transferTime: 2 ** 40, fileSize: 2 ** 33 });
    assert.deepEqual(Object.entries(await download), [['path', ''], ['fileSize', 2 ** 33],
      ['transferTime', 2 ** 40], ['errorCode', FileTransferErrorCode.NETWORK_ERROR],
      ['errorMessage', 'Network unreachable']]);
  });

  test('uploadFile: fields the SDK left out are their defaults', async () => {
    const upload = tool.uploadFile('dev', '/l', '/r');
    emu.complete(await emu.nextCall('UploadFile'), { path: '/r', fileSize: 5 });
    assert.deepEqual(await upload, { path: '/r', fileSize: 5, transferTime: 0, errorCode: 0, errorMessage: '' });
  });
});

test('scripted: a tool lost before a call resolves it with errorCode 99, without calling the SDK', { skip: scripted }, async () => {
  const tool = await clientIn('scripted', 'transfer-lost').createRemoteFileTransferTool();
  for (const method of ['downloadFile', 'uploadFile']) {
    emu.injectWeakLockFailure('RemoteFileTransfer');
    assert.deepEqual(await tool[method]('d', 'l', 'r'), {
      path: '', fileSize: 0, transferTime: 0, errorCode: 99, errorMessage: 'Tool has been destroyed',
    });
  }
  assert.deepEqual(emu.calls(), []);
});

test('scripted: a tool without an SDK tool rejects every call', { skip: scripted }, async () => {
  const bare = new (await clientIn('scripted', 'transfer-bare').createRemoteFileTransferTool()).constructor();
  for (const method of ['downloadFile', 'uploadFile']) {
    const reason = await rejection(bare[method]('d', 'l', 'r'));
    assert.equal(reason.constructor, Error);
    assert.equal(reason.message, 'Tool is not initialized');
  }
});

function sha256(file) {
  return crypto.createHash('sha256').update(fs.readFileSync(file)).digest('hex');
}

test('loopback: a 50 MB file uploads and downloads whole', async (t) => {
  const dir = scratchDir(t);
  const source = path.join(dir, 'big.bin');
  const size = 50 * 1024 * 1024;
  const block = crypto.randomBytes(1024 * 1024 + 7);  // not block-aligned: every chunk differs
  const out = fs.openSync(source, 'w');
  for (let written = 0; written < size;) {
    written += fs.writeSync(out, block, 0, Math.min(block.length, size - written));
  }
  fs.closeSync(out);
  const tool = await clientIn('loopback', 'transfer-loopback').createRemoteFileTransferTool();

  const remote = path.join(dir, 'remote.bin');
  const up = await tool.uploadFile('this-machine', source, remote);
  assert.deepEqual([up.errorCode, up.errorMessage, up.path, up.fileSize],
    [FileTransferErrorCode.SUCCESS, '', remote, size]);
  assert.equal(typeof up.transferTime, 'number');
  const down = await tool.downloadFile('this-machine', path.join(dir, 'inbox-copy.bin'), remote);
  assert.deepEqual([down.errorCode, down.fileSize], [FileTransferErrorCode.SUCCESS, size]);
  assert.equal(sha256(down.path), sha256(source));
  assert.deepEqual(fs.readdirSync(dir).sort(), ['big.bin', 'inbox-copy.bin', 'remote.bin']);
  fs.rmSync(dir, { recursive: true, force: true });
});

const noLinks = process.platform === 'win32' && 'Wine creates no symbolic links';
test('loopback: links planted where the copy goes are never written through', { skip: substitute || noLinks }, async (t) => {
  // Another local user who can write the destination folder plants links at
  // every name the temporary copy could take; the upload must use none.
  const dir = scratchDir(t);
  const victim = path.join(dir, 'victim.txt');
  fs.writeFileSync(victim, 'untouched');
  const source = path.join(dir, 'report.bin');
  fs.writeFileSync(source, 'payload');
  const inbox = path.join(dir, 'inbox');
  fs.mkdirSync(inbox);
  for (let n = 1; n <= 300; ++n) fs.symlinkSync(victim, path.join(inbox, `.report.bin.part-${process.pid}-${n}`));
  const tool = await clientIn('loopback', 'transfer-links').createRemoteFileTransferTool();
  const up = await tool.uploadFile('this-machine', source, path.join(inbox, 'report.bin'));
  assert.equal(up.errorCode, FileTransferErrorCode.SUCCESS, up.errorMessage);
  assert.equal(fs.readFileSync(victim, 'utf8'), 'untouched');
  assert.equal(fs.readFileSync(path.join(inbox, 'report.bin'), 'utf8'), 'payload');
  assert.equal(fs.lstatSync(path.join(inbox, 'report.bin')).isSymbolicLink(), false);
  assert.equal(fs.readdirSync(inbox).length, 301);  // the links, and the copy under its own name
});

// Wine enforces no access rights, and lets even a read-only file be replaced.
const unrefused = process.platform === 'win32' ? 'nothing is refused under Wine'
  : process.getuid() === 0 && 'root writes anywhere';

test('loopback: a destination that may not be written reports PERMISSION_DENIED', { skip: unrefused }, async (t) => {
  const dir = scratchDir(t);
  const tool = await clientIn('loopback', 'transfer-refused').createRemoteFileTransferTool();
  const small = path.join(dir, 'small.txt');
  fs.writeFileSync(small, 'x');
  fs.mkdirSync(path.join(dir, 'locked'), { mode: 0o500 });
  const refused = path.join(dir, 'locked', 'x');
  const denied = await tool.uploadFile('d', small, refused);
  assert.deepEqual([denied.errorCode, denied.errorMessage],
    [FileTransferErrorCode.PERMISSION_DENIED, `Permission denied: ${refused}`]);
});

test('loopback: a missing source reports FILE_NOT_FOUND', { skip: scripted }, async (t) => {
  const dir = scratchDir(t);
  const tool = await clientIn('loopback', 'transfer-failures').createRemoteFileTransferTool();
  const missing = path.join(dir, 'absent.txt');
  const notFound = await tool.downloadFile('d', path.join(dir, 'copy.txt'), missing);
  assert.deepEqual([notFound.errorCode, notFound.errorMessage, notFound.fileSize],
    [FileTransferErrorCode.FILE_NOT_FOUND, `No such file or directory: ${missing}`, 0]);
});

test('loopback: a cancelled transfer reports CANCELLED and leaves no destination', { skip: scripted }, async (t) => {
  const dir = scratchDir(t);
  const tool = await clientIn('loopback', 'transfer-cancelled').createRemoteFileTransferTool();
  // Held to 1 MiB/s, the transfer is still copying when it is cancelled.
  const big = path.join(dir, 'big.bin');
  fs.writeFileSync(big, Buffer.alloc(8 * 1024 * 1024, 1));
  const target = path.join(dir, 'target.bin');
  emu.setTransferRate(1024 * 1024);
  let pending;
  try {
    pending = tool.uploadFile('d', big, target);
  } finally {
    emu.setTransferRate(0);  // only transfers started from now on are affected
  }
  assert.equal(emu.cancelTransfers(), 1);
  const cancelled = await pending;
  assert.deepEqual([cancelled.errorCode, cancelled.errorMessage],
    [FileTransferErrorCode.CANCELLED, 'Cancelled']);
  assert.ok(cancelled.fileSize < 8 * 1024 * 1024);
  assert.equal(fs.existsSync(target), false);
  assert.equal(emu.cancelTransfers(), 0);  // nothing left in flight
});
