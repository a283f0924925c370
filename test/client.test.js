'use strict';
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { settle, rejection, collectAfterAll, waitFor, runNode, clientIn } = require('./helpers');

emu.setMode('scripted');
collectAfterAll(test);

test('createOmbrixClient validates its arguments with exact messages', () => {
  const cases = [
    [[], 'Expected at least 1 argument: config'],
    [['name'], 'Expected config object as first argument'],
    [[null], 'Expected config object as first argument'],
    [[{}], 'createOmbrixClient: config.serverName (string) is required'],
    [[{ serverName: 5 }], 'createOmbrixClient: config.serverName (string) is required'],
    [[{ serverName: '' }], 'createOmbrixClient: config.serverName must be non-empty'],
    [[{ serverName: 's' }, 'x'], 'Expected ChatSessionManager object as second argument'],
    [[{ serverName: 's' }, null, 7], 'Expected NotificationService object as third argument'],
  ];
  for (const [args, message] of cases) {
    assert.throws(() => ombrix.createOmbrixClient(...args), { name: 'TypeError', message },
      JSON.stringify(args));
  }
  // A function is an object; null and undefined services are accepted.
  const fn = Object.assign(() => {}, { serverName: 'from-function' });
  assert.equal(ombrix.createOmbrixClient(fn, undefined, null).constructor.name, 'OmbrixClient');
  assert.equal(ombrix.createOmbrixClient({ serverName: 's' }, null, undefined).constructor.name,
    'OmbrixClient');
});

test('SDK failures while creating the client become Errors', () => {
  const attempt = () => ombrix.createOmbrixClient({ serverName: 'faulty' });
  emu.injectThreadCreateFailure();
  assert.throws(attempt, { name: 'Error', message: 'Failed to create signaling thread' });
  emu.injectFault('CreateOmbrixClient', 'empty');
  assert.throws(attempt, { name: 'Error', message: 'Failed to create OmbrixClient' });
  emu.injectFault('CreateOmbrixClient', 'throw');
  assert.throws(attempt, {
    name: 'Error', message: 'Failed to create OmbrixClient: CreateOmbrixClient: injected failure',
  });
  assert.equal(attempt().constructor.name, 'OmbrixClient');
});

test('faults: an unknown site, kind or type is refused with the valid ones; clearFaults disarms all', () => {
  assert.throws(() => emu.injectFault('NoSuchSiteAtAll', 'throw'),
    { message: /^unknown fault site "NoSuchSiteAtAll" \(valid sites: CreateOmbrixClient, .*, ReadFile, .*, DriveCallback\)$/ });
  assert.throws(() => emu.injectFault('ReadFile', 'explode'),
    { message: 'unknown fault kind "explode" (valid kinds: empty, throw)' });
  assert.throws(() => emu.injectWeakLockFailure('NoSuchType'),
    { message: /^unknown contract type "NoSuchType" \(valid types: .*\bAccountTool\b.*\)$/ });
  emu.injectFault('CreateOmbrixClient', 'throw');
  emu.injectFault('CreateOmbrixClient', 'empty');
  emu.injectWeakLockFailure('AccountTool');
  emu.injectThreadCreateFailure();
  assert.equal(emu.clearFaults(), 4);
  assert.equal(emu.clearFaults(), 0);
  assert.equal(ombrix.createOmbrixClient({ serverName: 'unfaulted' }).constructor.name, 'OmbrixClient');
});

test('tool factories resolve with tools or reject with a bare string', async () => {
  const client = ombrix.createOmbrixClient({ serverName: 'tools' });
  const file = await client.createRemoteFileTool();
  assert.equal(file.constructor.name, 'RemoteFileTool');
  assert.equal((await client.createRemoteShellTool()).constructor.name, 'RemoteShellTool');
  emu.injectFault('CreateRemoteFileTool', 'empty');
  assert.strictEqual(await rejection(client.createRemoteFileTool()), 'Failed to create RemoteFileTool');
  emu.injectFault('CreateRemoteShellTool', 'empty');
  assert.strictEqual(await rejection(client.createRemoteShellTool()), 'Failed to create RemoteShellTool');
  emu.injectFault('CreateRemoteFileTool', 'throw');
  assert.throws(() => client.createRemoteFileTool(), /CreateRemoteFileTool: injected failure/);
});

test('a client never given an SDK client, and a foreign receiver, are refused', () => {
  const client = ombrix.createOmbrixClient({ serverName: 'empty' });
  const bare = new client.constructor();
  assert.throws(() => bare.createRemoteFileTool(), { name: 'Error', message: 'Client is not initialized' });
  assert.throws(() => bare.getFernwickWorkspace(), { message: 'OmbrixClient is not initialized' });
  assert.equal(bare.setObserver({}), undefined);  // works without a client
  assert.throws(() => client.createRemoteFileTool.call({}), { name: 'TypeError', message: 'Illegal invocation' });
});

// Observer callbacks are held strongly, so they are made where they cannot
// capture the client (a closure sharing the client's scope would keep it, and
// this process, alive).
function recordingObservers(seen) {
  return [{
    onNewToolService: (service) => seen.push(['first', service.constructor.name]),
    onToolServiceDisconnected: (...args) => seen.push(['disconnected', args.length]),
    onConnectionStateChanged: () => seen.push(['state']),
  }, {
    onNewToolService: (service) => seen.push(['second', service.constructor.name]),
    onToolServiceDisconnected: 42,
  }];
}

test('observer events reach only the stored callbacks, on the JavaScript thread', async () => {
  const client = ombrix.createOmbrixClient({ serverName: 'events' });
  assert.throws(client.setObserver.bind(client), { name: 'TypeError', message: 'Expected observer object as first argument' });
  assert.throws(client.setObserver.bind(client, 3), TypeError);
  const seen = [];
  const [first, second] = recordingObservers(seen);
  client.setObserver(first);
  // Replacing only one callback keeps the others; non-functions are ignored.
  client.setObserver(second);

  await emu.emitConnectionState(2);
  await emu.announceToolService();
  await emu.announceToolService({ empty: true });
  await emu.disconnectToolService();
  await waitFor(() => seen.length >= 2, { what: 'observer events' });
  await settle(50);  // and nothing else arrives
  assert.deepEqual(seen, [['second', 'ToolService'], ['disconnected', 0]]);
});

test('the Fernwick workspace settles once: a path, not available, or aborted', async () => {
  const client = ombrix.createOmbrixClient({ serverName: 'workspace' });
  const outcomes = [];
  for (const record of ['/work/space', '', null]) {
    const pending = client.getFernwickWorkspace('ignored');
    emu.complete(await emu.nextCall('GetFernwickWorkspace'), record);
    outcomes.push(await pending.then((path) => path, (e) => `${e.constructor.name}: ${e.message}`));
  }
  const dropped = client.getFernwickWorkspace();
  emu.drop(await emu.nextCall('GetFernwickWorkspace'));
  outcomes.push((await rejection(dropped)).message);
  assert.deepEqual(outcomes, ['/work/space', 'Error: Fernwick workspace not available',
    'Error: Fernwick workspace not available', 'Fernwick workspace request aborted']);
});

test('an SDK that throws from getFernwickWorkspace: one synchronous Error and no unhandled rejection', async () => {
  const { code, stdout, stderr } = await runNode(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    process.on('unhandledRejection', (reason) => console.log('unhandled:', reason.message));
    emu.setMode('scripted');
    const client = ombrix.createOmbrixClient({ serverName: 'throws' });
    emu.injectFault('GetFernwickWorkspace', 'throw');
    try {
      client.getFernwickWorkspace();
      console.log('no error');
    } catch (e) {
      console.log(e.code, e.message);
    }
    global.gc();
    setTimeout(() => { client.close(); console.log('end'); }, 100);`, { args: ['--expose-gc'] });
  assert.equal(code, 0, stderr);
  assert.deepEqual(stdout.trim().split('\n'),
    ['ERR_OMBRIX_SDK_FAILURE GetFernwickWorkspace: injected failure', 'end']);
});

test('close() releases the client: the process ends by itself, its methods refuse, its tools still answer', async () => {
  const source = `
    const ombrix = require('.');
    const fs = require('fs');
    const chat = { async createSession() { return { code: 0 }; } };
    const notifications = { async getNotifications() { return { notifications: [] }; }, setObserver() {} };
    const client = ombrix.createOmbrixClient({ serverName: 'closing' }, chat, notifications);
    client.setObserver({ onNewToolService() {}, onToolServiceDisconnected() {} });
    client.setAuditManager({ async createSession() { return {}; }, async getSessions() { return {}; } });
    client.createRemoteFileTool().then(async (files) => {
      client.close();
      client[Symbol.dispose]();  // a second close is harmless
      let refused;
      try { client.createRemoteShellTool(); } catch (e) { refused = e.message; }
      const read = await files.fileRead('d', ${JSON.stringify(__filename)}, 1, 1);
      console.log(JSON.stringify({ refused, read: read.success, dispose: typeof Symbol.dispose }));
    });`;
  const { code, stdout, stderr, timedOut } = await runNode(source, { timeoutMs: 20000 });
  assert.equal(timedOut, false, 'a closed client kept the process alive');
  assert.equal(code, 0, stderr);
  assert.deepEqual(JSON.parse(stdout), { refused: 'Client is not initialized', read: true, dispose: 'symbol' });
});

describe('errors carry a stable code beside their exact text', () => {
  const thrown = (fn) => {
    try {
      fn();
    } catch (e) {
      return [e.constructor.name, e.code, e.message];
    }
    return null;
  };
  const rejected = async (promise) => {
    const e = await rejection(promise);
    return [e.constructor.name, e.code, e.message];
  };
  let client;
  before(() => {
    client = ombrix.createOmbrixClient({ serverName: 'codes' });
  });
  after(() => {
    client = null;  // collected at the end, so that the process can exit
  });

  test('ERR_OMBRIX_INVALID_ARG', () => {
    assert.deepEqual(thrown(() => ombrix.createOmbrixClient()),
      ['TypeError', 'ERR_OMBRIX_INVALID_ARG', 'Expected at least 1 argument: config']);
  });

  test('ERR_OMBRIX_SDK_FAILURE', () => {
    emu.injectFault('CreateOmbrixClient', 'throw');
    assert.deepEqual(thrown(() => ombrix.createOmbrixClient({ serverName: 'x' })).slice(0, 2),
      ['Error', 'ERR_OMBRIX_SDK_FAILURE']);
  });

  test('ERR_OMBRIX_NOT_INITIALIZED: a tool without an SDK tool, a closed client', async () => {
    const files = await client.createRemoteFileTool();
    assert.deepEqual(await rejected(new files.constructor().fileRead('d', 'p')),
      ['Error', 'ERR_OMBRIX_NOT_INITIALIZED', 'Tool is not initialized']);
    const closed = ombrix.createOmbrixClient({ serverName: 'codes-closed' });
    closed.close();
    assert.deepEqual(thrown(() => closed.createRemoteFileTool()),
      ['Error', 'ERR_OMBRIX_NOT_INITIALIZED', 'Client is not initialized']);
  });

  test('ERR_OMBRIX_NO_RESULT', async () => {
    const dropped = (await client.createRemoteFileTool()).fileRead('d', 'p');
    emu.drop(await emu.nextCall('ReadFile'));
    assert.deepEqual(await rejected(dropped),
      ['Error', 'ERR_OMBRIX_NO_RESULT', 'The SDK dropped the operation without a result']);
  });

  test('ERR_OMBRIX_TOOL_DESTROYED', async () => {
    const account = await client.createAccountTool();
    emu.injectWeakLockFailure('AccountTool');
    assert.deepEqual(await rejected(account.getAccountId()),
      ['Error', 'ERR_OMBRIX_TOOL_DESTROYED', 'Tool has been destroyed']);
  });

  test('ERR_OMBRIX_UNAVAILABLE and ERR_OMBRIX_ABORTED from the workspace', async () => {
    const unavailable = client.getFernwickWorkspace();
    emu.complete(await emu.nextCall('GetFernwickWorkspace'), '');
    assert.deepEqual(await rejected(unavailable), ['Error', 'ERR_OMBRIX_UNAVAILABLE', 'Fernwick workspace not available']);
    const aborted = client.getFernwickWorkspace();
    emu.drop(await emu.nextCall('GetFernwickWorkspace'));
    assert.deepEqual(await rejected(aborted), ['Error', 'ERR_OMBRIX_ABORTED', 'Fernwick workspace request aborted']);
  });

  test('ERR_OMBRIX_NOT_OPEN', () => {
    const region = new ombrix.ShmRegion();
    assert.deepEqual(thrown(() => region.readBytes(0, 1)), ['Error', 'ERR_OMBRIX_NOT_OPEN', 'ShmRegion is not open']);
  });
});

test('strings bound for the SDK with an embedded NUL are refused, naming the argument, before anything starts', async () => {
  const refused = async (call) => {
    try {
      await call();
    } catch (e) {
      return [e.constructor.name, e.code, e.message];
    }
    return 'accepted';
  };
  const named = (name) => ['TypeError', 'ERR_OMBRIX_INVALID_ARG', `The argument '${name}' must be a string without null bytes`];
  const client = ombrix.createOmbrixClient({ serverName: 'nul' });
  const files = await client.createRemoteFileTool();
  const shell = await client.createRemoteShellTool();
  const transfer = await client.createRemoteFileTransferTool();
  const cases = [
    [() => files.fileWrite('d', 'x.txt\0.bak', 'c'), 'filePath'],
    [() => files.fileReplace('d', 'p', 'two\0x', 'b'), 'oldPattern'],
    [() => files.fileRead('d\0e', 'p'), 'deviceId'],
    [() => shell.shellExec('d', 'echo a\0; echo b', '/tmp'), 'command'],
    [() => shell.shellExec('d', 'pwd', '/tmp\0/x'), 'workingDir'],
    [() => transfer.uploadFile('d', '/a\0', '/b'), 'localPath'],
    [() => new ombrix.ShmRegion().open('Local\\x\0y'), 'shmName'],
    [() => new ombrix.ShmRegion().open('Local\\x', 'm\0'), 'mutexName'],
    [() => ombrix.createOmbrixClient({ serverName: 'a\0b' }), 'config.serverName'],
  ];
  for (const [call, name] of cases) assert.deepEqual(await refused(call), named(name));
  assert.deepEqual(emu.calls(), []);  // nothing reached the SDK
  client.close();
});

// POSIX owners and modes: not registered on Windows.
const posixTest = process.platform === 'win32' ? () => {} : test;
posixTest('loopback: the workspace folder is this user\'s alone; a link or a foreign folder there is refused', async () => {
  const fs = require('fs');
  const path = require('path');
  const loopback = clientIn('loopback', 'workspace-private');
  const workspace = await loopback.getFernwickWorkspace();
  for (const dir of [workspace, path.dirname(workspace)]) {
    const info = fs.lstatSync(dir);
    assert.ok(info.isDirectory(), dir);
    assert.equal(info.mode & 0o777, 0o700, dir);
    assert.equal(info.uid, process.getuid(), dir);
  }
  // What another user could leave at the name: a link elsewhere, or a folder of theirs.
  fs.rmSync(workspace, { recursive: true });
  const elsewhere = fs.mkdtempSync(path.join(require('os').tmpdir(), 'elsewhere-'));
  fs.symlinkSync(elsewhere, workspace);
  assert.equal((await rejection(loopback.getFernwickWorkspace())).message, 'Fernwick workspace not available');
  fs.unlinkSync(workspace);
  if (process.getuid() === 0) {
    fs.mkdirSync(workspace, { mode: 0o700 });
    fs.chownSync(workspace, 65534, 65534);
    assert.equal((await rejection(loopback.getFernwickWorkspace())).message, 'Fernwick workspace not available');
    fs.rmdirSync(workspace);
  }
  fs.rmdirSync(elsewhere);
  assert.equal(await loopback.getFernwickWorkspace(), workspace);  // made anew, privately
  loopback.close();
});
