// Declarations of `ombrix_addon/lifetime`: an application's pending calls, cancelled and awaited at shutdown.

/** Anything shutdown() closes: an OmbrixClient, or another object with close(). */
export interface Closable {
  close(): void;
}

/** Options of Lifetime.shutdown. */
export interface ShutdownOptions {
  /** Closed after the grace period, in order (e.g. the OmbrixClients). */
  clients?: Iterable<Closable>;
  /** How long to wait for the calls pending at shutdown, in ms; default 5000, Infinity waits without end. */
  graceMs?: number;
  /** The abort reason the calls' signals carry; default an AbortError. */
  reason?: unknown;
}

/** What shutdown() resolves with; settled + abandoned are the calls pending when it began. */
export interface ShutdownCounts {
  /** Calls started with run() whose signal shutdown aborted. */
  cancelled: number;
  /** Calls pending at shutdown that settled within the grace period. */
  settled: number;
  /** Calls pending at shutdown still pending when the grace period ended. */
  abandoned: number;
}

/** Tracks an application's pending calls; made by createLifetime(). */
export declare class Lifetime {
  /** Aborted when shutdown() begins (e.g. for AbortSignal.any). */
  readonly signal: AbortSignal;
  /** Calls started through run() or track() that have not settled. */
  readonly pending: number;
  /**
   * Starts a call with its own signal, linked to shutdown until the call settles; returns the call's Promise.
   * @throws {TypeError} "Expected (start: (signal: AbortSignal) => Promise)" (code ERR_OMBRIX_INVALID_ARG)
   */
  run<T>(start: (signal: AbortSignal) => T | PromiseLike<T>): Promise<Awaited<T>>;
  /**
   * Waits for a call that takes no signal at shutdown; returns the same Promise.
   * @throws {TypeError} "Expected (promise: Promise)" (code ERR_OMBRIX_INVALID_ARG)
   */
  track<P extends PromiseLike<unknown>>(promise: P): P;
  /**
   * Aborts every pending run(), waits up to graceMs for the calls pending now, closes the clients and clears
   * the SDK logger (setLogger(null)); a second call returns the first call's Promise.
   */
  shutdown(options?: ShutdownOptions): Promise<ShutdownCounts>;
}

/** A new Lifetime. */
export declare function createLifetime(): Lifetime;
