#!/usr/bin/env bash
# The vendor-SDK swap, end to end: packages the substitute SDK as a vendor
# ships one (npm run sdk:package), builds a clean clone of this repository
# against the package, and runs the suites that need no control surface —
# on Linux, and for Windows under Wine when MinGW-w64 and Wine are installed.
# With Debian's aarch64 toolchain the package ships an arm64 library beside the
# x64 one (lib/x64/, lib/arm64/), as a vendor of both does: the Linux build
# must take its own, and the module cross-builds for Linux on ARM against it.
#   npm run test:vendor
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
label="$(node -p "require('$root/package.json').version")-vendor-check"
source "$root/scripts/checks.sh"
arm64=()
command -v aarch64-linux-gnu-g++ >/dev/null && arm64=(--arm64)

cd "$root"
npm run --silent sdk:package -- "$work/sdk" "${arm64[@]}" --version "$label"
check "the packaged headers are the contract alone" \
  bash -c "diff -r '$root/addon/include/ombrix' '$work/sdk/include/ombrix' && [[ \$(ls '$work/sdk/include') == ombrix ]]"

git clone -q "$root" "$work/clone"
cd "$work/clone"
export OMBRIX_SDK_DIR="$work/sdk"
check "a clean clone installs against the packaged SDK, compiling none of the substitute" \
  bash -c "npm install --no-audit --no-fund && [[ ! -e build/cmake/emulator && ! -e build/Release/control ]]"
check "require works with no library path set, reports the vendor's version and reads a file" \
  env -u LD_LIBRARY_PATH node -e "
    const ombrix = require('.');
    const assert = require('assert');
    assert.equal(ombrix.getSDKVersion().version, '$label');
    const client = ombrix.createOmbrixClient({ serverName: 'vendor' });
    client.createRemoteFileTool().then((files) => files.fileRead('d', 'package.json', 1, 2)).then((read) => {
      assert.equal(read.success, true, read.errorMessage);
      assert.match(read.content, /^\{/);
      client.close();
    });"
check "OMBRIX_INSPECT earns a warning and no inspector page: the vendor's SDK has none" \
  bash -c "out=\$(OMBRIX_INSPECT=0 node -e \"require('.')\" 2>&1) && grep -q 'which has no inspector' <<<\"\$out\" &&
    ! grep -q 'ombrix inspector:' <<<\"\$out\""
check "the suites that need no control surface pass against the packaged SDK" npm test

# The module configured as a native build on ARM would be (scripts/build.js,
# the same CMake files), only the compiler swapped through the toolchain file.
if ((${#arm64[@]})); then
  check "the Linux build took lib/$(node -p process.arch)/; for Linux on ARM the module cross-builds and takes lib/arm64/" \
    bash -c "source '$root/scripts/machines.sh' &&
      cmp build/Release/libombrix_shared.so '$work/sdk/lib/$(node -p process.arch)/libombrix_shared.so' &&
      node -e \"require('./scripts/build').build('release', { toolchain: '$root/cmake/aarch64-linux-gnu.cmake', dir: 'linux-arm64' })\" &&
      [[ ! -e build/linux-arm64/emulator && ! -e build/linux-arm64/control ]] &&
      built_for linux-arm64 build/linux-arm64/ombrix_addon.node build/linux-arm64/libombrix_shared.so &&
      cmp build/linux-arm64/libombrix_shared.so '$work/sdk/lib/arm64/libombrix_shared.so'"
else
  echo "# no Linux on ARM leg: aarch64-linux-gnu-g++ is not installed (Debian: g++-aarch64-linux-gnu)"
fi

if command -v x86_64-w64-mingw32-g++-posix >/dev/null && command -v wine >/dev/null; then
  (cd "$root" && npm run --silent sdk:package -- "$work/sdk-windows" --windows --version "$label")
  check "Windows under Wine: the module built against the packaged SDK runs the same suites" \
    env OMBRIX_SDK_DIR="$work/sdk-windows" OMBRIX_WINDOWS_CACHE="$root/build/windows-cache" npm run test:windows
else
  echo "# no Windows leg: MinGW-w64 or Wine is not installed"
fi

finish vendor
