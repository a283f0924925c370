'use strict';
// Shutting down with calls still running. The application gives each
// cancellable call its own signal through a lifetime, tracks the calls that
// take none, and on SIGTERM cancels, waits a grace period, closes its client
// and clears its logger: the process then ends by itself.
// The substitute SDK in scripted mode holds every call until this program
// answers it, playing the part of a remote device that is slow to finish.
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');
const { createLifetime } = require('ombrix_addon/lifetime');

emu.setMode('scripted');
const client = ombrix.createOmbrixClient({ serverName: 'shutdown.example' });
ombrix.setLogger((context, message) => console.log(`sdk ${context.level}: ${message}`), ombrix.LogLevel.ERROR);
const life = createLifetime();

process.once('SIGTERM', async () => {
  console.log(`SIGTERM with ${life.pending} calls pending`);
  const counts = await life.shutdown({ clients: [client], graceMs: 5000 });
  console.log('shut down:', counts);  // { cancelled: 2, settled: 3, abandoned: 0 }
});

// The device's side: a cancelled call answers "Cancelled", the read finishes.
async function answerAsTheDevice(calls) {
  const cancelled = async (call) => {
    while (!emu.isCancelled(call)) await new Promise((resolve) => setTimeout(resolve, 1));
  };
  await Promise.all([calls.shell, calls.list].map(async (call) => {
    await cancelled(call);
    emu.complete(call, { success: false, errorMessage: 'Cancelled' });
  }));
  emu.complete(calls.read, { success: true, content: 'agent-host\n' });
}

async function main() {
  const shell = await client.createRemoteShellTool();
  const files = await client.createRemoteFileTool();

  const build = life.run((signal) => shell.shellExec('device-1', 'make all', '/src', signal));
  const listing = life.run((signal) => files.dirList('device-1', '/var', true, signal));
  const reading = life.track(files.fileRead('device-1', '/etc/hostname'));
  const device = answerAsTheDevice({
    shell: await emu.nextCall('ExecuteShell'),
    list: await emu.nextCall('ListDirectory'),
    read: await emu.nextCall('ReadFile'),
  });

  // Stands in for a service manager's stop. A real SIGTERM sent to oneself
  // would do on POSIX, but on Windows it ends the process outright.
  process.emit('SIGTERM', 'SIGTERM');
  const [built, listed, read] = await Promise.all([build, listing, reading, device]);
  console.log(`build: ${built.errorMessage}; listing: ${listed.errorMessage}; read: ${JSON.stringify(read.content)}`);
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
