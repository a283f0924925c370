#!/usr/bin/env bash
# The package as an application gets it: packs this clone (prepack makes the
# prebuilt binaries, each checked to be for the platform its folder names),
# then installs the tarball into fresh apps
#   - with npm and no CMake or compiler on PATH, and with yarn: the prebuilt binary;
#   - with npm (hoisted) and pnpm, building from source;
# and in each runs require, ESM named imports, a loopback file read and a chat
# served by JavaScript (the first one also under Node 22, 24 and 26, Bun and
# Deno), and in the first one compiles a strict TypeScript program against the
# installed copy and runs or type-checks every code block of README.md and docs/.
# pnpm and yarn come from the npm registry through npx, pinned.
#   npm run test:package
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
pnpm_version=10.34.9
yarn_version=1.22.22
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
source "$root/scripts/checks.sh"

cd "$root"
tarball="$work/$(npm pack --silent --pack-destination "$work" | tail -n 1)"
echo "packed $(basename "$tarball"): $(du -k "$tarball" | cut -f1) KiB, $(tar -tzf "$tarball" | wc -l) files"
check "the tarball holds what an app runs and nothing of the repository's own" \
  bash -c "! tar -tzf '$tarball' | grep -E '^package/(\.ci|test|bench|build|node_modules|scripts/(sanitizers|valgrind|test)|emulator/test)/'"
host_platform="$(node -p 'process.platform + "-" + process.arch')"
check "the tarball has a prebuilt binary for this platform" \
  bash -c "tar -tzf '$tarball' | grep -qx 'package/prebuilds/$host_platform/ombrix_addon.node'"
# Each prebuild holds binaries for the platform its folder names (as `file`
# reads their ELF or PE machine), and each cross toolchain installed made its own.
echo "prebuilds/ in the tarball:"
tar -tzvf "$tarball" | awk '$6 ~ /^package\/prebuilds\// { printf "  %9d  %s\n", $3, substr($6, 9) }' | sort -k2
tar -xzf "$tarball" -C "$work" package/prebuilds
for folder in "$work"/package/prebuilds/*/; do
  check "prebuilds/$(basename "$folder") holds binaries for $(basename "$folder")" \
    bash -c 'source "$1/scripts/machines.sh" && mapfile -t files < <(find "$2" -type f) && built_for "$(basename "$2")" "${files[@]}"' \
    _ "$root" "$folder"
done
cross_built="$(node -p "const { TARGETS, crossTarget } = require('$root/scripts/cross');
  Object.keys(TARGETS).filter((name) => name !== '$host_platform' && crossTarget(name).installed()).join(' ')")"
check "the tarball has a prebuild for each cross toolchain installed (${cross_built:-none})" \
  bash -c 'for name in $2; do [[ -f "$1/$name/ombrix_addon.node" ]] || exit 1; done' _ "$work/package/prebuilds" "$cross_built"

# The app's own checks: CommonJS, ESM named imports, a real loopback call.
# npm 11 and pnpm 10 block dependencies' install scripts unless allowed: npm
# is told in package.json, pnpm approves after adding, as its users do.
write_app() {
  local app=$1
  mkdir -p "$app"
  cat >"$app/package.json" <<JSON
{ "name": "some-app", "version": "1.0.0", "private": true, "allowScripts": { "file:$tarball": true } }
JSON
  cat >"$app/check.cjs" <<'JS'
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const ombrix = require('ombrix_addon');
assert.match(ombrix.getSDKVersion().version, /substitute/);
const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'app-'));
const file = path.join(dir, 'note.txt');
fs.writeFileSync(file, 'one\ntwo\n');
const client = ombrix.createOmbrixClient({ serverName: 'app.example' });
client.createRemoteFileTool()
  .then((files) => files.fileRead('this-device', file))
  .then((read) => {
    assert.equal(read.success, true);
    assert.equal(read.content, 'one\ntwo\n');
    client.close();
    fs.rmSync(dir, { recursive: true });
    console.log('cjs: loopback read ok');
  });
JS
  cat >"$app/check.mjs" <<'JS'
import assert from 'node:assert/strict';
import ombrix, { createOmbrixClient, LogLevel, ShmRegion } from 'ombrix_addon';
import emulator from 'ombrix_addon/emulator';
import { createLifetime } from 'ombrix_addon/lifetime';
import { decodePlacement, encodePlacement } from 'ombrix_addon/windows';
assert.equal(typeof createLifetime, 'function');
const placement = { flags: 0, showState: 1, minPosition: { x: -1, y: -1 }, maxPosition: { x: -1, y: -1 },
  normalPosition: { left: 0, top: 0, right: 640, bottom: 480 } };
assert.deepEqual(decodePlacement(encodePlacement(placement)), placement);
assert.equal(typeof createOmbrixClient, 'function');
assert.equal(createOmbrixClient, ombrix.createOmbrixClient);
assert.equal(LogLevel.DEBUG, 1);
assert.equal(new ShmRegion().isOpen, false);
assert.equal(emulator.mode(), 'loopback');
console.log('esm: named imports ok');
JS
  # A chat the application serves in JavaScript: SDK threads into the runtime's event loop and back.
  cat >"$app/check-chat.cjs" <<'JS'
const assert = require('node:assert/strict');
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');
const session = {
  sessionInfo: { sessionId: 'echo', title: 'Echo' },
  async sendChat(content, stream) {
    for (const word of content.split(' ')) stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: word });
    stream.onEnd();
    return { code: ombrix.ResultCode.SUCCESS };
  },
};
const client = ombrix.createOmbrixClient({ serverName: 'chat.example' }, { async createSession() { return { code: 0, session }; } });
emu.chat.createSession(ombrix.ChatMode.OMBRIX).then(async ({ session: held }) => {
  const sent = emu.chat.sendChat(held.id, 'served by JavaScript');
  assert.equal((await sent.done).code, 0);
  assert.deepEqual(emu.chat.streamEvents(sent.stream).map((e) => e.content ?? e.event), ['served', 'by', 'JavaScript', 'end']);
  client.close();
  emu.chat.releaseAll();
  console.log('chat: served by JavaScript ok');
});
JS
}

run_app() {  # run_app <dir> prebuilt|source: the checks, the binary it must use, no build tree left
  local app=$1 installed
  installed="$(cd "$app" && node -p "require('path').dirname(require.resolve('ombrix_addon/package.json'))")"
  (cd "$app" && node check.cjs && node check.mjs && node check-chat.cjs) || return 1
  if [[ $2 == source ]]; then [[ -f "$installed/build/Release/ombrix_addon.node" ]]; else [[ ! -e "$installed/build" ]]; fi &&
    [[ ! -e "$installed/build/cmake" ]] && [[ -z "$(find -L "$installed" -name '*.o' | head -n 1)" ]]
}

# 1. npm, no CMake or compiler to be found: the prebuild must do.
bare="$work/bare-bin"
mkdir -p "$bare"
for tool in node npm npx sh env; do ln -s "$(command -v "$tool")" "$bare/$tool"; done
write_app "$work/npm-prebuilt"
check "npm install with no CMake or compiler on PATH" \
  bash -c "cd '$work/npm-prebuilt' && ! PATH='$bare' command -v cmake && PATH='$bare' npm install --no-audit --no-fund --foreground-scripts '$tarball' 2>&1 | tee '$work/npm-prebuilt.log' && grep -qF 'using the prebuilt binary prebuilds/$host_platform/ombrix_addon.node' '$work/npm-prebuilt.log'"
check "npm-prebuilt app: require, ESM, loopback read, the prebuilt binary" bash -c "$(declare -f run_app); run_app '$work/npm-prebuilt' prebuilt"
# The same app's checks under the other tested runtimes (scripts/runtimes.js
# fetches them once into a cache): each program must end by itself. Deno takes
# the npm layout as it is, with the permissions loading the module needs
# (native code is not confined by them) and the file the check writes.
runtimes_started=$SECONDS
for runtime in node22 node24 node26 bun deno; do
  runner=("$(node "$root/scripts/runtimes.js" "$runtime")") || runner=(false)
  [[ $runtime == deno ]] && runner+=(run --allow-ffi --allow-env --allow-read --allow-write)
  check "npm-prebuilt app under $runtime: require, ESM, loopback read, a chat served by JavaScript" \
    bash -c 'cd "$1" && shift && for file in check.cjs check.mjs check-chat.cjs; do
      DENO_NO_UPDATE_CHECK=1 timeout 60 "$@" "$file" || exit 1; done' _ "$work/npm-prebuilt" "${runner[@]}"
done
echo "the other runtimes took $((SECONDS - runtimes_started)) s"
write_app "$work/npm-blocked"
check "npm install with install scripts blocked: the loader finds the prebuilt binary" \
  bash -c "$(declare -f run_app); cd '$work/npm-blocked' && echo '{}' >package.json && npm install --no-audit --no-fund '$tarball' && run_app '$work/npm-blocked' prebuilt"

cat >"$work/npm-prebuilt/tsconfig.json" <<'JSON'
{ "compilerOptions": { "strict": true, "noEmit": true, "module": "nodenext", "moduleResolution": "nodenext",
    "target": "es2022", "types": ["node"] }, "files": ["app.mts", "app.cts"] }
JSON
cat >"$work/npm-prebuilt/app.mts" <<'TS'
import ombrix, { createOmbrixClient, LogLevel, ShmRegion, type FileReadResult } from 'ombrix_addon';
const client = createOmbrixClient({ serverName: 'typed.example' });
const files = await client.createRemoteFileTool();
const read: FileReadResult = await files.fileRead('d', '/etc/hostname');
const level: number = LogLevel.DEBUG;
const open: boolean = new ShmRegion().open('Local\\x');
ombrix.setLogger(null);
client.close();
console.log(read.success, level, open);
TS
cat >"$work/npm-prebuilt/app.cts" <<'TS'
import ombrix = require('ombrix_addon');
const version: string = ombrix.getSDKVersion().version;
console.log(version);
TS
typescript_version="$(node -p "require('$root/package.json').devDependencies.typescript")"
types_node_version="$(node -p "require('$root/package.json').devDependencies['@types/node']")"
check "a strict TypeScript program compiles against the installed copy (ESM and CJS)" \
  bash -c "cd '$work/npm-prebuilt' && npm install --no-audit --no-fund --no-save 'typescript@$typescript_version' '@types/node@$types_node_version' >/dev/null && npx tsc -p tsconfig.json"
docs_started=$SECONDS
check "every code block of README.md and docs/ runs or type-checks in that app" \
  node "$root/scripts/check-docs.js" "$work/npm-prebuilt"
echo "the docs check took $((SECONDS - docs_started)) s"

# yarn (classic) lays node_modules out as npm does, whose source build
# follows: its app takes the prebuild.
write_app "$work/yarn-prebuilt"
check "yarn install" \
  bash -c "cd '$work/yarn-prebuilt' && npx --yes 'yarn@$yarn_version' add --no-lockfile 'file:$tarball'"
check "yarn-prebuilt app: require, ESM, loopback read, the prebuilt binary" bash -c "$(declare -f run_app); run_app '$work/yarn-prebuilt' prebuilt"

# 2. Source builds from the two layouts: npm's hoisted one and pnpm's links.
export npm_config_build_from_source=true OMBRIX_BUILD_FROM_SOURCE=1
write_app "$work/npm-source"
check "npm (hoisted) source install" bash -c "cd '$work/npm-source' && npm install --no-audit --no-fund '$tarball'"
check "npm-source app: require, ESM, loopback read, built here, no build tree" bash -c "$(declare -f run_app); run_app '$work/npm-source' source"
write_app "$work/pnpm-source"
check "pnpm source install" \
  bash -c "cd '$work/pnpm-source' && npx --yes 'pnpm@$pnpm_version' add '$tarball' &&
    npx --yes 'pnpm@$pnpm_version' approve-builds --all && npx --yes 'pnpm@$pnpm_version' rebuild ombrix_addon"
check "pnpm-source app: require, ESM, loopback read, built here, no build tree" bash -c "$(declare -f run_app); run_app '$work/pnpm-source' source"

finish package
