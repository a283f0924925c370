'use strict';
// Results of one kind share a channel per environment that holds the event
// loop only while calls of any kind are outstanding: every way a call can end
// must let go of it, or the process never ends by itself.
const test = require('node:test');
const assert = require('node:assert/strict');
const { runNode, scripted } = require('./helpers');

test('calls answered, dropped by the SDK or refused as they start let the process end by itself', { skip: scripted }, async () => {
  const source = `
    const ombrix = require('.');
    const emu = require('./emulator/js');
    emu.setMode('scripted');
    const client = ombrix.createOmbrixClient({ serverName: 'idle' });
    (async () => {
      const files = await client.createRemoteFileTool();
      const account = await client.createAccountTool();
      const read = files.fileRead('d', 'p');
      const devices = account.getRemoteDeviceList();
      const workspace = client.getFernwickWorkspace();
      emu.injectFault('WriteFile', 'throw');
      let refused = 'no';
      try { await files.fileWrite('d', 'p', 'x'); } catch (e) { refused = e.code; }
      for (const call of emu.calls()) {
        if (call.op === 'ReadFile') emu.complete(call, { success: true, content: 'x' });
        if (call.op === 'GetRemoteDeviceList') emu.drop(call);
        if (call.op === 'GetFernwickWorkspace') emu.complete(call, '/tmp/w');
      }
      const settled = await Promise.allSettled([read, devices, workspace]);
      client.close();
      console.log(JSON.stringify([refused, ...settled.map((s) => s.status)]));
    })();`;
  const { code, stdout, stderr, timedOut } = await runNode(source, { timeoutMs: 20000 });
  assert.equal(timedOut, false, 'a settled call kept the event loop alive');
  assert.equal(code, 0, stderr);
  assert.deepEqual(JSON.parse(stdout), ['ERR_OMBRIX_SDK_FAILURE', 'fulfilled', 'rejected', 'fulfilled']);
});
