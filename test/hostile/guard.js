'use strict';
// Preloaded into every suite's process by `npm run test:hostile`. It fails
// the process on an unhandled rejection the API guide does not name, and,
// when the suite is done, lets go of what the hostile SDK still holds and
// fails it if the module left a native object alive or answered an SDK
// callback twice; each failure names the seed that repeats the run.
const path = require('path');

const seed = process.env.OMBRIX_HOSTILE;
const controlSurface = path.resolve(__dirname, '../../emulator/js/index.js');

function fail(problem) {
  process.stderr.write(`hostile seed ${seed}: ${problem}\n`);
  process.exitCode = 1;
}

// The one unhandled rejection the API guide names: a service's answer whose
// "code" is not a number, where no type test is made.
function named(reason) {
  return reason instanceof TypeError && reason.message === 'A number was expected';
}
process.on('unhandledRejection', (reason) => {
  if (!named(reason)) fail(`unhandled rejection: ${reason && reason.stack ? reason.stack : reason}`);
});

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
  const struck = Object.entries(emu.hostile.status().habits).filter(([, times]) => times > 0);
  process.stderr.write(`hostile ${path.basename(process.argv[1] || '')}: ${struck.map(([habit, times]) => `${habit} ${times}`).join(', ') || 'no habit struck'}\n`);
});

process.on('exit', (code) => {
  if (code !== 0) process.stderr.write(`hostile seed ${seed} (exit ${code})\n`);
});
