'use strict';
// RemoteControlTool: scripted (argument checks and conversion, lost tool) and
// loopback (sessions that open and close, the lock screen).
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');

const ombrix = require('..');
const { rejection, collectAfterAll, clientIn, emu, scripted } = require('./helpers');

collectAfterAll(test);
const { RemoteControlUIType } = ombrix;
const SESSION = 'Expected (deviceId: string, uiType: number)';

describe('scripted', { skip: scripted }, () => {
  let client;
  let tool;
  before(async () => {
    client = clientIn('scripted', 'control');
    tool = await client.createRemoteControlTool();
  });
  after(() => {
    client = tool = null;  // collected at the end, so that the process can exit
  });

  // Completes the call `start()` makes; resolves with what the SDK received and the result.
  const sent = async (start, op) => {
    const pending = start();
    const call = await emu.nextCall(op);
    emu.complete(call, { success: true, isLocked: true });
    return [call.args, await pending];
  };

  test('an empty factory result rejects with its message', async () => {
    emu.injectFault('CreateRemoteControlTool', 'empty');
    assert.strictEqual(await rejection(client.createRemoteControlTool()), 'Failed to create RemoteControlTool');
    assert.equal(tool.constructor.name, 'RemoteControlTool');
  });

  test('wrong arguments are TypeErrors and reach no SDK call', () => {
    for (const method of ['connectToDeviceWithUI', 'disconnectFromDevice']) {
      for (const args of [[], ['d'], ['d', '1'], [1, 2], ['d', null]]) {
        assert.throws(() => tool[method](...args), { name: 'TypeError', message: SESSION });
      }
    }
    for (const args of [[], [5]]) {
      assert.throws(() => tool.getDeviceLockScreenStatus(...args),
        { name: 'TypeError', message: 'Expected (deviceId: string)' });
    }
    assert.deepEqual(emu.calls(), []);
  });

  test('connectToDeviceWithUI: the SDK receives the device and type; the result has its keys', async () => {
    assert.deepEqual(await sent(() => tool.connectToDeviceWithUI('pc', RemoteControlUIType.TERMINAL), 'ConnectToDeviceWithUI'),
      [{ deviceId: 'pc', uiType: 3 }, { success: true, errorMessage: '' }]);
  });

  test('a UI type is sent as its unsigned 32-bit integer', async () => {
    // Disconnect passes both arguments too.
    assert.deepEqual((await sent(() => tool.disconnectFromDevice('pc', -1), 'DisconnectFromDevice'))[0],
      { deviceId: 'pc', uiType: 4294967295 });
    assert.deepEqual((await sent(() => tool.connectToDeviceWithUI('pc', 2.9), 'ConnectToDeviceWithUI'))[0].uiType, 2);
  });

  test('getDeviceLockScreenStatus: the SDK receives the device; the result keeps key order', async () => {
    const [args, lock] = await sent(() => tool.getDeviceLockScreenStatus('pc'), 'GetDeviceLockScreenStatus');
    assert.deepEqual(args, { deviceId: 'pc' });
    assert.deepEqual(Object.entries(lock), [['success', true], ['isLocked', true], ['errorMessage', '']]);
  });
});

test('scripted: a tool lost before a call resolves it unsuccessfully, without calling the SDK', { skip: scripted }, async () => {
  const tool = await clientIn('scripted', 'control-lost').createRemoteControlTool();
  const destroyed = { success: false, errorMessage: 'Tool has been destroyed' };
  emu.injectWeakLockFailure('RemoteControlTool');
  assert.deepEqual(await tool.connectToDeviceWithUI('d', 0), destroyed);
  emu.injectWeakLockFailure('RemoteControlTool');
  assert.deepEqual(await tool.disconnectFromDevice('d', 0), destroyed);
  emu.injectWeakLockFailure('RemoteControlTool');
  assert.deepEqual(Object.entries(await tool.getDeviceLockScreenStatus('d')),
    [['success', false], ['isLocked', false], ['errorMessage', 'Tool has been destroyed']]);
  assert.deepEqual(emu.calls(), []);
});

test('scripted: a tool without an SDK tool rejects every call', { skip: scripted }, async () => {
  const bare = new (await clientIn('scripted', 'control-bare').createRemoteControlTool()).constructor();
  for (const call of [() => bare.connectToDeviceWithUI('d', 0), () => bare.disconnectFromDevice('d', 0),
    () => bare.getDeviceLockScreenStatus('d')]) {
    assert.equal((await rejection(call())).message, 'Tool is not initialized');
  }
});

describe('loopback', { skip: scripted }, () => {
  let tool;
  before(async () => {
    tool = await clientIn('loopback', 'control-loopback').createRemoteControlTool();
  });
  after(() => {
    tool = null;  // collected at the end: nothing native is left alive
  });

  test('sessions open and close per UI type', async () => {
    const { TERMINAL, CAMERA, ALL } = RemoteControlUIType;
    assert.deepEqual(await tool.connectToDeviceWithUI('pc', TERMINAL), { success: true, errorMessage: '' });
    assert.deepEqual(await tool.connectToDeviceWithUI('pc', TERMINAL),
      { success: false, errorMessage: 'Already connected to pc with TERMINAL' });
    assert.equal((await tool.connectToDeviceWithUI('pc', CAMERA)).success, true);
    assert.equal((await tool.disconnectFromDevice('pc', TERMINAL)).success, true);
    assert.deepEqual(await tool.disconnectFromDevice('pc', TERMINAL),
      { success: false, errorMessage: 'Not connected to pc with TERMINAL' });
    assert.equal((await tool.disconnectFromDevice('pc', ALL)).success, true);  // closes the camera
    assert.equal((await tool.disconnectFromDevice('pc', CAMERA)).success, false);
  });

  test('an unknown UI type or an empty device fails with its message', async () => {
    assert.equal((await tool.connectToDeviceWithUI('pc', 99)).errorMessage, 'Unknown UI type: 99');
    assert.equal((await tool.connectToDeviceWithUI('', RemoteControlUIType.TERMINAL)).errorMessage, 'Device id is empty');
  });

  test('the lock screen is reported as the emulator sets it', async () => {
    assert.deepEqual(await tool.getDeviceLockScreenStatus('pc'), { success: true, isLocked: false, errorMessage: '' });
    emu.setScreenLocked(true);
    try {
      assert.equal((await tool.getDeviceLockScreenStatus('pc')).isLocked, true);
    } finally {
      emu.setScreenLocked(false);
    }
  });
});
