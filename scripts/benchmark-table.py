#!/usr/bin/env python3
"""Builds Benchmarks/README.md from the JSON files that scripts/benchmarks.sh collects.

Usage: benchmark-table.py RESULTS_DIR VAULT_DIR OUTPUT COMMAND

RESULTS_DIR holds one Google Benchmark JSON file per run (--benchmark_out_format=json) and the text files
md4c.txt and turndown.txt, which say why a reference could not be measured. VAULT_DIR is the synthetic
vault the scan read, whose .md files give the size of the notes held. Every figure is set next to its
reference from the same run, as a ratio, with the goal it is held to.
"""

import json
import os
import statistics
import sys
from pathlib import Path


def load(results):
    """Every run of every JSON file, by the benchmark's run name, with its aggregates apart."""
    runs = {}
    context = None
    for path in sorted(Path(results).glob("*.json")):
        data = json.loads(path.read_text())
        context = context or data.get("context")
        for entry in data.get("benchmarks", []):
            runs.setdefault(entry["run_name"], []).append(entry)
            runs.setdefault(f"{path.stem}:{entry['run_name']}", []).append(entry)
    return runs, context or {}


class Results:
    def __init__(self, runs):
        self.runs = runs

    def entry(self, name):
        """The median of a benchmark's repetitions, or its only run; None when it did not run."""
        entries = self.runs.get(name, [])
        if any(e.get("error_occurred") for e in entries):
            return None
        medians = [e for e in entries if e.get("aggregate_name") == "median"]
        if medians:
            return medians[0]
        iterations = [e for e in entries if e.get("run_type") == "iteration"]
        if not iterations:
            return None
        if len(iterations) == 1:
            return iterations[0]
        # Several repetitions without aggregates: the median of each numeric field.
        merged = dict(iterations[0])
        for key, value in iterations[0].items():
            if isinstance(value, (int, float)) and not isinstance(value, bool):
                merged[key] = statistics.median(e[key] for e in iterations)
        return merged

    def seconds(self, name):
        entry = self.entry(name)
        if entry is None:
            return None
        scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[entry.get("time_unit", "ns")]
        return entry["real_time"] * scale

    def value(self, name, key):
        entry = self.entry(name)
        return None if entry is None or key not in entry else entry[key]


def duration(seconds):
    if seconds is None:
        return "did not run"
    if seconds >= 1:
        return f"{seconds:.2f} s"
    if seconds >= 1e-3:
        return f"{seconds * 1e3:.1f} ms"
    return f"{seconds * 1e6:.0f} µs"


def rate(bytes_per_second):
    return "did not run" if bytes_per_second is None else f"{bytes_per_second / 1e6:.1f} MB/s"


def ratio(value):
    return "—" if value is None else f"{value:.2f}×"


def verdict(value, holds):
    if value is None:
        return "not measured"
    return "met" if holds(value) else "not met"


def vault_text_bytes(vault):
    total = 0
    count = 0
    for folder, _, files in os.walk(vault):
        for name in files:
            if name.endswith(".md"):
                total += os.path.getsize(os.path.join(folder, name))
                count += 1
    return total, count


def comparison_rows(r, results, vault):
    """The rows that set a figure beside its reference."""
    rows = []
    missing_md4c = (Path(results) / "md4c.txt").read_text().strip()
    missing_turndown = (Path(results) / "turndown.txt").read_text().strip()

    rows.append(["Markdown → Notes HTML, the shared corpus, in-process", "corpus (.md)",
                 rate(r.value("BM_ConvertCorpus", "bytes_per_second")), missing_md4c, "—", "≥ 0.5× md4c's speed",
                 "not measured"])
    rows.append(["Notes HTML → Markdown, the corpus as HTML, in-process", "corpus rendered to HTML",
                 rate(r.value("BM_ConvertCorpusHtml", "bytes_per_second")), missing_turndown, "—",
                 "≥ 20× turndown's speed", "not measured"])

    scan = r.seconds("BM_ScanSyntheticVault")
    floor = r.seconds("BM_ScanFloorReadEveryFile")
    slower = scan / floor if scan and floor else None
    notes = r.value("BM_ScanSyntheticVault", "notes")
    rows.append(["analyze (scan) of a synthetic vault, warm cache", f"{notes:.0f} notes" if notes else "10,000 notes",
                 duration(scan), f"a walk that opens and reads every .md: {duration(floor)}",
                 f"{ratio(slower)} slower" if slower else "—", "≤ 2× slower", verdict(slower, lambda v: v <= 2)])

    # From the scan's run alone: a repetition after the first finds the peak already reached.
    growth = r.value("scan-memory:BM_ScanSyntheticVault", "peak_rss_growth_MiB")
    text_bytes, text_notes = vault_text_bytes(vault)
    scanned = r.value("scan-memory:BM_ScanSyntheticVault", "notes")
    # The whole growth counts against the goal, whether it holds text or not.
    per_note = growth * 1024 / scanned if growth is not None and scanned else None
    rows.append(["analyze, peak memory growth", f"{scanned:.0f} notes" if scanned else "10,000 notes",
                 "did not run" if growth is None else f"{growth:.1f} MiB",
                 f"the .md files' text: {text_bytes / 1024 / 1024:.1f} MiB ({text_bytes / max(text_notes, 1):.0f} B a file)",
                 "—" if per_note is None else f"{per_note:.2f} KiB a note, all of the growth",
                 "< 2 KiB a note beyond the text held", verdict(per_note, lambda v: v < 2)])

    run = r.seconds("BM_NotesBridgeRun/real_time")
    bare = r.seconds("BM_QProcessFloor/real_time")
    cost = run / bare if run and bare else None
    rows.append(["script run, own cost per call (program = /bin/true)", "one script run", duration(run),
                 f"a bare process start and wait: {duration(bare)}", ratio(cost), "≤ 1.1× the bare start",
                 verdict(cost, lambda v: v <= 1.1)])

    export = r.seconds("BM_ExportNotes/iterations:3/real_time")
    written = r.seconds("BM_ExportFloorQSaveFile/iterations:3/real_time")
    speed = written / export if export and written else None
    files = 10000
    rows.append(["export writer, 10,000 notes in 25 folders", "10,000 files",
                 f"{duration(export)} ({files / export:,.0f} files/s)" if export else "did not run",
                 f"the same files written with QSaveFile: {duration(written)}" if written else "did not run",
                 f"{ratio(speed)} the reference's speed" if speed else "—", "≥ 0.8× the reference's speed",
                 verdict(speed, lambda v: v >= 0.8)])
    return rows


def growth_rows(r):
    """Time at n and 2n for the inputs that grew quadratically: linear means about 2× per doubling."""
    cases = [
        ("render: one line of unclosed \"[\"", "BM_UnclosedBracketsOneLine/{}", (131072, 262144), "{:,} \"[\""),
        ("render: \"[[a ![b \" repeated", "BM_UnclosedMarkersOneLine/{}", (32768, 65536), "{:,} repeats"),
        ("to-markdown: decimal character references", "BM_HostileNumericReferences/{}", (32768, 65536),
         "{:,} bytes"),
        ("to-markdown: hexadecimal character references", "BM_HostileHexReferences/{}", (32768, 65536),
         "{:,} bytes"),
        ("export: notes of one name in one folder", "BM_ExportSameNames/{}/real_time", (500, 1000), "{:,} notes"),
    ]
    rows = []
    for what, pattern, (n, doubled), size in cases:
        first = r.seconds(pattern.format(n))
        second = r.seconds(pattern.format(doubled))
        grown = second / first if first and second else None
        rows.append([what, f"n = {size.format(n)}", f"{duration(first)} → {duration(second)} at 2n",
                     "the same benchmark at n", f"{ratio(grown)} per doubling" if grown else "—",
                     "≤ 2.5× per doubling (linear)", verdict(grown, lambda v: v <= 2.5)])

    per_call = {}
    for call, benchmark in (("create a note", "BM_CreateNote"), ("read a folder", "BM_ReadFolder")):
        iterations = {"BM_CreateNote": 30, "BM_ReadFolder": 60}[benchmark]
        times = {}
        for notes in (100, 1000, 10000):
            name = f"{benchmark}/{notes}/iterations:{iterations}/real_time"
            seconds = r.seconds(name)
            reference = r.value(name, "reference ms")
            if seconds and reference:
                times[notes] = (seconds, reference / 1e3)
        per_call[call] = times
    for call, times in per_call.items():
        if len(times) < 3:
            rows.append([f"fake-osascript: {call}", "100 / 1k / 10k notes", "did not run", "—", "—",
                         "flat per-call cost", "not measured"])
            continue
        ratios = {notes: seconds / reference for notes, (seconds, reference) in times.items()}
        spread = ratios[10000] / ratios[100]
        rows.append([f"fake-osascript: {call}, per call", "100 / 1k / 10k notes",
                     " / ".join(duration(times[n][0]) for n in (100, 1000, 10000)),
                     "the stand-in printing its usage: " + " / ".join(duration(times[n][1]) for n in (100, 1000, 10000)),
                     " / ".join(ratio(ratios[n]) for n in (100, 1000, 10000)) + f"; 10k over 100: {ratio(spread)}",
                     "10k over 100 ≤ 1.5× (flat)", verdict(spread, lambda v: v <= 1.5)])
    return rows


def main():
    results, vault, output, command = sys.argv[1:5]
    runs, context = load(results)
    r = Results(runs)
    header = ["what", "input", "Velloran", "reference (same run)", "ratio", "goal", "met"]
    lines = ["# Benchmarks", "",
             f"Made by `{command}` on {context.get('date', 'an unknown date')}, on {context.get('host_name', 'this machine')} "
             f"({context.get('num_cpus', '?')} CPUs at {context.get('mhz_per_cpu', '?')} MHz). Each figure is the median "
             "of its repetitions, taken in turns with its reference in the same process where the two share one; "
             "growth rows compare the same benchmark at n and at 2n.", "",
             "| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    for row in comparison_rows(r, results, vault) + growth_rows(r):
        lines.append("| " + " | ".join(cell.replace("|", "\\|") for cell in row) + " |")
    lines += ["", "Each suite can be run by hand too: `build/release/Benchmarks/bench_NAME --benchmark_filter=REGEX`.", ""]
    Path(output).write_text("\n".join(lines))


if __name__ == "__main__":
    main()
