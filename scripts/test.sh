#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: once in release, once under the address
# and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
. scripts/env.sh
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"

for preset in release asan; do
    echo "== $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --preset "$preset"
done
