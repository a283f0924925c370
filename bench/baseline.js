'use strict';
// The "today" build the performance goals are measured against: commit
// 5dc05fc checked out as a git worktree in bench/.baseline/<commit>/ and built
// there once (release, module and control addon only), then reused. It uses
// this checkout's node_modules through a symlink, so nothing is downloaded.
// Run directly (`node bench/baseline.js`) to build it ahead of a bench run.
const { spawnSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const COMMIT = '5dc05fc';
const root = path.resolve(__dirname, '..');

function git(args, cwd = root) {
  const result = spawnSync('git', args, { cwd, encoding: 'utf8' });
  if (result.error || result.status !== 0) {
    throw new Error(`git ${args.join(' ')}: ${(result.stderr || String(result.error)).trim()}`);
  }
  return result.stdout.trim();
}

function run(command, args, cwd) {
  const result = spawnSync(command, args, { cwd, stdio: ['ignore', 'ignore', 'inherit'] });
  if (result.error || result.status !== 0) throw new Error(`${command} ${args.join(' ')} failed`);
}

/**
 * Returns { label, root } of a built baseline, or { skipped } with the reason
 * it is not available. Builds it when missing unless `build` is false.
 */
function ensure({ build = true, log = console.log } = {}) {
  let commit;
  try {
    commit = git(['rev-parse', '--verify', '--quiet', `${COMMIT}^{commit}`]);
  } catch (error) {
    return { skipped: `no git history with ${COMMIT} here (${error.message})` };
  }
  const dir = path.join(__dirname, '.baseline', commit);
  const stamp = path.join(dir, 'build', 'bench-built');
  const label = `${COMMIT} build`;
  if (fs.existsSync(stamp)) return { label, root: dir };
  if (!build) return { skipped: `the ${COMMIT} build is not there and --no-baseline was given` };
  try {
    log(`building the ${COMMIT} baseline in ${path.relative(root, dir)} (first use only)`);
    if (!fs.existsSync(path.join(dir, '.git'))) {
      fs.rmSync(dir, { recursive: true, force: true });
      git(['worktree', 'prune']);
      git(['worktree', 'add', '--detach', dir, commit]);
    }
    // Its CMake takes the Node-API headers from <source>/node_modules.
    const modules = path.join(dir, 'node_modules');
    if (!fs.existsSync(modules)) fs.symlinkSync(path.join(root, 'node_modules'), modules, 'dir');
    // Its lib/binding.js loads from build/release.
    const buildDir = path.join(dir, 'build', 'release');
    run('cmake', ['-S', dir, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', '-DOMBRIX_SANITIZE=',
      '-DOMBRIX_SDK_DIR=', '-DOMBRIX_BUILD_TESTS=OFF'], dir);
    const jobs = String(os.availableParallelism ? os.availableParallelism() : os.cpus().length);
    run('cmake', ['--build', buildDir, '--parallel', jobs, '--target', 'ombrix_addon', 'ombrix_control'], dir);
    fs.writeFileSync(stamp, `${commit}\n`);
    return { label, root: dir };
  } catch (error) {
    return { skipped: `the ${COMMIT} build failed: ${error.message}` };
  }
}

module.exports = { ensure, COMMIT };

if (require.main === module) {
  const result = ensure();
  console.log(result.skipped ? `skipped: ${result.skipped}` : `${result.label}: ${result.root}`);
  process.exitCode = result.skipped ? 1 : 0;
}
