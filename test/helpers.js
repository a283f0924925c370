'use strict';
// Shared by the node:test suites.
const { spawn } = require('child_process');
const path = require('path');

const root = path.resolve(__dirname, '..');

/** Resolves when `predicate()` is truthy, polling each turn of the event loop. */
async function waitFor(predicate, { timeoutMs = 10000, what = 'condition' } = {}) {
  const deadline = Date.now() + timeoutMs;
  while (!predicate()) {
    if (Date.now() > deadline) throw new Error(`timed out waiting for ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 1));
  }
}

/**
 * Runs `source` in a fresh node process (cwd: project root) and resolves with
 * { code, signal, stdout, stderr }. Kills it after `timeoutMs`.
 */
function runNode(source, { timeoutMs = 30000, args = [] } = {}) {
  return new Promise((resolve) => {
    const child = spawn(process.execPath, [...args, '-e', source], { cwd: root, env: process.env });
    let stdout = '';
    let stderr = '';
    child.stdout.on('data', (d) => { stdout += d; });
    child.stderr.on('data', (d) => { stderr += d; });
    const timer = setTimeout(() => child.kill('SIGKILL'), timeoutMs);
    child.on('exit', (code, signal) => {
      clearTimeout(timer);
      resolve({ code, signal, stdout, stderr, timedOut: signal === 'SIGKILL' });
    });
  });
}

module.exports = { root, waitFor, runNode };
