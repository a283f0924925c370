'use strict';
// An application's pending calls, so that shutdown can cancel the cancellable
// ones, give the rest a grace period, and let go of what keeps the process up.
const { setMaxListeners } = require('node:events');
const { invalidArgument: invalid } = require('./errors');

// setTimeout's longest delay; a longer one would fire at once.
const MAX_TIMEOUT = 2 ** 31 - 1;

class Lifetime {
  #shutdown = new AbortController();
  /** @type {Set<{ cancellable: boolean }>} */
  #pending = new Set();
  /** @type {Set<(entry: { cancellable: boolean }) => void>} */
  #onSettle = new Set();
  #closing = null;

  constructor() {
    // Every pending run() links to this signal once; the links go as calls settle.
    setMaxListeners(0, this.#shutdown.signal);
  }

  /** Aborted when shutdown() begins. */
  get signal() {
    return this.#shutdown.signal;
  }

  /** Calls started through run() or track() that have not settled. */
  get pending() {
    return this.#pending.size;
  }

  /**
   * Starts a call with a signal of its own that shutdown aborts. Its link to
   * the shutdown signal goes when the call settles: the module never removes
   * the listener it adds to a signal, so each call needs its own signal.
   */
  run(start) {
    if (typeof start !== 'function') throw invalid('Expected (start: (signal: AbortSignal) => Promise)');
    const call = new AbortController();
    const shutdown = this.#shutdown.signal;
    const follow = () => call.abort(shutdown.reason);
    if (shutdown.aborted) follow();
    else shutdown.addEventListener('abort', follow, { once: true });
    const unlink = () => shutdown.removeEventListener('abort', follow);
    let promise;
    try {
      promise = Promise.resolve(start(call.signal));
    } catch (error) {
      unlink();
      throw error;
    }
    this.#hold(promise, true, unlink);
    return promise;
  }

  /** Waits for a call that takes no signal at shutdown, for up to the grace period. */
  track(promise) {
    if (!promise || typeof promise.then !== 'function') throw invalid('Expected (promise: Promise)');
    this.#hold(Promise.resolve(promise), false, null);
    return promise;
  }

  #hold(promise, cancellable, unlink) {
    const entry = { cancellable };
    this.#pending.add(entry);
    const settle = () => {
      this.#pending.delete(entry);
      if (unlink) unlink();
      for (const wake of this.#onSettle) wake(entry);
    };
    // Observes the call without taking its rejection: the caller still sees it.
    promise.then(settle, settle);
  }

  /**
   * Aborts every pending run(), waits up to graceMs for the calls pending now,
   * closes `clients`, clears the SDK logger and resolves with counts. Calls
   * started afterwards get an aborted signal and are not waited for. Calling
   * it again returns the first call's Promise.
   */
  shutdown({ clients = [], graceMs = 5000, reason } = {}) {
    if (!this.#closing) this.#closing = this.#close(clients, graceMs, reason);
    return this.#closing;
  }

  async #close(clients, graceMs, reason) {
    const waiting = new Set(this.#pending);
    const cancelled = [...waiting].filter((entry) => entry.cancellable).length;
    this.#shutdown.abort(reason);
    await this.#settleWithin(waiting, graceMs);
    const abandoned = [...waiting].filter((entry) => this.#pending.has(entry)).length;
    try {
      for (const client of clients) client.close();
    } finally {
      require('./index.js').setLogger(null);
    }
    return { cancelled, settled: waiting.size - abandoned, abandoned };
  }

  #settleWithin(waiting, graceMs) {
    let open = [...waiting].filter((entry) => this.#pending.has(entry)).length;
    if (open === 0) return Promise.resolve();
    return new Promise((resolve) => {
      const done = () => {
        clearTimeout(timer);
        this.#onSettle.delete(check);
        resolve();
      };
      const check = (entry) => {
        if (waiting.has(entry) && --open === 0) done();
      };
      // Unref'd: the grace period alone never keeps the process up.
      const ms = Number(graceMs);
      const timer = ms === Infinity ? undefined : setTimeout(done, Math.min(Math.max(0, ms || 0), MAX_TIMEOUT));
      timer?.unref();
      this.#onSettle.add(check);
    });
  }
}

/** A new Lifetime: run() and track() calls, then shutdown(). */
function createLifetime() {
  return new Lifetime();
}

module.exports = { createLifetime, Lifetime };
