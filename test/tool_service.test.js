'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { rejection, collectAfterAll } = require('./helpers');

collectAfterAll(test);

function announcedService(client) {
  return new Promise((resolve) => client.setObserver({ onNewToolService: resolve }));
}

test('tool service: listing, calls, cancellation and failures (scripted)', async () => {
  emu.setMode('scripted');
  const client = ombrix.createOmbrixClient({ serverName: 'service' });
  const announced = announcedService(client);
  emu.announceToolService();
  const service = await announced;

  const listed = service.listTools('ignored', 1);
  const listCall = await emu.nextCall('ListTools');
  emu.complete(listCall, { success: true, data: '[{"name":"x"}]' });
  assert.deepEqual(await listed, { success: true, errorMessage: '', data: '[{"name":"x"}]' });

  assert.throws(() => service.call('x'), {
    name: 'TypeError', message: 'Expected (toolName: string, arguments: string, signal?: AbortSignal)',
  });
  const controller = new AbortController();
  const called = service.call('x', '{"a":1}', controller.signal);
  const call = await emu.nextCall('CallTool');
  assert.deepEqual([call.args.toolName, call.args.arguments], ['x', '{"a":1}']);
  controller.abort();
  assert.equal(emu.isCancelled(call), true);
  emu.complete(call, { success: false, errorMessage: 'Cancelled' });
  assert.equal((await called).errorMessage, 'Cancelled');

  // A third argument that is not an object makes the call uncancellable, not invalid.
  const plain = service.call('x', '', 'not a signal');
  emu.complete(await emu.nextCall('CallTool'), { success: true, data: 'ok' });
  assert.equal((await plain).data, 'ok');

  const bare = new service.constructor();
  assert.equal((await rejection(bare.listTools())).message, 'Tool service is not initialized');
  assert.equal((await rejection(bare.call('x', ''))).message, 'Tool service is not initialized');
});

test('loopback: the announced tool service lists and runs real tools', async () => {
  const { clientIn } = require('./helpers');
  const client = clientIn('loopback');
  const service = await announcedService(client);  // announced once connected
  const listed = await service.listTools();
  assert.equal(listed.success, true);
  assert.deepEqual(JSON.parse(listed.data).map((tool) => tool.name), ['echo', 'time', 'system_info', 'sleep']);

  assert.deepEqual(JSON.parse((await service.call('echo', '{"a":[1,"b"]}')).data), { a: [1, 'b'] });
  const info = JSON.parse((await service.call('system_info', '')).data);
  assert.equal(info.hostname, require('os').hostname());
  assert.equal((await service.call('nope', '{}')).errorMessage, 'Unknown tool: nope');
  assert.match((await service.call('echo', '{broken')).errorMessage, /^Invalid arguments/);

  const controller = new AbortController();
  const sleeping = service.call('sleep', '{"ms":30000}', controller.signal);
  setTimeout(() => controller.abort(), 20);
  assert.deepEqual(await sleeping, { success: false, errorMessage: 'Cancelled', data: '' });
});
