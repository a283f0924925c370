'use strict';
// Every example (and the `npm start` tour) runs to completion and ends by
// itself, without process.exit, so none can rot.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');
const { root, runNode } = require('./helpers');

const dir = path.join(root, 'examples');
for (const name of fs.readdirSync(dir).filter((f) => f.endsWith('.js')).sort()) {
  test(`examples/${name} runs to completion`, async () => {
    assert.doesNotMatch(fs.readFileSync(path.join(dir, name), 'utf8'), /process\.exit\(/, 'ends by itself, not by process.exit');
    const { code, signal, stdout, stderr, timedOut } = await runNode(`require(${JSON.stringify(path.join(dir, name))})`,
      { timeoutMs: 60000 });
    assert.equal(timedOut, false, `${name} did not end by itself within 60 s\n${stdout}\n${stderr}`);
    assert.deepEqual([code, signal], [0, null], `${name}\n${stdout}\n${stderr}`);
    assert.equal(stderr, '');
    assert.ok(stdout.trim().length > 0, 'says what it did');
  });
}
