'use strict';
// Module load time: require() of the module (which loads the SDK and starts
// it) against require() of the smallest addon, each in a fresh process,
// timed inside that process.
const { execFileSync } = require('child_process');
const path = require('path');
const { helperPath } = require('../lib/binding');
const { median } = require('./harness');

function loadMs(target) {
  const source = `const t = process.hrtime.bigint(); require(${JSON.stringify(target)});
    process.stdout.write(String(Number(process.hrtime.bigint() - t) / 1e6)); process.exit(0);`;
  return Number(execFileSync(process.execPath, ['-e', source], { encoding: 'utf8' }));
}

async function run() {
  const moduleMs = [];
  const floorMs = [];
  for (let i = 0; i < 9; ++i) {
    moduleMs.push(loadMs(path.resolve(__dirname, '..')));
    floorMs.push(loadMs(helperPath('bench', 'ombrix_bench_baseline')));
  }
  const subject = median(moduleMs);
  const baseline = median(floorMs);
  const ratios = moduleMs.map((m, i) => m / floorMs[i]);
  return [{ name: 'module load (ms)', subject, baselineName: 'smallest addon (ms)', baseline,
    ratio: subject / baseline, spread: (Math.max(...ratios) - Math.min(...ratios)) / (subject / baseline), unit: 'ms' }];
}

module.exports = { run };
