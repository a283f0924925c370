'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { execFileSync, spawn } = require('child_process');
const fs = require('fs');

const { ShmRegion } = require('..');
const { root, runNode, nodeEnv } = require('./helpers');

// On Linux /dev/shm/X is the POSIX shared-memory object "/X": the tests play
// the process that creates the sections. On Windows section_host.exe does.
const windows = process.platform === 'win32';
const skip = process.platform !== 'linux' && 'sections are created through /dev/shm';
const shared = skip && !windows && 'sections are created through /dev/shm or by section_host.exe';
// POSIX-only cases are not registered on Windows.
const posixTest = windows ? () => {} : test;
const PAGE = windows ? 4096 : skip ? 0 : Number(execFileSync('getconf', ['PAGESIZE'], { encoding: 'utf8' }));

let serial = 0;
/** A fresh section of `bytes` (or named `name`); its mutex name is section.mutex. Removed after the test. */
function makeSection(t, bytes, name = `ombrix-test-${process.pid}-${++serial}`) {
  const section = { name, file: `/dev/shm/${name}`, mutex: `${name}-lock` };
  fs.writeFileSync(section.file, bytes);
  t.after(() => {
    fs.rmSync(section.file, { force: true });
    fs.rmSync(`/dev/shm/${section.mutex}.mutex`, { force: true });
  });
  return section;
}

/**
 * A section of `bytes` zeros owned by another party (this process through
 * /dev/shm, or section_host.exe), with `read32`/`write32` of the owner's view.
 */
async function ownedSection(t, bytes, name) {
  if (windows) {
    const { sectionHost } = require('./windows/hosts');
    const host = await sectionHost(t, bytes, name && { name: `Local\\${name}`, mutex: `Local\\${name}-lock` });
    return Object.assign(host, {
      read32: async (offset) => Number(await host.ask(`read ${offset}`)),
      write32: async (offset, value) => assert.equal(await host.ask(`write ${offset} ${value >>> 0}`), 'ok'),
    });
  }
  const section = makeSection(t, Buffer.alloc(bytes), name);
  return Object.assign(section, {
    read32: async (offset) => fs.readFileSync(section.file).readUInt32LE(offset),
    write32: async (offset, value) => {
      const word = Buffer.alloc(4);
      word.writeUInt32LE(value >>> 0);
      const fd = fs.openSync(section.file, 'r+');
      fs.writeSync(fd, word, 0, 4, offset);
      fs.closeSync(fd);
    },
  });
}

function openRegion(t, section, withMutex = true) {
  const region = new ShmRegion();
  const opened = withMutex ? region.open(section.name, section.mutex) : region.open(section.name);
  assert.equal(opened, true);
  t.after(() => region.close());
  return region;
}

const error = (Class, message) => (e) => e.constructor === Class && e.message === message;

/** What lock(timeoutMs) answers in another process. */
async function lockElsewhere(section, timeoutMs) {
  const { code, stdout, stderr } = await runNode(`
    const r = new (require('.').ShmRegion)();
    if (!r.open(${JSON.stringify(section.name)}, ${JSON.stringify(section.mutex)})) process.exit(2);
    process.stdout.write(String(r.lock(${timeoutMs})));`);
  assert.equal(code, 0, stderr);
  return JSON.parse(stdout);
}

/**
 * A child process that holds the section's mutex. On "release" it writes
 * `marker` at offset 0 shortly afterwards and then unlocks.
 */
async function holder(t, section, marker = 0) {
  const child = spawn(process.execPath, ['-e', `
    const r = new (require('.').ShmRegion)();
    const names = [${JSON.stringify(section.name)}, ${JSON.stringify(section.mutex)}];
    if (!r.open(...names) || !r.lock(-1)) process.exit(2);
    process.stdout.write('held\\n');
    process.stdin.once('data', () => setTimeout(() => {
      r.writeU32(0, ${marker});
      r.unlock();
      process.stdout.write('released\\n');
      process.stdin.destroy();
    }, 100));`], { cwd: root, env: nodeEnv(), stdio: ['pipe', 'pipe', 'inherit'] });
  t.after(() => child.kill('SIGKILL'));
  const lines = [];
  child.stdout.setEncoding('utf8').on('data', (d) => lines.push(...d.split('\n').filter(Boolean)));
  child.exited = new Promise((resolve) => child.on('exit', resolve));
  await new Promise((resolve, reject) => {
    child.stdout.on('data', () => lines.includes('held') && resolve());
    child.on('exit', (code) => reject(new Error(`holder exited with ${code}`)));
  });
  child.release = () => new Promise((resolve) => child.stdin.write('release\n', resolve));
  child.lines = lines;
  return child;
}

test('ShmRegion', { skip: shared }, async (t) => {
  await t.test('has its members in order, isOpen read-only, and a tagged receiver', () => {
    assert.deepEqual(Object.getOwnPropertyNames(ShmRegion.prototype),
      ['open', 'close', 'isOpen', 'lock', 'unlock', 'readBytes', 'writeU32', 'constructor']);
    const isOpen = Object.getOwnPropertyDescriptor(ShmRegion.prototype, 'isOpen');
    assert.equal(typeof isOpen.get, 'function');
    assert.equal(isOpen.set, undefined);
    assert.throws(() => ShmRegion.prototype.lock.call({}), error(TypeError, 'Illegal invocation'));
  });

  await t.test('open takes a string name and opens only existing sections, non-ASCII names too', async (t) => {
    const region = new ShmRegion();
    assert.equal(region.isOpen, false);
    assert.throws(() => region.open(), error(TypeError, 'Expected shmName string'));
    assert.throws(() => region.open(5, 'm'), error(TypeError, 'Expected shmName string'));
    assert.equal(region.open(`ombrix-missing-${process.pid}`), false);
    assert.equal(region.open(''), false);
    if (!windows) assert.equal(region.open('a/b'), false);
    assert.equal(region.isOpen, false);

    const accented = await ownedSection(t, 64, `ombrix-é✓-${process.pid}`);
    await accented.write32(0, 7);
    assert.equal(openRegion(t, accented).readBytes(0, 4).readUInt32LE(0), 7);
  });

  await t.test('Local\\ and Global\\ names', async (t) => {
    if (windows) {  // two namespaces: a Global\ section is its own object
      const { sectionHost } = require('./windows/hosts');
      const id = `ombrix-global-${process.pid}`;
      const host = await sectionHost(t, 64, { name: `Global\\${id}`, mutex: `Global\\${id}-lock` });
      const region = openRegion(t, host);
      region.writeU32(0, 0x11223344);
      assert.equal(await host.ask('read 0'), String(0x11223344));
      assert.equal(new ShmRegion().open(`Local\\${id}`), false);
    } else {  // one namespace per machine: both name the same object
      const section = makeSection(t, Buffer.alloc(64));
      const local = openRegion(t, { name: `Local\\${section.name}` }, false);
      const global = openRegion(t, { name: `Global\\${section.name}` }, false);
      local.writeU32(0, 0x11223344);
      assert.equal(global.readBytes(0, 4).readUInt32LE(0), 0x11223344);
    }
  });

  await t.test('checks state before arguments', () => {
    const region = new ShmRegion();
    for (const call of [() => region.readBytes(), () => region.readBytes('x', -1),
      () => region.writeU32(), () => region.writeU32(-1, NaN)]) {
      assert.throws(call, error(Error, 'ShmRegion is not open'));
    }
  });

  await t.test('lock is non-recursive per region; without a mutex it succeeds at once', async (t) => {
    const region = openRegion(t, await ownedSection(t, 16), false);
    assert.equal(region.lock(), true);
    assert.throws(() => region.lock(), error(Error, 'ShmRegion already locked (non-recursive)'));
    region.unlock();
    region.unlock();  // not locked: nothing happens
    assert.equal(region.lock(0), true);
    region.close();
    assert.equal(new ShmRegion().lock(), true);  // closed: no mutex either
  });

  await t.test('readBytes and writeU32 refuse arguments that are not numbers', async (t) => {
    const region = openRegion(t, await ownedSection(t, 16), false);
    for (const args of [[1], ['1', 2], [1, '2'], [null, 1]]) {
      assert.throws(() => region.readBytes(...args),
        error(TypeError, 'Expected (offset: number, length: number)'));
      assert.throws(() => region.writeU32(...args),
        error(TypeError, 'Expected (offset: number, value: number)'));
    }
  });

  await t.test('readBytes and writeU32 refuse numbers outside uint32, writing nothing', async (t) => {
    const region = openRegion(t, await ownedSection(t, 16), false);
    for (const bad of [-1, -0.5, NaN, 4294967296, Infinity]) {
      assert.throws(() => region.readBytes(bad, 1),
        error(RangeError, 'offset and length must be non-negative uint32'));
      assert.throws(() => region.readBytes(0, bad),
        error(RangeError, 'offset and length must be non-negative uint32'));
      assert.throws(() => region.writeU32(bad, 1),
        error(RangeError, 'offset and value must be non-negative uint32'));
      assert.throws(() => region.writeU32(0, bad),
        error(RangeError, 'offset and value must be non-negative uint32'));
    }
    assert.deepEqual([...region.readBytes(0, 4)], [0, 0, 0, 0]);  // nothing written by the throws
  });

  await t.test('the largest offsets are bounded without 32-bit wrap-around', async (t) => {
    const region = openRegion(t, await ownedSection(t, 16), false);
    assert.deepEqual(region.readBytes(4294967295, 0), Buffer.alloc(0));
    assert.deepEqual(region.readBytes(4294967295, 1), Buffer.alloc(1));
    region.writeU32(4294967295, 4294967295);
    region.writeU32(4294967292, 1);
    region.writeU32(0, 4294967295);
    assert.deepEqual([...region.readBytes(0, 4)], [255, 255, 255, 255]);
  });

  await t.test('reads and writes the whole pages of the section, shared with its owner', async (t) => {
    const section = await ownedSection(t, 100);
    const bytes = Buffer.from(Array.from({ length: 100 }, (_, i) => i));
    for (let offset = 0; offset < 100; offset += 4) await section.write32(offset, bytes.readUInt32LE(offset));
    const region = openRegion(t, section, false);

    const empty = region.readBytes(0, 0);
    assert.ok(Buffer.isBuffer(empty) && empty.length === 0);
    assert.deepEqual(region.readBytes(0, 100), bytes);
    assert.deepEqual([...region.readBytes(1.9, 2)], [1, 2]);  // fractions are cut

    region.writeU32(8, 0x04030201);
    region.writeU32(20.9, 5.7);
    assert.equal(await section.read32(8), 0x04030201);  // little-endian in the owner's view
    assert.equal(await section.read32(20), 5);
    await section.write32(48, 0x00070809);
    assert.deepEqual([...region.readBytes(48, 3)], [9, 8, 7]);

    // The size is whole pages.
    region.writeU32(200, 0xdeadbeef);
    assert.equal(region.readBytes(200, 4).readUInt32LE(0), 0xdeadbeef);
    region.writeU32(PAGE - 4, 0x01020304);
    assert.equal(region.readBytes(PAGE - 4, 4).readUInt32LE(0), 0x01020304);
    assert.deepEqual(region.readBytes(PAGE - 2, 4), Buffer.alloc(4));  // past the end: zeros
    region.writeU32(PAGE - 3, 0xffffffff);  // past the end: dropped
    assert.deepEqual([...region.readBytes(PAGE - 4, 4)], [4, 3, 2, 1]);
  });

  // A Windows section cannot shrink.
  if (!windows) await t.test('a section its owner shrinks reads zeros and drops writes past its new end', { skip }, (t) => {
    const section = makeSection(t, Buffer.alloc(3 * PAGE, 1));
    const region = openRegion(t, section, false);
    fs.truncateSync(section.file, PAGE + 10);
    // The region keeps its size; pages past the object's end are not touched.
    assert.deepEqual(region.readBytes(2 * PAGE, 4), Buffer.alloc(4));
    region.writeU32(2 * PAGE + 8, 0xdeadbeef);
    assert.deepEqual([...region.readBytes(PAGE + 6, 4)], [1, 1, 1, 1]);  // the page holding the end reads
    assert.deepEqual([...region.readBytes(PAGE + 10, 2)], [0, 0]);  // past the end within it: zeros
    fs.truncateSync(section.file, 3 * PAGE);  // grown back: the pages read again
    region.writeU32(2 * PAGE + 8, 7);
    assert.equal(region.readBytes(2 * PAGE + 8, 4).readUInt32LE(0), 7);
  });

  await t.test('a second open keeps the first section; close, then open takes the new names', async (t) => {
    const first = await ownedSection(t, 4);
    const second = await ownedSection(t, 4);
    await first.write32(0, 1);
    await second.write32(0, 2);
    const region = openRegion(t, first, false);
    assert.equal(region.open(second.name, second.mutex), true);
    assert.equal(region.readBytes(0, 1)[0], 1);
    if (!windows) assert.equal(fs.existsSync(`/dev/shm/${second.mutex}.mutex`), false);
    region.close();
    region.close();
    assert.equal(region.isOpen, false);
    assert.equal(region.open(second.name, second.mutex), true);
    assert.equal(region.readBytes(0, 1)[0], 2);
    // The mutex is created on first use, under the documented name.
    if (!windows) assert.equal(fs.existsSync(`/dev/shm/${second.mutex}.mutex`), true);
  });

  await t.test('a mutex that does not exist yet is created by open; a region collected while locked leaves it with this thread', async (t) => {
    const section = await ownedSection(t, 16);
    const fresh = `${section.mutex}-fresh-${++serial}`;
    if (!windows) t.after(() => fs.rmSync(`/dev/shm/${fresh}.mutex`, { force: true }));
    const created = openRegion(t, { name: section.name, mutex: fresh });
    assert.equal(created.lock(0), true);
    created.unlock();

    const heldElsewhere = windows ? async () => (await section.ask('trylock')) === '258'
      : async () => !(await lockElsewhere(section, 0));
    let region = new ShmRegion();
    assert.equal(region.open(section.name, section.mutex), true);
    assert.equal(region.lock(-1), true);
    assert.equal(await heldElsewhere(), true);
    region = null;
    for (let i = 0; i < 4; ++i) {
      global.gc();
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
    // Its handles are closed, but the level it held stays with this thread,
    // as a Windows mutex stays with its owning thread: others wait, this
    // thread may take it again.
    assert.equal(await heldElsewhere(), true);
    const again = openRegion(t, section);
    assert.equal(again.lock(0), true);
    again.unlock();
  });
});

// Windows: shm_region_windows.test.js holds the same cases against section_host.exe.
posixTest('ShmRegion mutex across processes', { skip }, async (t) => {
  await t.test('a holder makes a timed lock fail; lock(-1) waits for its release', async (t) => {
    const section = makeSection(t, Buffer.alloc(16));
    const region = openRegion(t, section);
    const child = await holder(t, section, 0xc0ffee);
    assert.equal(region.lock(50), false);
    assert.equal(region.lock(0), false);
    await child.release();
    assert.equal(region.lock(-1), true);
    assert.equal(region.readBytes(0, 4).readUInt32LE(0), 0xc0ffee);  // written before the release
    region.unlock();
    await child.exited;
    assert.ok(child.lines.includes('released'));
  });

  await t.test('close while locked releases the mutex', async (t) => {
    const section = makeSection(t, Buffer.alloc(16));
    const region = openRegion(t, section);
    assert.equal(region.lock(), true);
    assert.equal(await lockElsewhere(section, 0), false);
    region.close();
    assert.equal(await lockElsewhere(section, 0), true);
  });

  await t.test('two regions on one mutex both lock in one thread; free after both', async (t) => {
    const section = makeSection(t, Buffer.alloc(16));
    const first = openRegion(t, section);
    const second = openRegion(t, section);
    assert.equal(first.lock(), true);
    assert.equal(second.lock(), true);
    first.close();  // releases its level; the other one still holds
    assert.equal(await lockElsewhere(section, 0), false);
    second.unlock();
    assert.equal(await lockElsewhere(section, 0), true);
  });

  await t.test('a dead owner abandons the mutex: one failed lock, then owned here', async (t) => {
    const section = makeSection(t, Buffer.alloc(16));
    const region = openRegion(t, section);
    const child = await holder(t, section);
    child.kill('SIGKILL');
    await child.exited;
    assert.equal(region.lock(0), false);  // abandoned: now owned, but not "locked"
    assert.equal(region.lock(0), true);   // recursive for the owning thread
    region.unlock();
    // The abandoned level is never released by the region, so other
    // processes stay locked out while this thread lives.
    assert.equal(await lockElsewhere(section, 0), false);
  });
});

const notRoot = !skip && process.getuid() !== 0 && 'making objects of another user needs root';
// Windows keeps Local\ names per session: no other user can take one.
posixTest('ShmRegion refuses a section or mutex object of another user, with a warning', { skip: skip || notRoot }, async (t) => {
  const { setLogger } = require('..');
  const warnings = [];
  setLogger((context, message) => { if (context.level === 'WARNING') warnings.push(message); });
  t.after(() => setLogger(null));
  const foreign = makeSection(t, Buffer.alloc(64));
  fs.chownSync(foreign.file, 65534, 65534);
  assert.equal(new ShmRegion().open(foreign.name), false);

  // A zero-size object planted under the mutex's name is neither waited for nor locked.
  const mine = makeSection(t, Buffer.alloc(64));
  const planted = `/dev/shm/${mine.mutex}.mutex`;
  fs.writeFileSync(planted, '');
  fs.chownSync(planted, 65534, 65534);
  const region = new ShmRegion();
  assert.equal(region.open(mine.name, mine.mutex), false);
  assert.equal(region.isOpen, false);
  assert.equal(fs.statSync(planted).size, 0);

  const { waitFor } = require('./helpers');
  await waitFor(() => warnings.length === 2, { what: 'two warnings' });
  assert.match(warnings[0], new RegExp(`"${foreign.name}" belongs to another user \\(uid 65534\\): refused`));
  assert.match(warnings[1], new RegExp(`"${mine.mutex}" belongs to another user`));
});

