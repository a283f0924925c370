'use strict';
// `npm start`: a narrated tour of ombrix_addon against the substitute SDK.
// Each step prints what it does and what came back; the tour ends by itself.
const ombrix = require('..');
const emu = require('../emulator/js');

const step = (() => {
  let n = 0;
  return (title) => console.log(`\n[${++n}] ${title}`);
})();

async function main() {
  step('Which SDK is this?');
  const version = ombrix.getSDKVersion();
  console.log(`    ombrix_shared ${version.version} (commit ${version.commitHash}, built ${version.buildTimestamp})`);

  step('Receive the SDK\'s log lines in JavaScript');
  const seen = [];
  ombrix.setLogger((context, message) => {
    seen.push(message);
    console.log(`    ${context.level.padEnd(7)} ${context.module}: ${message}`);
  }, ombrix.LogLevel.DEBUG);
  await emu.emitLogs({ level: ombrix.LogLevel.INFO, module: 'tour', message: 'hello from an SDK thread' });
  await emu.emitLogs({ level: ombrix.LogLevel.DEBUG, module: 'tour', message: 'lines from 3 threads', threads: 3, lines: 1 });
  await new Promise((resolve) => setTimeout(resolve, 50));
  ombrix.setLogger(null);  // an installed logger keeps the process alive
  console.log(`    ${seen.length} lines received; logger cleared`);

  step('Constants shared with the SDK');
  console.log(`    ResultCode: ${Object.keys(ombrix.ResultCode).join(', ')}`);

  console.log('\nTour complete.');
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
