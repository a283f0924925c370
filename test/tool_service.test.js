'use strict';
const test = require('node:test');
const { describe, before, after } = test;
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { rejection, collectAfterAll, clientIn } = require('./helpers');

collectAfterAll(test);

function announcedService(client) {
  return new Promise((resolve) => client.setObserver({ onNewToolService: resolve }));
}

describe('tool service (scripted)', () => {
  let service;
  before(async () => {
    emu.setMode('scripted');
    const client = ombrix.createOmbrixClient({ serverName: 'service' });
    const announced = announcedService(client);
    await emu.announceToolService();
    service = await announced;
  });
  after(() => {
    service = null;  // collected at the end: nothing native is left alive
  });

  test('listTools resolves with the SDK record, every key in order', async () => {
    const listed = service.listTools('ignored', 1);
    emu.complete(await emu.nextCall('ListTools'), { success: true, data: '[{"name":"x"}]' });
    assert.deepEqual(await listed, { success: true, errorMessage: '', data: '[{"name":"x"}]' });
  });

  test('call without its arguments is a TypeError naming the signature', () => {
    assert.throws(() => service.call('x'), {
      name: 'TypeError', message: 'Expected (toolName: string, arguments: string, signal?: AbortSignal)',
    });
  });

  test('call: the SDK receives the tool name and arguments; an abort cancels it', async () => {
    const controller = new AbortController();
    const called = service.call('x', '{"a":1}', controller.signal);
    const call = await emu.nextCall('CallTool');
    assert.deepEqual([call.args.toolName, call.args.arguments], ['x', '{"a":1}']);
    controller.abort();
    assert.equal(emu.isCancelled(call), true);
    emu.complete(call, { success: false, errorMessage: 'Cancelled' });
    assert.equal((await called).errorMessage, 'Cancelled');
  });

  test('call: a third argument that is not a signal makes it uncancellable, not invalid', async () => {
    const plain = service.call('x', '', 'not a signal');
    emu.complete(await emu.nextCall('CallTool'), { success: true, data: 'ok' });
    assert.equal((await plain).data, 'ok');
  });

  test('a service without an SDK service rejects both methods', async () => {
    const bare = new service.constructor();
    assert.equal((await rejection(bare.listTools())).message, 'Tool service is not initialized');
    assert.equal((await rejection(bare.call('x', ''))).message, 'Tool service is not initialized');
  });
});

describe('tool service (loopback)', () => {
  let service;
  before(async () => {
    service = await announcedService(clientIn('loopback'));  // announced once connected
  });
  after(() => {
    service = null;  // collected at the end: nothing native is left alive
  });

  test('lists the real tools', async () => {
    const listed = await service.listTools();
    assert.equal(listed.success, true);
    assert.deepEqual(JSON.parse(listed.data).map((tool) => tool.name), ['echo', 'time', 'system_info', 'sleep']);
  });

  test('runs real tools: echo returns its arguments, system_info names this host', async () => {
    assert.deepEqual(JSON.parse((await service.call('echo', '{"a":[1,"b"]}')).data), { a: [1, 'b'] });
    const info = JSON.parse((await service.call('system_info', '')).data);
    assert.equal(info.hostname, require('os').hostname());
  });

  test('an unknown tool or unreadable arguments fail with their messages', async () => {
    assert.equal((await service.call('nope', '{}')).errorMessage, 'Unknown tool: nope');
    assert.match((await service.call('echo', '{broken')).errorMessage, /^Invalid arguments/);
  });

  test('a running tool stops when its call is aborted', async () => {
    const controller = new AbortController();
    const sleeping = service.call('sleep', '{"ms":30000}', controller.signal);
    setTimeout(() => controller.abort(), 20);
    assert.deepEqual(await sleeping, { success: false, errorMessage: 'Cancelled', data: '' });
  });
});
