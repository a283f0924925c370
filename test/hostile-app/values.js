'use strict';
// What a hostile application hands the module, as fast-check arbitraries.
// Arbitraries yield plain descriptions; `build*` turns them into the values
// (Proxies, Promise subclasses, foreign-realm Promises) at run time, so a
// counterexample prints readably.
const fc = require('fast-check');
const vm = require('node:vm');

const realm = vm.createContext({});
const ForeignPromise = vm.runInContext('Promise', realm);

/** Values of every type, odd ones included. */
const anyValue = fc.oneof(
  { weight: 4, arbitrary: fc.anything({ withBigInt: true, withBoxedValues: true, withDate: true, withMap: true,
    withSet: true, withTypedArray: true, withNullPrototype: true, withSparseArray: true, maxDepth: 2 }) },
  fc.constantFrom(NaN, Infinity, -Infinity, -0, 2 ** 32, 2 ** 31, -(2 ** 31) - 1, 2 ** 53 + 2, 'é\u0000z', ''),
  fc.constantFrom('symbol', 'function', 'throwingProxy', 'abortedSignal').map((kind) => ({ special: kind })),
);

/** Turns a drawn value into the value itself. */
function buildValue(value) {
  if (!value || typeof value !== 'object' || !('special' in value) || Object.keys(value).length !== 1) return value;
  switch (value.special) {
    case 'symbol': return Symbol('hostile');
    case 'function': return function hostile() {};
    case 'throwingProxy': return throwingProxy('value');
    case 'abortedSignal': return AbortSignal.abort();
    default: return value;
  }
}

// Its "then" reads as absent: a Promise resolved with it fulfils with it
// rather than rejecting with the application's own error.
function throwingProxy(name) {
  const fail = (what) => (target, key) => {
    if (key === 'then') return undefined;
    throw new Error(`${name}: ${what} trap`);
  };
  return new Proxy({}, { get: fail('get'), has: fail('has'), ownKeys: fail('ownKeys'),
    getOwnPropertyDescriptor: fail('getOwnPropertyDescriptor') });
}

/** What a throw throws: Errors, and anything else. */
const thrown = fc.oneof(
  fc.string().map((message) => ({ error: message })),
  anyValue.map((value) => ({ raw: value })),
);
const buildThrown = (t) => ('error' in t ? new Error(t.error) : buildValue(t.raw));

/** A "code" of an answer: numbers of every kind, and what is not a number. */
const code = fc.oneof(
  { weight: 3, arbitrary: fc.integer({ min: -2, max: 12 }) },
  fc.constantFrom(undefined, 2 ** 32, -1, NaN, Infinity, 1.5, 2 ** 31),
  fc.constantFrom('0', null, true, 1n, 'absent'),
);

/** What a service's Promise fulfils with. */
const answer = fc.oneof(
  { weight: 3, arbitrary: fc.record({ code, errorMessage: fc.oneof(fc.string(), anyValue), extra: anyValue },
    { requiredKeys: ['code'] }) },
  anyValue.map((value) => ({ value })),
  fc.constant({ proxy: true }),
);

function buildAnswer(a) {
  if ('value' in a) return buildValue(a.value);
  if (a.proxy) return throwingProxy('answer');
  const object = { ...a, extra: buildValue(a.extra), errorMessage: buildValue(a.errorMessage) };
  if (a.code === 'absent') delete object.code;
  // Every record's own keys, with whatever the extra holds.
  for (const key of ['session', 'sessions', 'info', 'notifications', 'report']) object[key] = object.extra;
  return object;
}

/** Whether the answer's "code" is present and not a number: the one case the module may leave unanswered. */
const unreadableCode = (a) => 'code' in a && a.code !== 'absent' && typeof a.code !== 'number';

/** How the Promise is made: a native one, a subclass, another realm's, or one whose species never runs its executor. */
const flavour = fc.constantFrom('native', 'subclass', 'foreign', 'brokenSpecies');

class Subclass extends Promise {}
class BrokenSpecies extends Promise {
  static get [Symbol.species]() { return function NeverRuns() {}; }
}

function makePromise(kind, executor) {
  switch (kind) {
    case 'subclass': return new Subclass(executor);
    case 'foreign': return new ForeignPromise(executor);
    case 'brokenSpecies': return new BrokenSpecies(executor);
    default: return new Promise(executor);
  }
}

/** When a Promise settles. */
const timing = fc.constantFrom('now', 'microtask', 'timer');

function settleLater(when, settle) {
  if (when === 'now') settle();
  else if (when === 'microtask') queueMicrotask(settle);
  else setTimeout(settle, 1);
}

/** How one service method behaves. */
const behaviour = fc.oneof(
  { weight: 4, arbitrary: fc.record({ kind: fc.constant('resolves'), answer, flavour, timing }) },
  // A rejecting Promise whose species breaks "then" would be the application's own unhandled rejection.
  fc.record({ kind: fc.constant('rejects'), reason: thrown, flavour: fc.constantFrom('native', 'subclass', 'foreign'),
    timing }),
  fc.record({ kind: fc.constant('missing') }),
  fc.record({ kind: fc.constant('notFunction'), value: anyValue }),
  fc.record({ kind: fc.constant('throws'), error: thrown }),
  fc.record({ kind: fc.constant('returns'), value: fc.oneof(anyValue, fc.constant({ thenable: true })) }),
  fc.record({ kind: fc.constant('never') }),
  fc.record({ kind: fc.constant('getterThrows'), error: thrown }),
  fc.record({ kind: fc.constant('thenThrows'), error: thrown, attachFirst: fc.boolean() }),
);

/**
 * What the SDK must see: 'once' (answered exactly once), 'never' (not
 * before the Promise is collected) or 'atMostOnce'.
 */
function expectation(b) {
  if (b.kind === 'never') return 'never';
  if (b.kind === 'resolves' && unreadableCode(b.answer)) return 'atMostOnce';
  return 'once';
}

/** Gives `object` a method `name` that behaves as drawn; `use(...args)` runs first on each call. */
function defineMethod(object, name, b, use = () => {}) {
  const answerWith = (args) => {
    use(...args);
    switch (b.kind) {
      case 'resolves':
        return makePromise(b.flavour, (resolve) => settleLater(b.timing, () => resolve(buildAnswer(b.answer))));
      case 'rejects':
        return makePromise(b.flavour, (_, reject) => settleLater(b.timing, () => reject(buildThrown(b.reason))));
      case 'throws':
        throw buildThrown(b.error);
      case 'returns':
        return b.value && b.value.thenable ? { then: (resolve) => resolve({ code: 0 }) } : buildValue(b.value);
      case 'never':
        return new Promise(() => {});
      case 'thenThrows': {
        const promise = Promise.resolve({ code: 0 });
        promise.then = function then(onFulfilled, onRejected) {
          if (b.attachFirst) Promise.prototype.then.call(this, onFulfilled, onRejected);
          throw buildThrown(b.error);
        };
        return promise;
      }
      default:
        throw new Error(`no such behaviour ${b.kind}`);
    }
  };
  if (b.kind === 'missing') return;
  if (b.kind === 'notFunction') {
    object[name] = buildValue(b.value);
  } else if (b.kind === 'getterThrows') {
    Object.defineProperty(object, name, { get() { throw buildThrown(b.error); }, enumerable: true });
  } else {
    object[name] = function method(...args) { return answerWith(args); };
  }
}

/** The object itself: plain, without a prototype, a class instance, or behind a pass-through Proxy. */
const shape = fc.constantFrom('plain', 'nullPrototype', 'instance', 'proxy');

function makeObject(kind, define) {
  const object = kind === 'nullPrototype' ? Object.create(null) : kind === 'instance' ? new (class Service {})() : {};
  define(object);
  return kind === 'proxy' ? new Proxy(object, {}) : object;
}

module.exports = {
  anyValue, buildValue, behaviour, expectation, defineMethod, shape, makeObject, thrown, buildThrown,
};
