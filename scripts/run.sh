#!/usr/bin/env bash
# Installs what is missing, builds Velloran (release) and starts the application.
# Where there is no /usr/bin/osascript (anywhere but macOS) it starts against the Notes stand-in,
# fake-osascript, with a demo library of a few folders and notes in a temporary folder.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
# shellcheck source=scripts/env.sh
. scripts/env.sh
cmake --preset release >/dev/null

if [ "$(uname -s)" = Darwin ]; then
    # Started as an application (through Launch Services), not as a child of the terminal: macOS then asks
    # whether Velloran, not Terminal, may control Notes, and stores the answer for Velloran.
    cmake --build --preset release --target velloran
    exec open -W -n build/release/App/Velloran.app --args "$@"
fi
app=build/release/App/velloran

if [ -x /usr/bin/osascript ]; then
    cmake --build --preset release --target velloran
    exec "$app" "$@"
fi

cmake --build --preset release --target velloran fake-osascript
demo=$(mktemp -d "${TMPDIR:-/tmp}/velloran-demo.XXXXXX")
trap 'rm -rf "$demo"' EXIT
cat >"$demo/notes.json" <<'JSON'
{
  "folders": [
    {
      "name": "Work",
      "notes": [
        { "name": "Project kickoff", "body": "<div>Project kickoff</div><div><b>Goals</b></div><ul><li>Ship the beta</li><li>Collect feedback</li></ul>" },
        { "name": "Weekly sync", "body": "<div>Weekly sync</div><div>Decisions: move the launch to <i>Thursday</i>.</div>" }
      ],
      "folders": [
        { "name": "Archive", "notes": [ { "name": "Old roadmap", "body": "<div>Old roadmap</div><div>Q1: research. Q2: build.</div>" } ] }
      ]
    },
    {
      "name": "Personal",
      "notes": [
        { "name": "Groceries", "body": "<div>Groceries</div><ul><li>Milk</li><li>Bread</li><li>Coffee</li></ul>" },
        { "name": "Reading list", "body": "<div>Reading list</div><div><a href=\"https://example.com/book\">A good book</a></div>" }
      ]
    },
    {
      "name": "Recipes",
      "notes": [
        { "name": "Pancakes", "body": "<div>Pancakes</div><h2>Ingredients</h2><div>Flour, eggs, milk.</div>" }
      ]
    }
  ]
}
JSON
export VELLORAN_OSASCRIPT="$PWD/build/release/Tests/FakeNotes/fake-osascript"
export VELLORAN_FAKE_NOTES="$demo/notes.json"
echo "run: no /usr/bin/osascript here, so Velloran uses the Notes stand-in with a demo library in $demo (try examples/vault for the import)"
"$app" "$@"
