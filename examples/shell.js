'use strict';
// Remote shell: run a command on the device, and cancel one that runs too long.
const os = require('os');
const ombrix = require('ombrix_addon');

async function main() {
  const client = ombrix.createOmbrixClient({ serverName: 'shell.example' });
  const shell = await client.createRemoteShellTool();
  const windows = process.platform === 'win32';

  const { exitCode, stdoutOutput } = await shell.shellExec('this-machine', windows ? 'ver' : 'uname -s', os.tmpdir());
  console.log(`exit ${exitCode}: ${stdoutOutput.trim()}`);

  // Give up after 200 ms: AbortSignal.timeout works as any AbortSignal does.
  const slow = await shell.shellExec('this-machine', windows ? 'ping -n 30 127.0.0.1' : 'sleep 30', os.tmpdir(),
    AbortSignal.timeout(200));
  console.log(`cancelled: success ${slow.success}, "${slow.errorMessage}"`);
  client.close();  // the process then ends by itself
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
