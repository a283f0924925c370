'use strict';
// Shared by the node:test suites.
const { spawn } = require('child_process');
const path = require('path');

const root = path.resolve(__dirname, '..');

/** Resolves when `predicate()` is truthy, polling each turn of the event loop. */
async function waitFor(predicate, { timeoutMs = 10000, what = 'condition' } = {}) {
  const deadline = Date.now() + timeoutMs;
  while (!predicate()) {
    if (Date.now() > deadline) throw new Error(`timed out waiting for ${typeof what === "function" ? what() : what}`);
    await new Promise((resolve) => setTimeout(resolve, 1));
  }
}

/** The environment for a child node process: a sanitizer run's runtime goes back in. */
function nodeEnv() {
  const runtime = process.env.OMBRIX_SANITIZER_RUNTIME;
  return runtime ? { ...process.env, LD_PRELOAD: runtime } : process.env;
}

/**
 * Runs `source` in a fresh node process (cwd: project root) and resolves with
 * { code, signal, stdout, stderr }. Kills it after `timeoutMs`.
 */
function runNode(source, { timeoutMs = 30000, args = [], env = nodeEnv() } = {}) {
  return new Promise((resolve) => {
    const child = spawn(process.execPath, [...args, '-e', source], { cwd: root, env });
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


/**
 * The substitute SDK's control surface, or null in a build against a vendor
 * SDK, which has none. `scripted` is the `skip` option of every test that
 * drives the substitute through it: false, or the reason it cannot run.
 */
function controlSurface() {
  try {
    return require('../emulator/js');
  } catch (error) {
    if (error.code !== 'ERR_OMBRIX_LOAD') throw error;
    return null;
  }
}
const emu = controlSurface();
const scripted = emu ? false : 'drives the substitute SDK through its control surface, which a vendor-SDK build has not';
const substitute = emu ? false : 'checks how the substitute SDK itself works';

/** Lets queued thread-safe-function deliveries run. */
function settle(ms = 20) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}

/** Rejection reason of `promise`, or a failure if it fulfils. */
async function rejection(promise) {
  try {
    await promise;
  } catch (reason) {
    return reason;
  }
  throw new Error('expected the promise to reject');
}


/**
 * A live OmbrixClient, a JS-backed session the SDK holds or a tool with a
 * pending call keeps the process alive; suites that create them release and
 * collect at the end. `drop()` clears the suite's own references first: a
 * client holds its JS services strongly, so services that close over the
 * suite's scope would otherwise keep that client reachable for ever.
 * Needs --expose-gc (the test runner passes it).
 */
function collectAfterAll(test, drop = () => {}) {
  test.after(async () => {
    drop();
    // The SDK's hold on JS-backed sessions, observers and managers.
    for (const service of emu ? [emu.chat, emu.notification, emu.audit, emu.workspace] : []) service.releaseAll();
    for (let i = 0; i < 4; ++i) {
      global.gc();
      await settle(10);
    }
  });
}


/**
 * A client created in `mode` ('loopback' or 'scripted'); the default mode is
 * restored. Against a vendor SDK every client is a plain one.
 */
function clientIn(mode, serverName = mode) {
  const ombrix = require('..');
  if (!emu) return ombrix.createOmbrixClient({ serverName });
  const previous = emu.mode();
  emu.setMode(mode);
  try {
    return ombrix.createOmbrixClient({ serverName });
  } finally {
    emu.setMode(previous);
  }
}

/** A fresh scratch directory, removed when the suite ends. */
function scratchDir(test) {
  const fs = require('fs');
  const os = require('os');
  const dir = fs.mkdtempSync(require('path').join(os.tmpdir(), 'ombrix-test-'));
  test.after(() => fs.rmSync(dir, { recursive: true, force: true }));
  return dir;
}

/**
 * Runs `source` in a fresh process; `source` sets `globalThis.started` to a
 * drive's Promise. Resolves with the lines printed: the name and message of
 * each unhandled rejection, then the drive's report as JSON, or "pending" if
 * it has none 200 ms after `started` was set.
 */
async function unansweredDrive(source) {
  const { code, stdout, stderr } = await runNode(`
    process.on('unhandledRejection', (reason) => console.log(reason.name, reason.message));
    Object.defineProperty(globalThis, 'started', { set(promise) {
      setTimeout(() => Promise.race([promise, 'pending']).then((r) => {
        console.log(JSON.stringify(r));
        process.exit(0);
      }), 200);
    } });
    ${source}
  `);
  if (code !== 0) throw new Error(`exit ${code}: ${stderr}`);
  return stdout.trim().split('\n');
}

/** What a drive reports for an SDK callback let go without having been called. */
const UNANSWERED = '{"dropped":true,"calls":0}';

/** A test program (full path) that answers each line written to it with one line. Killed after the test. */
async function lineChild(t, program, args = []) {
  const child = spawn(program, args, { stdio: ['pipe', 'pipe', 'inherit'] });
  t.after(() => child.kill());
  const waiting = [];
  let pending = '';
  child.stdout.setEncoding('utf8').on('data', (chunk) => {
    const lines = (pending + chunk).split(/\r?\n/);
    pending = lines.pop();
    for (const line of lines) waiting.shift()?.resolve(line);
  });
  child.exited = new Promise((resolve) => child.on('exit', resolve));
  child.exited.then((code) => {
    for (const { reject } of waiting.splice(0)) reject(new Error(`${program} exited with ${code}`));
  });
  child.nextLine = () => new Promise((resolve, reject) => waiting.push({ resolve, reject }));
  /** Resolves once the line is handed to the pipe, before the answer. */
  child.write = (line) => new Promise((resolve) => child.stdin.write(`${line}\n`, resolve));
  child.ask = (line) => {
    const answer = child.nextLine();
    child.write(line);
    return answer;
  };
  return child;
}

module.exports = {
  root, waitFor, runNode, nodeEnv, emu, scripted, substitute, settle, rejection, collectAfterAll, clientIn,
  unansweredDrive, UNANSWERED, scratchDir, lineChild,
};
