#!/usr/bin/env python3
"""Checks the screenshot gallery (docs/gallery.md) against the screenshots beside it.

Every image the gallery links must exist, every screenshot under docs/screenshots must be linked, and each
screen state must come in both appearances: NAME.png with NAME-dark.png. The README must link the gallery.

    check_gallery.py SOURCE_DIR
"""
import re
import sys
from pathlib import Path


def main(source_dir):
    source = Path(source_dir)
    gallery = source / "docs/gallery.md"
    failures = []
    if not gallery.is_file():
        print("FAIL: docs/gallery.md is missing")
        return 1
    linked = set()
    for target in re.findall(r"!\[[^\]]*\]\(([^)\s]+)\)", gallery.read_text(encoding="utf-8")):
        path = (gallery.parent / target).resolve()
        linked.add(path)
        if not path.is_file():
            failures.append(f"docs/gallery.md links {target}, which does not exist")
    shots = sorted((source / "docs/screenshots").glob("*.png"))
    for shot in shots:
        if shot.resolve() not in linked:
            failures.append(f"docs/screenshots/{shot.name} is not in docs/gallery.md")
    names = {shot.name for shot in shots}
    for name in names:
        pair = name[: -len("-dark.png")] + ".png" if name.endswith("-dark.png") else name[: -len(".png")] + "-dark.png"
        if pair not in names:
            failures.append(f"docs/screenshots/{name} has no counterpart {pair} in the other appearance")
    if "docs/gallery.md" not in (source / "README.md").read_text(encoding="utf-8"):
        failures.append("README.md does not link docs/gallery.md")
    for failure in sorted(failures):
        print("FAIL:", failure)
    if not failures:
        print(f"ok: docs/gallery.md shows all {len(shots)} screenshots, each state light and dark")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
