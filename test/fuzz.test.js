'use strict';
// Every method of every object the module hands out, called with values of
// every JavaScript type in every position and with foreign receivers: the
// only acceptable outcomes are a return value, a Promise, or a thrown Error.
// OMBRIX_FUZZ_SEED reproduces a run; OMBRIX_FUZZ_ROUNDS lengthens it.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { collectAfterAll, settle } = require('./helpers');

let client;
collectAfterAll(test, () => { client = null; });

const seed = Number(process.env.OMBRIX_FUZZ_SEED || Date.now() % 1e9);
const rounds = Number(process.env.OMBRIX_FUZZ_ROUNDS || 40);

function random() {  // mulberry32: small, seedable, good enough for picking values
  let state = seed;
  return () => {
    state = (state + 0x6D2B79F5) | 0;
    let t = Math.imul(state ^ (state >>> 15), 1 | state);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}

const hostile = new Proxy({}, {
  get(target, key) { throw new Error(`get ${String(key)}`); },
  has(target, key) { throw new Error(`has ${String(key)}`); },
  ownKeys() { throw new Error('ownKeys'); },
});
const aborted = AbortSignal.abort();

function values() {
  return [
    undefined, null, true, false, 0, -1, 1.5, NaN, -Infinity, 2 ** 32, -(2 ** 31) - 1, 2 ** 53 + 2,
    10n, -1n, 2n ** 64n, '', 'x', 'é\u0000z', 'a'.repeat(5000), Symbol('s'),
    {}, [], [1, 'two', null], () => {}, async () => {}, Object.create(null), { then() {} },
    Buffer.alloc(4), new Uint8Array(3), new Date(0), Promise.resolve(1), hostile,
    { serverName: 'fuzz', sessionId: 5, code: '0', message: hostile },
    new AbortController().signal, aborted, { aborted: true, addEventListener: 7 },
  ];
}

// [name, descriptor] of every method and accessor up the prototype chain.
function methodsOf(object) {
  const found = new Map();
  for (let proto = Object.getPrototypeOf(object); proto && proto !== Object.prototype;
    proto = Object.getPrototypeOf(proto)) {
    for (const name of Object.getOwnPropertyNames(proto)) {
      if (name !== 'constructor' && !found.has(name)) found.set(name, Object.getOwnPropertyDescriptor(proto, name));
    }
  }
  return [...found];
}

// Methods that act on the desktop for real where a window system exists.
const desktopEffects = new Set(['shellExecute', 'activateWindow', 'setWindowPlacement', 'showWindow',
  'setForegroundWindow']);

test('random arguments and receivers never crash: results, Promises or Errors only', async (t) => {
  t.diagnostic(`seed ${seed} (OMBRIX_FUZZ_SEED=${seed} reproduces it)`);
  emu.setMode('scripted');
  const pick = random();
  const pool = values();
  const promises = [];
  const outcomes = { returned: 0, promised: 0, threw: 0 };

  function attempt(what, run) {
    let result;
    try {
      result = run();
    } catch (error) {
      assert.ok(error instanceof Error, `${what} threw a non-Error: ${String(error)}`);
      outcomes.threw += 1;
      return;
    }
    if (result instanceof Promise) {
      outcomes.promised += 1;
      promises.push(result.catch((reason) => reason));
    } else {
      outcomes.returned += 1;
    }
  }
  const randomArgs = () => Array.from({ length: Math.floor(pick() * 6) }, () => pool[Math.floor(pick() * pool.length)]);

  client = ombrix.createOmbrixClient({ serverName: 'fuzz' });
  const targets = [['module', ombrix], ['OmbrixClient', client], ['ShmRegion', new ombrix.ShmRegion()],
    ['GuiTool', ombrix.createGuiTool()]];
  for (const [name] of methodsOf(client)) {
    if (!name.startsWith('create')) continue;
    let made = null;
    try {
      made = await client[name]();
    } catch {
      // a factory this SDK does not offer
    }
    if (made && typeof made === 'object' && made.constructor) targets.push([made.constructor.name, made]);
  }

  for (const [label, target] of targets) {
    const methods = label === 'module'
      ? Object.entries(ombrix).filter(([, v]) => typeof v === 'function').map(([n]) => [n, { value: ombrix[n] }])
      : methodsOf(target);
    for (const [name, descriptor] of methods) {
      if (process.platform === 'win32' && desktopEffects.has(name)) continue;
      const fn = descriptor.value || descriptor.get;
      const isClass = label === 'module' && /^[A-Z]/.test(name);
      for (let i = 0; i < rounds; ++i) {
        const args = randomArgs();
        const receiver = pick() < 0.2 ? pool[Math.floor(pick() * pool.length)] : target;
        attempt(`${label}.${name}`, () => (isClass ? new fn(...args) : fn.apply(receiver, args)));
      }
    }
  }
  ombrix.setLogger(null);

  // Whatever reached the scripted SDK is let go, so every Promise settles.
  await settle();
  for (const call of emu.calls()) emu.drop(call);
  const settled = await Promise.race([Promise.all(promises).then(() => true), settle(5000).then(() => false)]);
  assert.ok(settled, 'every Promise settles once the SDK lets go of its calls');
  assert.ok(outcomes.threw > 0 && outcomes.promised > 0 && outcomes.returned > 0, JSON.stringify(outcomes));
  emu.setMode('loopback');
});
