'use strict';
// One measurement in a fresh process, so that builds whose SDK libraries share
// a name can be compared, and no row inherits another's heap:
//   node --expose-gc bench/run-one.js <root> <suite>.<workload> <n> [args JSON]
// The workload comes from this checkout; the module and control surface it
// measures come from the build at <root>, loaded only if the workload uses
// them. Prints `RESULT <json>`.
const path = require('path');

const [root, workload, n, args = '{}'] = process.argv.slice(2);
const [suite, name] = workload.split('.');

const kept = [];
const ctx = {
  // Clients live until the process ends: a collected one takes its services with it.
  keep: (object) => { kept.push(object); return object; },
  get ombrix() { return require(path.join(root, 'lib')); },
  get emu() { return require(path.join(root, 'emulator', 'js')); },
  // The bench-only addon of this checkout: the floors have no SDK to differ in.
  get floorPath() { return require('../lib/binding').helperPath('bench', 'ombrix_bench_baseline'); },
  get floor() { return require(ctx.floorPath); },
};

async function main() {
  const result = await require(`./${suite}`).workloads[name](ctx, Number(n), JSON.parse(args));
  process.stdout.write(`RESULT ${JSON.stringify(result)}\n`);
  process.exit(0);  // live clients would otherwise hold the event loop until collected
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
