'use strict';
// The hostile application (test/hostile-app/run.js) in a process of its own:
// its invariants hold for every drawn run, and the process ends by itself
// once the last client is closed. The seed is OMBRIX_APP_SEED (the hostile
// legs pass theirs), else random; it is printed either way.
const test = require('node:test');
const assert = require('node:assert/strict');
const path = require('path');
const { runNode, nodeEnv, scripted } = require('./helpers');

test('a hostile application: every request answered once, nothing crashes, leaks or keeps the process', { skip: scripted }, async (t) => {
  const seed = process.env.OMBRIX_APP_SEED || String(Math.floor(Math.random() * 2 ** 31));
  const env = { ...nodeEnv(), OMBRIX_APP_SEED: seed };
  delete env.OMBRIX_HOSTILE;  // the application is the hostile side here; the SDK keeps its manners
  t.diagnostic(`seed ${seed} (OMBRIX_APP_SEED=${seed} reproduces it)`);
  const runner = path.join(__dirname, 'hostile-app', 'run.js');
  const { code, stdout, stderr, timedOut } = await runNode(`require(${JSON.stringify(runner)})`,
    { args: ['--expose-gc'], env, timeoutMs: 10 * 60 * 1000 });
  for (const line of stdout.trim().split('\n')) t.diagnostic(line);
  assert.equal(timedOut, false, `the process did not end by itself:\n${stdout}${stderr}`);
  assert.equal(code, 0, `${stdout}${stderr}`);
  assert.match(stdout, /"runs":\d+/);
});
