'use strict';
// `npm run bench`: every figure as a ratio to a baseline measured in the same
// run. Prints one table and writes bench/results.json.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { printTable } = require('./harness');

const suites = [require('./promise-roundtrip'), require('./js-services'), require('./memory'),
  require('./loopback-tools'), require('./module-load')];

async function main() {
  const rows = [];
  for (const suite of suites) rows.push(...await suite.run());
  printTable(rows);
  const machine = { cpus: os.cpus().length, model: os.cpus()[0].model, node: process.version, platform: `${os.platform()} ${os.release()}` };
  fs.writeFileSync(path.join(__dirname, 'results.json'), `${JSON.stringify({ machine, rows }, null, 2)}\n`);
  process.exit(0);  // live clients would otherwise hold the event loop until collected
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
