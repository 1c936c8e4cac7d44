#!/usr/bin/env bash
# Copies the screenshots the screen tests wrote (build/PRESET/screenshots, light and dark) into
# docs/screenshots, where docs/gallery.md shows them. Run the screen tests first:
#   ctest --preset release -R '^tst_(.*View|ScreensEndToEnd|ReportViewGerman)$'
#   scripts/update-screenshots.sh [PRESET]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-release}
from="$root/build/$preset/screenshots"
if ! compgen -G "$from/*.png" >/dev/null; then
    echo "update-screenshots: no screenshots in $from; run the screen tests first" >&2
    exit 1
fi
mkdir -p "$root/docs/screenshots"
rm -f "$root"/docs/screenshots/*.png
cp "$from"/*.png "$root/docs/screenshots/"
echo "update-screenshots: $(find "$root/docs/screenshots" -name '*.png' | wc -l) screenshots in docs/screenshots"
