'use strict';
// Native memory, as bytes the process holds from malloc after GC (so node's
// own native side of each call counts too). Bytes per pending tool call with
// 100,000 pending, against the 1 KB target and the 5dc05fc build. Growth from
// 100,000 to 1,000,000 completed round trips, each build in a fresh process,
// beside the same process shape doing no-op promises instead: what allocator
// and heap noise alone come to. Each child also reports the spread of three
// samples taken at the end.
const { median, row } = require('./harness');

async function collected(emu) {
  for (let i = 0; i < 3; ++i) {
    global.gc();
    await new Promise((resolve) => setImmediate(resolve));
  }
  return emu.mallocBytes();
}

async function scriptedTool({ ombrix, emu, keep }) {
  if (emu.mallocBytes() < 0) throw new Error('mallocBytes is not known on this platform');
  emu.setMode('scripted');
  return keep(ombrix.createOmbrixClient({ serverName: 'bench-memory' })).createRemoteFileTool();
}

async function growth(ctx, n, { warm }, op) {
  const { emu } = ctx;
  const trip = async (count) => {
    for (let done = 0; done < count; done += 1000) await Promise.all(Array.from({ length: 1000 }, op));
  };
  await trip(warm);
  const start = median([await collected(emu), await collected(emu), await collected(emu)]);
  await trip(n - warm);
  const end = [await collected(emu), await collected(emu), await collected(emu)];
  return { growth: median(end) - start, noise: Math.max(...end) - Math.min(...end), start };
}

const workloads = {
  async pending(ctx, n) {
    const { emu } = ctx;
    const tool = await scriptedTool(ctx);
    // Pools and caches at their size first.
    emu.autoComplete('ReadFile', { success: true, content: 'x' });
    await Promise.all(Array.from({ length: 1000 }, () => tool.fileRead('bench', 'p')));
    emu.autoComplete('ReadFile', null);
    const before = await collected(emu);
    const pending = Array.from({ length: n }, () => tool.fileRead('bench', 'p'));
    const during = await collected(emu);
    for (const call of emu.calls('ReadFile')) emu.complete(call, { success: true });
    await Promise.all(pending);
    return { perCall: (during - before) / n };
  },
  async growth(ctx, n, args) {
    const tool = await scriptedTool(ctx);
    ctx.emu.autoComplete('ReadFile', { success: true, content: 'x' });
    return growth(ctx, n, args, () => tool.fileRead('bench', 'p'));
  },
  async growthNoop(ctx, n, args) {
    await scriptedTool(ctx);
    return growth(ctx, n, args, () => Promise.resolve());
  },
};

function groups({ subject, baseline }) {
  const pendingName = 'native bytes per pending tool call (100,000 pending)';
  const growthName = 'native growth, 100,000 → 1,000,000 round trips';
  const bytes = (pick) => ({ pick, unit: 'B' });
  return [{
    name: pendingName, n: 100000, rounds: 3,
    variants: {
      tool: { build: subject, workload: 'memory.pending' },
      old: baseline && { build: baseline, workload: 'memory.pending' },
    },
    rows: (r) => [row(pendingName, r.tool, { label: 'target', value: 1024 }, bytes((x) => x.perCall)),
      row(pendingName, r.tool, r.old, bytes((x) => x.perCall))],
  }, {
    name: growthName, n: 1000000, args: { warm: 100000 }, rounds: 1,
    variants: {
      tool: { build: subject, workload: 'memory.growth' },
      old: baseline && { build: baseline, workload: 'memory.growth' },
      noop: { build: subject, workload: 'memory.growthNoop', label: 'no-op promises, same process' },
    },
    rows: (r) => [
      row(growthName, r.tool, r.noop, { ...bytes((x) => x.growth), noRatio: true }),
      row(growthName, r.tool, r.old, { ...bytes((x) => x.growth), noRatio: true }),
      row(`${growthName}: spread of 3 end samples`, r.tool, r.noop, { ...bytes((x) => x.noise), noRatio: true }),
      row(`${growthName}: spread of 3 end samples`, r.tool, r.old, { ...bytes((x) => x.noise), noRatio: true })],
  }];
}

module.exports = { workloads, groups };
