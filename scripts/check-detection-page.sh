#!/usr/bin/env bash
# Does detection in a browser find what the native library finds?  Builds the package and the page, compares what they find
# in the same pictures with the native library, in Node and in Chromium, and checks the package's types.
#
#     scripts/check-detection-page.sh [--measure]      --measure: only what a picture costs, on this machine
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
cmake --preset page >/dev/null
cmake --build --preset page >/dev/null
export COREMD_PACKAGE=$root/build/page/wasm/package
if [[ ${1:-} == --measure ]]; then
    node tests/wasm/measure.mjs
    exit
fi

cmake --preset release >/dev/null
cmake --build --preset release --target NativeFindings >/dev/null
export COREMD_NATIVE=$root/build/release/NativeFindings
node --test tests/wasm/package.test.mjs

types=$(mktemp -d)
trap 'rm -rf "$types"' EXIT
mkdir "$types/node_modules"
cp -r "$COREMD_PACKAGE" "$types/node_modules/coremd"
cp tests/wasm/types.ts "$types"
(cd "$types" && tsc --noEmit --strict --target es2020 --module es2020 --moduleResolution node --lib es2020,dom types.ts)
tests/wasm/page_test.py build/page/wasm/detect.html "$COREMD_NATIVE"
