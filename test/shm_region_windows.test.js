'use strict';
// ShmRegion over a named section and mutex that another process created
// (under Wine for `npm run test:windows`).
const test = require('node:test');
const assert = require('node:assert/strict');

const { ShmRegion } = require('..');
const { sectionHost } = require('./windows/hosts');

const skip = process.platform !== 'win32' && 'named sections and mutexes are Win32 objects';
const WAIT = { OBJECT_0: '0', TIMEOUT: '258' };

function openRegion(t, host) {
  const region = new ShmRegion();
  assert.equal(region.open(host.name, host.mutex), true);
  t.after(() => region.close());
  return region;
}

test('ShmRegion over a section and mutex of another process', { skip }, async (t) => {
  await t.test('the size is the mapped region, in whole pages; the data is shared', async (t) => {
    assert.equal(new ShmRegion().open(`Local\\ombrix-missing-${process.pid}`), false);
    for (const [bytes, size] of [[5000, 8192], [65536, 65536]]) {
      const host = await sectionHost(t, bytes);
      const region = openRegion(t, host);
      assert.equal(await host.ask(`write ${size - 4} 3735928559`), 'ok');
      assert.equal(region.readBytes(size - 4, 4).readUInt32LE(0), 0xdeadbeef);
      assert.deepEqual(region.readBytes(size - 2, 4), Buffer.alloc(4));  // past the end: zeros
      region.writeU32(size - 3, 1);  // past the end: dropped
      region.writeU32(4, 0x01020304);
      assert.deepEqual([await host.ask(`read ${size - 4}`), await host.ask('read 4')],
        [String(0xdeadbeef), String(0x01020304)]);
    }
  });

  await t.test('a holder makes timed locks fail; lock(-1) waits for its release', async (t) => {
    const host = await sectionHost(t, 4096);
    const region = openRegion(t, host);
    assert.equal(await host.ask('lock'), 'locked');
    assert.equal(region.lock(50), false);
    assert.equal(region.lock(0), false);
    const unlocked = host.nextLine();
    await host.write('unlock-after 12648430');  // writes, then releases 100 ms later
    assert.equal(region.lock(-1), true);
    assert.equal(region.readBytes(0, 4).readUInt32LE(0), 12648430);
    assert.equal(await unlocked, 'unlocked');
    assert.equal(await host.ask('trylock'), WAIT.TIMEOUT);
    region.unlock();
    assert.equal(await host.ask('trylock'), WAIT.OBJECT_0);
  });

  await t.test('two regions on one mutex both lock in one thread; free after both', async (t) => {
    const host = await sectionHost(t, 4096);
    const first = openRegion(t, host);
    const second = openRegion(t, host);
    assert.equal(first.lock(), true);
    assert.equal(second.lock(), true);
    first.close();  // releases its level; the other one still holds
    assert.equal(await host.ask('trylock'), WAIT.TIMEOUT);
    second.unlock();
    assert.equal(await host.ask('trylock'), WAIT.OBJECT_0);
  });

  await t.test('a holder that dies abandons the mutex: one failed lock, then owned here', async (t) => {
    const holder = await sectionHost(t, 4096);
    const region = openRegion(t, holder);
    assert.equal(await holder.ask('lock'), 'locked');
    holder.kill();
    await holder.exited;
    assert.equal(region.lock(0), false);  // abandoned: owned now, but not "locked"
    assert.equal(region.lock(0), true);   // recursive for the owning thread
    region.unlock();
    // The abandoned level is never released by the region.
    const other = await sectionHost(t, 4096, holder);
    assert.equal(await other.ask('trylock'), WAIT.TIMEOUT);
  });
});
