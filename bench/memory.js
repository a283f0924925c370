'use strict';
// Native memory: bytes per pending tool call with 10,000 pending, against the
// target and against the floor of a design with a thread-safe function per
// call (node's own side of such a function, and a Deferred); and growth over
// 1,000,000 completed round trips (after a warm-up, so pools and caches are
// already at their size). Measured as bytes the process holds from malloc, so
// node's own native side of each call counts too.
const ombrix = require('..');
const emu = require('../emulator/js');
const { helperPath, load } = require('../lib/binding');

const floor = load(helperPath('bench', 'ombrix_bench_baseline'));

async function collected() {
  for (let i = 0; i < 3; ++i) {
    global.gc();
    await new Promise((resolve) => setImmediate(resolve));
  }
  return emu.mallocBytes();
}

async function run() {
  if (emu.mallocBytes() < 0) return [];
  emu.setMode('scripted');
  const client = ombrix.createOmbrixClient({ serverName: 'bench-memory' });
  const tool = await client.createRemoteFileTool();

  const before = await collected();
  const pending = Array.from({ length: 10000 }, () => tool.fileRead('bench', 'p'));
  const during = await collected();
  for (const call of emu.calls('ReadFile')) emu.complete(call, { success: true });
  await Promise.all(pending);
  const perCall = (during - before) / 10000;

  const floorBefore = await collected();
  const held = floor.hold(10000);
  const floorPerCall = (await collected() - floorBefore) / 10000;
  floor.sendHeld();
  await Promise.all(held);

  emu.autoComplete('ReadFile', { success: true, content: 'x' });
  const trip = async (n) => {
    for (let done = 0; done < n; done += 1000) {
      await Promise.all(Array.from({ length: 1000 }, () => tool.fileRead('bench', 'p')));
    }
  };
  await trip(100000);
  const warm = await collected();
  await trip(1000000);
  const after = await collected();
  emu.autoComplete('ReadFile', null);
  const growth = after - warm;
  return [
    { name: 'native bytes per pending call (10,000 pending)', subject: perCall, baselineName: 'target bytes',
      baseline: 1024, ratio: perCall / 1024, spread: 0, unit: 'B' },
    { name: 'native bytes per pending call (10,000 pending)', subject: perCall, baselineName: 'per-call-TSFN floor bytes',
      baseline: floorPerCall, ratio: perCall / floorPerCall, spread: 0, unit: 'B' },
    { name: 'native growth over 1,000,000 round trips (bytes)', subject: growth, baselineName: 'heap at start',
      baseline: warm, ratio: growth / warm, spread: 0, unit: 'B' },
  ];
}

module.exports = { run };
