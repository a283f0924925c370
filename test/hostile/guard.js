'use strict';
// Preloaded into every suite's process by `npm run test:hostile`. When the
// suite is done it lets go of what the hostile SDK still holds and fails the
// process if the module left a native object alive or answered an SDK
// callback twice, naming the seed that repeats the run.
const path = require('path');

const seed = process.env.OMBRIX_HOSTILE;
const controlSurface = path.resolve(__dirname, '../../emulator/js/index.js');

function fail(problem) {
  process.stderr.write(`hostile seed ${seed}: ${problem}\n`);
  process.exitCode = 1;
}

let checked = false;
process.on('beforeExit', async () => {
  if (checked || !require.cache[controlSurface]) return;  // suites that never load the SDK
  checked = true;
  const emu = require(controlSurface);
  emu.hostile.releaseHeld();
  for (const service of [emu.chat, emu.notification, emu.audit, emu.workspace]) service.releaseAll();
  for (let i = 0; i < 8; ++i) {  // finalizers free what the next collection can take
    global.gc();
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
  const alive = Object.entries(emu.liveObjects()).filter(([, count]) => count !== 0);
  if (alive.length) fail(`native objects still alive: ${JSON.stringify(Object.fromEntries(alive))}`);
  const duplicates = emu.driveDuplicates();
  if (duplicates) fail(`SDK callbacks answered more than once: ${duplicates}`);
});

process.on('exit', (code) => {
  if (code !== 0) process.stderr.write(`hostile seed ${seed} (exit ${code})\n`);
});
