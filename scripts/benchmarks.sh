#!/usr/bin/env bash
# Builds the benchmarks (release preset), runs the cases that the table needs and writes
# Benchmarks/README.md: every figure beside its reference from the same run, as a ratio, and the growth
# from n to 2n of the inputs that once grew quadratically. Takes a few minutes on two cores.
#
#   scripts/benchmarks.sh
set -euo pipefail

cd "$(dirname "$0")/.."
# shellcheck source=scripts/env.sh
. scripts/env.sh

nice -n 10 cmake --preset release >/dev/null
nice -n 10 cmake --build --preset release -j2 \
    --target bench_migration bench_export bench_runner bench_fake_notes bench_hostile_html

bin=build/release/Benchmarks
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

# Runs one suite with the given filter, its JSON kept in the results folder under `label`.
run() {
    local suite=$1 label=$2 filter=$3
    shift 3
    echo "== $suite: $filter" >&2
    nice -n 10 "$bin/$suite" --benchmark_filter="$filter" --benchmark_out="$results/$label.json" \
        --benchmark_out_format=json "$@" >&2
}
# Repeated and taken in turns with their references: the table shows the median.
repeated=(--benchmark_repetitions=3 --benchmark_enable_random_interleaving=true
    --benchmark_report_aggregates_only=true)

# The references that need another converter are measured only where the machine has it.
if pkg-config --exists md4c 2>/dev/null || [ -f /usr/include/md4c.h ]; then
    echo "md4c found, but no md4c reference benchmark is built yet" >"$results/md4c.txt"
else
    echo "reference not available on this machine (md4c headers missing)" >"$results/md4c.txt"
fi
if command -v node >/dev/null && node -e "require.resolve('turndown')" 2>/dev/null; then
    echo "turndown found, but no turndown reference benchmark is built yet" >"$results/turndown.txt"
else
    echo "reference not available on this machine (node's turndown package missing)" >"$results/turndown.txt"
fi

# The scan beside a plain read of every file, then the scan once alone in its process, so that its peak
# memory is its own and not hidden by an earlier repetition's.
run bench_migration scan '^BM_Scan(SyntheticVault|FloorReadEveryFile)$' "${repeated[@]}"
run bench_migration scan-memory '^BM_ScanSyntheticVault$'
run bench_migration render '^BM_ConvertCorpus$|^BM_UnclosedBracketsOneLine/(131072|262144)$|^BM_UnclosedMarkersOneLine/(32768|65536)$' \
    "${repeated[@]}"
run bench_hostile_html references '^BM_Hostile(Numeric|Hex)References/(32768|65536)$' "${repeated[@]}"
run bench_export export '^BM_(ConvertCorpusHtml|ExportNotes|ExportFloorQSaveFile|ExportSameNames)'
run bench_runner runner '^BM_(QProcessFloor|NotesBridgeRun)' "${repeated[@]}"
run bench_fake_notes fake-notes '^BM_(ReadFolder|CreateNote)'

python3 scripts/benchmark-table.py "$results" "${TMPDIR:-/tmp}/velloran-bench-vault-10000-42" Benchmarks/README.md \
    scripts/benchmarks.sh
echo "wrote Benchmarks/README.md" >&2
