'use strict';
// Module load time: require() of the module (which loads the SDK and starts
// it) in a fresh process, against the 5dc05fc build's and against require()
// of the smallest addon there is, timed inside that process.
const { row } = require('./harness');

function loadMs(load) {
  const start = process.hrtime.bigint();
  load();
  return { ms: Number(process.hrtime.bigint() - start) / 1e6 };
}

const workloads = {
  module: (ctx) => loadMs(() => ctx.ombrix),
  addon: (ctx) => {
    const file = ctx.floorPath;
    return loadMs(() => require(file));
  },
};

function groups({ subject, baseline }) {
  const name = 'module load';
  const ms = { pick: (x) => x.ms, unit: 'ms' };
  return [{
    name, n: 1, rounds: 9,
    variants: {
      module: { build: subject, workload: 'module-load.module' },
      old: baseline && { build: baseline, workload: 'module-load.module' },
      addon: { build: subject, workload: 'module-load.addon', label: 'smallest addon' },
    },
    rows: (r) => [row(name, r.module, r.old, ms), row(name, r.module, r.addon, ms)],
  }];
}

module.exports = { workloads, groups };
