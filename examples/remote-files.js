'use strict';
// Remote files: every RemoteFileTool method against this machine (the
// substitute SDK's loopback mode), in a scratch folder.
const fs = require('fs');
const os = require('os');
const path = require('path');
const ombrix = require('ombrix_addon');

async function main() {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-files-'));
  const client = ombrix.createOmbrixClient({ serverName: 'files.example' });
  const files = await client.createRemoteFileTool();
  const device = 'this-machine';  // loopback: every device is this machine
  try {
    const file = path.join(dir, 'src', 'main.c');
    await files.fileWrite(device, file, 'int main(void) {\n  return 1;\n}\n', false, true);
    await files.fileReplace(device, file, 'return 1', 'return 0');
    const { content, originalLineCount } = await files.fileRead(device, file);
    console.log(`${originalLineCount} lines:\n${content}`);

    const search = await files.fileSearch(device, file, 'RETURN', false, true);
    console.log(`case-insensitive search: ${search.matches.trim()}`);

    const { filePaths } = await files.fileFindByName(device, dir, '*.c');
    console.log('found:', filePaths.map((p) => path.relative(dir, p)));

    // Long operations take an AbortSignal; the SDK still answers, unsuccessfully.
    const controller = new AbortController();
    const listing = files.dirList(device, path.dirname(file), false, controller.signal);
    const { entries } = await listing;
    console.log('listing:', entries.map((e) => `${e.name} ${e.size}B`));

    const missing = await files.fileRead(device, path.join(dir, 'nope'));
    console.log(`a missing file resolves, unsuccessfully: "${missing.errorMessage}"`);
  } finally {
    fs.rmSync(dir, { recursive: true, force: true });
    client.close();  // the process then ends by itself
  }
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
