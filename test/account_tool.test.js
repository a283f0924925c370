'use strict';
// AccountTool: string methods, the device list and token-renewal events,
// scripted and against the loopback device (this machine and its user).
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');
const os = require('os');

const ombrix = require('..');
const { settle, rejection, collectAfterAll, clientIn, waitFor, emu, scripted } = require('./helpers');

collectAfterAll(test);

const STRING_METHODS = {
  getAccountId: 'GetAccountId',
  getAccountDescription: 'GetAccountDescription',
  generateAccountToken: 'GenerateAccountToken',
  generateMcpToken: 'GenerateMcpToken',
  getLocalDeviceId: 'GetLocalDeviceId',
  getLocalDeviceName: 'GetLocalDeviceName',
};

const scriptedTool = () => clientIn('scripted', 'account').createAccountTool();

test('the factory resolves with an AccountTool or rejects with a bare string', { skip: scripted }, async () => {
  const client = clientIn('scripted', 'account-factory');
  assert.equal((await client.createAccountTool()).constructor.name, 'AccountTool');
  emu.injectFault('CreateAccountTool', 'empty');
  assert.strictEqual(await rejection(client.createAccountTool()), 'Failed to create AccountTool');
  assert.throws(() => new client.constructor().createAccountTool(), { message: 'Client is not initialized' });
});

test('string methods resolve with what the SDK sends; a lost tool rejects', { skip: scripted }, async () => {
  const tool = await scriptedTool();
  for (const [method, op] of Object.entries(STRING_METHODS)) {
    const pending = tool[method]('ignored', 1);
    const call = await emu.nextCall(op);
    assert.deepEqual(call.args, {}, method);
    emu.complete(call, `${method} value`);
    assert.equal(await pending, `${method} value`);
  }
  const absent = tool.getAccountId();
  emu.complete(await emu.nextCall('GetAccountId'), null);  // a null string arrives as ''
  assert.strictEqual(await absent, '');

  const bare = new tool.constructor();
  for (const method of [...Object.keys(STRING_METHODS), 'getRemoteDeviceList']) {
    const notInitialized = await rejection(bare[method]());
    assert.equal(notInitialized.constructor, Error);
    assert.equal(notInitialized.message, 'Tool is not initialized');
    emu.injectWeakLockFailure('AccountTool');
    const destroyed = await rejection(tool[method]());
    assert.equal(destroyed.constructor, Error);
    assert.equal(destroyed.message, 'Tool has been destroyed', method);
  }
  assert.deepEqual(emu.calls(), []);  // the SDK was never reached
});

test('the device list converts each device in order; none is []', { skip: scripted }, async () => {
  const tool = await scriptedTool();
  const listed = tool.getRemoteDeviceList();
  emu.complete(await emu.nextCall('GetRemoteDeviceList'), [
    { deviceId: 'pc', deviceName: 'Desk', deviceType: ombrix.RemoteDeviceType.PC_WINDOWS,
      deviceStatus: ombrix.RemoteDeviceStatus.ONLINE },
    { deviceStatus: ombrix.RemoteDeviceStatus.OFFLINE, deviceId: 'phone' },
  ]);
  const devices = await listed;
  assert.deepEqual(devices.map((d) => Object.entries(d)), [
    [['deviceId', 'pc'], ['deviceName', 'Desk'], ['deviceType', 1], ['deviceStatus', 2]],
    [['deviceId', 'phone'], ['deviceName', ''], ['deviceType', 0], ['deviceStatus', 1]],
  ]);
  for (const record of [[], null]) {  // an empty list, and no list at all
    const empty = tool.getRemoteDeviceList();
    emu.complete(await emu.nextCall('GetRemoteDeviceList'), record);
    assert.deepEqual(await empty, []);
  }
});

// Observers are made here, away from any tool or client they could capture.
function recorder(seen, name, keys = ['onTokenUpdated', 'onMcpTokenUpdated']) {
  return Object.fromEntries(keys.map((key) => [key, (...args) => seen.push([name, key, ...args])]));
}

test('setObserver: checks its argument, relays renewals in order, replaces callbacks', { skip: scripted }, async () => {
  const tool = await scriptedTool();
  for (const bad of [[], ['x'], [7], [null]]) {
    assert.throws(() => tool.setObserver(...bad),
      { name: 'TypeError', message: 'Expected observer object as first argument' });
  }
  const seen = [];
  assert.equal(tool.setObserver(recorder(seen, 'first')), undefined);
  await emu.emitTokenUpdated('t1');
  await emu.emitMcpTokenUpdated('m1');
  await emu.emitTokenUpdated('t2');
  await waitFor(() => seen.length === 3, { what: 'token events' });
  assert.deepEqual(seen, [['first', 'onTokenUpdated', 't1'], ['first', 'onMcpTokenUpdated', 'm1'],
    ['first', 'onTokenUpdated', 't2']]);

  // A second observer replaces the function it has; a non-function is skipped.
  seen.length = 0;
  tool.setObserver({ ...recorder(seen, 'second', ['onTokenUpdated']), onMcpTokenUpdated: 'no' });
  await emu.emitTokenUpdated('t3');
  await emu.emitMcpTokenUpdated('m2');
  await waitFor(() => seen.length === 2, { what: 'token events' });
  assert.deepEqual(seen, [['second', 'onTokenUpdated', 't3'], ['first', 'onMcpTokenUpdated', 'm2']]);

  // An observer without functions on a fresh tool drops both events; so does
  // a tool without an SDK tool, which registers nothing.
  const silent = await scriptedTool();
  const bare = new tool.constructor();
  const none = [];
  silent.setObserver(Object.assign(() => {}, { other: () => none.push('x') }));
  assert.equal(bare.setObserver(recorder(none, 'bare')), undefined);
  await emu.emitTokenUpdated('t4');
  await waitFor(() => seen.length === 3, { what: 'the still-registered observer' });
  await settle(30);
  assert.deepEqual(none, []);
});

describe('loopback', () => {
  let client;
  let tool;
  let other;
  before(async () => {
    client = clientIn('loopback', 'account-loopback');
    [tool, other] = [await client.createAccountTool(), await client.createAccountTool()];
  });
  after(() => {
    client = tool = other = null;  // collected at the end, so that the process can exit
  });
  const identity = async (t) => Object.fromEntries(await Promise.all(
    ['getAccountId', 'getAccountDescription', 'getLocalDeviceId', 'getLocalDeviceName']
      .map(async (m) => [m, await t[m]()])));

  test('the identity is the local user and host, the same for every call and tool', async () => {
    const first = await identity(tool);
    assert.deepEqual(await identity(tool), first);   // stable
    assert.deepEqual(await identity(other), first);  // and the same for every tool
    assert.equal(first.getAccountDescription, `${os.userInfo().username}@${os.hostname()}`);
    assert.equal(first.getLocalDeviceName, os.hostname());
    assert.match(first.getAccountId, /^acct-[0-9a-f]{16}$/);
    assert.match(first.getLocalDeviceId, /^dev-[0-9a-f]{16}$/);
  });

  test('generated tokens are fresh, and each is reported as a renewal', async () => {
    const seen = [];
    tool.setObserver(recorder(seen, 'loopback'));
    const tokens = [await tool.generateAccountToken(), await tool.generateAccountToken()];
    const mcp = await tool.generateMcpToken();
    assert.notEqual(tokens[0], tokens[1]);
    tokens.forEach((t) => assert.match(t, /^at\.[0-9a-f]{32}$/));
    assert.match(mcp, /^mcp\.[0-9a-f]{32}$/);
    await waitFor(() => seen.length === 3, { what: 'renewal events' });
    assert.deepEqual(seen.filter((e) => e[1] === 'onTokenUpdated').map((e) => e[2]).sort(), [...tokens].sort());
    assert.deepEqual(seen.filter((e) => e[1] === 'onMcpTokenUpdated').map((e) => e[2]), [mcp]);
  });

  test('the device list holds this machine, online, typed by platform', async () => {
    const expectedType = { linux: 'PC_LINUX', darwin: 'PC_MAC', win32: 'PC_WINDOWS' }[process.platform] || 'UNKNOWN';
    assert.deepEqual(await tool.getRemoteDeviceList(), [{
      deviceId: await tool.getLocalDeviceId(),
      deviceName: os.hostname(),
      deviceType: ombrix.RemoteDeviceType[expectedType],
      deviceStatus: ombrix.RemoteDeviceStatus.ONLINE,
    }]);
  });
});
