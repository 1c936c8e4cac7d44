#!/usr/bin/env bash
# bash -n and shellcheck over the project's scripts (the release script included) and these checks.
# Exits 77 (skipped) after the syntax pass when shellcheck is missing.
#
#   shell-scripts.sh SOURCE_DIR
set -euo pipefail
cd "$1"
scripts=(scripts/*.sh Tests/mac/*.sh)
status=0
for script in "${scripts[@]}"; do
    bash -n "$script" || { echo "FAIL: bash -n $script"; status=1; }
done
[ $status -eq 0 ] || exit 1
if ! command -v shellcheck >/dev/null; then
    echo "SKIP: bash -n passed; no shellcheck here (scripts/deps.sh installs it on Debian)"
    exit 77
fi
# -x follows the scripts' `. scripts/env.sh`, named relative to the source directory.
shellcheck -x "${scripts[@]}" && echo "ok: ${scripts[*]}"
