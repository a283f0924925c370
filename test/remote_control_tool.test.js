'use strict';
// RemoteControlTool: scripted (argument checks and conversion, lost tool) and
// loopback (sessions that open and close, the lock screen).
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const { rejection, collectAfterAll, clientIn, emu, scripted } = require('./helpers');

collectAfterAll(test);
const { RemoteControlUIType } = ombrix;
const SESSION = 'Expected (deviceId: string, uiType: number)';

test('scripted: factory, argument checks and the values the SDK receives', { skip: scripted }, async () => {
  const client = clientIn('scripted', 'control');
  emu.injectFault('CreateRemoteControlTool', 'empty');
  assert.strictEqual(await rejection(client.createRemoteControlTool()), 'Failed to create RemoteControlTool');
  const tool = await client.createRemoteControlTool();
  assert.equal(tool.constructor.name, 'RemoteControlTool');
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

  const sent = async (start, op) => {
    const pending = start();
    const call = await emu.nextCall(op);
    emu.complete(call, { success: true, isLocked: true });
    return [call.args, await pending];
  };
  assert.deepEqual(await sent(() => tool.connectToDeviceWithUI('pc', RemoteControlUIType.TERMINAL), 'ConnectToDeviceWithUI'),
    [{ deviceId: 'pc', uiType: 3 }, { success: true, errorMessage: '' }]);
  // Disconnect passes both arguments; a negative type is its unsigned 32-bit value.
  assert.deepEqual((await sent(() => tool.disconnectFromDevice('pc', -1), 'DisconnectFromDevice'))[0],
    { deviceId: 'pc', uiType: 4294967295 });
  assert.deepEqual((await sent(() => tool.connectToDeviceWithUI('pc', 2.9), 'ConnectToDeviceWithUI'))[0].uiType, 2);
  const [args, lock] = await sent(() => tool.getDeviceLockScreenStatus('pc'), 'GetDeviceLockScreenStatus');
  assert.deepEqual(args, { deviceId: 'pc' });
  assert.deepEqual(Object.entries(lock), [['success', true], ['isLocked', true], ['errorMessage', '']]);
});

test('scripted: a lost tool resolves unsuccessfully, a missing one rejects', { skip: scripted }, async () => {
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
  const bare = new tool.constructor();
  for (const call of [() => bare.connectToDeviceWithUI('d', 0), () => bare.disconnectFromDevice('d', 0),
    () => bare.getDeviceLockScreenStatus('d')]) {
    assert.equal((await rejection(call())).message, 'Tool is not initialized');
  }
});

test('loopback: sessions open and close per UI type; the lock screen is reported', { skip: scripted }, async () => {
  const tool = await clientIn('loopback', 'control-loopback').createRemoteControlTool();
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
  assert.equal((await tool.connectToDeviceWithUI('pc', 99)).errorMessage, 'Unknown UI type: 99');
  assert.equal((await tool.connectToDeviceWithUI('', TERMINAL)).errorMessage, 'Device id is empty');

  assert.deepEqual(await tool.getDeviceLockScreenStatus('pc'), { success: true, isLocked: false, errorMessage: '' });
  emu.setScreenLocked(true);
  try {
    assert.equal((await tool.getDeviceLockScreenStatus('pc')).isLocked, true);
  } finally {
    emu.setScreenLocked(false);
  }
});
