#!/usr/bin/env bash
# Installs what is missing, builds Velloran (release) and runs its main job.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
. scripts/env.sh
cmake --preset release >/dev/null
cmake --build --preset release
exec build/release/Cli/velloran-cli analyze examples/vault "$@"
