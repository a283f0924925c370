'use strict';
// Tool promise round trips: a fileRead whose scripted result the SDK delivers
// at once from one of its threads, against fs.promises.stat (a libuv
// thread-pool round trip), at 1 and 1,000 in flight.
const fsp = require('fs').promises;
const ombrix = require('..');
const emu = require('../emulator/js');
const { compare, inFlight } = require('./harness');

async function run() {
  emu.setMode('scripted');
  emu.autoComplete('ReadFile', { success: true, content: 'x' });
  const client = ombrix.createOmbrixClient({ serverName: 'bench' });
  const tool = await client.createRemoteFileTool();
  const subjectOp = () => tool.fileRead('bench', __filename);
  const baselineOp = () => fsp.stat(__filename);
  const rows = [];
  for (const [limit, n] of [[1, 5000], [1000, 50000]]) {
    const result = await compare({
      subject: (count) => inFlight(subjectOp, count, limit),
      baseline: (count) => inFlight(baselineOp, count, limit),
      n,
    });
    rows.push({ name: `tool promise round trip, ${limit} in flight`, baselineName: 'fs.promises.stat', ...result });
  }
  emu.autoComplete('ReadFile', null);
  return rows;
}

module.exports = { run };
