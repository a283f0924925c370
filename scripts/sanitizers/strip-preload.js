'use strict';
// Loaded into every node of a sanitizer run (NODE_OPTIONS=--require). node
// is not instrumented, so the sanitizer runtime is preloaded to let the
// instrumented addon load; but programs the tests and the SDK start (sh, yes,
// grep…) must not inherit it: under ThreadSanitizer they crash at start.
// Node children get it back from OMBRIX_SANITIZER_RUNTIME (test/helpers.js).
// The test runner itself keeps it: it starts a node per test file.
if (process.env.LD_PRELOAD && !process.execArgv.includes('--test')) {
  process.env.OMBRIX_SANITIZER_RUNTIME = process.env.LD_PRELOAD;
  delete process.env.LD_PRELOAD;
}
