'use strict';
// scripts/check-docs.js: the repository's own blocks pass, and each kind of
// broken block is caught and named by file:line.
const test = require('node:test');
const assert = require('node:assert/strict');
const { execFile } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { root, nodeEnv } = require('./helpers');
const { sourceFaults } = require('../scripts/check-docs');

const script = path.join(root, 'scripts', 'check-docs.js');
// The docs are written for the reference platform (POSIX paths and commands).
const skip = process.platform === 'win32' && 'the documented examples are written for Linux';

function check(...args) {
  return new Promise((resolve) => {
    execFile(process.execPath, [script, ...args], { cwd: root, env: nodeEnv(), timeout: 120000 }, (error, stdout, stderr) => {
      resolve({ code: error ? error.code : 0, stdout, stderr });
    });
  });
}

test('every code block of README.md and docs/ runs or type-checks against this repository', { skip }, async () => {
  const { code, stdout, stderr } = await check();
  assert.equal(code, 0, stdout + stderr);
  assert.match(stdout, /^README\.md: ran [1-9]\d*, type-checked \d+, parsed \d+, not run \d+ \(sh\)$/m);
  assert.match(stdout, /^docs\/api\/services\.md: ran \d+, type-checked [1-9]/m);
  assert.match(stdout, /\d+ blocks, 0 failing/);
});

test('examples load the package by name, as an application does', () => {
  const dir = path.join(root, 'examples');
  for (const name of fs.readdirSync(dir).filter((f) => f.endsWith('.js'))) {
    assert.deepEqual(sourceFaults({ code: fs.readFileSync(path.join(dir, name), 'utf8') }), [], name);
  }
});

test('broken blocks fail, each named by file and line', { skip }, async (t) => {
  const docs = fs.mkdtempSync(path.join(os.tmpdir(), 'check-docs-'));
  t.after(() => fs.rmSync(docs, { recursive: true, force: true }));
  fs.mkdirSync(path.join(docs, 'docs', 'api'), { recursive: true });
  const page = (blocks) => blocks.map(([info, code]) => `Text.\n\n\`\`\`${info}\n${code}\n\`\`\`\n`).join('\n');
  fs.writeFileSync(path.join(docs, 'README.md'), page([
    ['js', "const ombrix = require('ombrix_addon');\nconsole.log(ombrix.getSDKVersion().version);"],  // 3: good
    ['mjs', "import ombrix from 'ombrix_addon';\nawait ombrix.missing();"],                          // 10: throws
    ['js', "console.error('oops');"],                                                              // 17: stderr
    ['js stderr', "console.error('expected');"],                                                   // 23: good
    ['js', 'setInterval(() => {}, 1000);'],                                                        // 29: never ends
    ['js', "console.log('bye');\nprocess.exit(0);"],                                               // 35: process.exit
    ['js', "const ombrix = require('..');"],                                                       // 42: repository path
    ['js framgent', '1;'],                                                                         // 48: unknown word
    ['json', '{ "a": 1, }'],                                                                       // 54: not JSON
    ['sh', 'echo not run'],                                                                        // 60: listed only
    ['jsx', 'const a = <b />;'],                                                                    // 66: not taken
  ]));
  fs.writeFileSync(path.join(docs, 'docs', 'api', 'page.md'), page([
    ['js fragment', "// given: client\nconst files = await client.createRemoteFileTool();"],          // 3: good
    ['js fragment', "const read = await files.fileRead('d', 1);\nstore.set(read);"],                // 10: uses block 3, two faults
    ['js fragment', '// given: nothing\n1;'],                                                      // 17: unknown given
    ['ts', "import { LogLevel } from 'ombrix_addon';\nconst level: string = LogLevel.DEBUG;"],     // 24: type error
  ]));

  const { code, stdout } = await check('--root', docs, '--timeout', '3');
  assert.equal(code, 1, stdout);
  const failing = [...stdout.matchAll(/^FAIL (\S+:\d+)/gm)].map((m) => m[1]);
  assert.deepEqual(failing, [10, 17, 29, 35, 42, 48, 54, 66].map((l) => `README.md:${l}`)
    .concat([10, 17, 24].map((l) => `docs/api/page.md:${l}`)));
  assert.match(stdout, /^README\.md: ran 7, type-checked 0, parsed 1, not run 1 \(sh\)$/m);
  assert.match(stdout, /^docs\/api\/page\.md: ran 0, type-checked 4, parsed 0, not run 0$/m);
  const section = (at) => stdout.split(/^FAIL /m).find((s) => s.startsWith(at));
  assert.match(section('README.md:10'), /exited with 1/);
  assert.match(section('README.md:17'), /wrote to stderr/);
  assert.match(section('README.md:29'), /did not end by itself/);
  assert.match(section('README.md:35'), /process\.exit/);
  assert.match(section('README.md:42'), /repository path/);
  assert.match(section('README.md:48'), /framgent/);
  assert.match(section('README.md:54'), /not JSON/);
  assert.match(section('README.md:66'), /neither run nor type-checked/);
  assert.match(section('docs/api/page.md:10'), /line 11: .*'number' is not assignable[\s\S]*line 12: Cannot find name 'store'/);
  assert.match(section('docs/api/page.md:17'), /given "nothing"/);
  assert.match(section('docs/api/page.md:24'), /line 26: Type 'number' is not assignable to type 'string'/);
});
