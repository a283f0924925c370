'use strict';
// Preloaded (NODE_OPTIONS=--require) into a node of another architecture run
// under qemu-user by scripts/test-arm64.sh. Without binfmt_misc the host
// kernel cannot start that node again, so the test runner's per-file
// processes and the suites' own children would fail: a child of this
// executable is started as `<qemu> <node> ...` instead. process.execPath
// stays the real binary, which suites compare with /proc.
const qemu = process.env.OMBRIX_QEMU;

function throughQemu(options) {
  if (!options || options.file !== process.execPath) return options;
  return { ...options, file: qemu, args: [qemu, process.execPath, ...options.args.slice(1)] };
}

// Every child_process call ends in one of these two: the asynchronous
// process handle and the synchronous spawn. process.binding hands out the
// very objects node uses; under the permission model it is refused, and such
// a process starts no child of its own.
function patch() {
  const { Process } = process.binding('process_wrap');
  const spawnSync = process.binding('spawn_sync');
  const spawnAsync = Process.prototype.spawn;
  Process.prototype.spawn = function spawn(options) {
    return spawnAsync.call(this, throughQemu(options));
  };
  const spawnBlocking = spawnSync.spawn;
  spawnSync.spawn = (options) => spawnBlocking(throughQemu(options));
}

if (qemu && !process.permission) patch();
