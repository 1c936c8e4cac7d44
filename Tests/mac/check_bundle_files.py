#!/usr/bin/env python3
"""Checks the files the macOS bundle is made from for the keys Velloran depends on.

App/Info.plist.in: the Apple-events usage sentence (without it macOS never asks whether Velloran may control
Notes, and every exchange fails), the bundle keys CMake fills in (the icon among them, drawn in
App/icons/velloran.svg), and a minimum system version that comes out
equal to the deployment target the presets give the binary. App/Velloran.entitlements: the Apple-events
entitlement the hardened runtime requires for the same reason, and the JIT one QML uses.

    check_bundle_files.py SOURCE_DIR
"""
import json
import plistlib
import re
import sys
from pathlib import Path

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def configured(value, variables):
    """The value as CMake writes it into the bundle: @VAR@ replaced from the presets' cache variables."""
    def replace(match):
        name = match.group(1)
        if name not in variables:
            failures.append(f"Info.plist.in uses @{name}@, which no configure preset sets")
            return match.group(0)
        return variables[name]
    return re.sub(r"@([A-Za-z0-9_]+)@", replace, value)


def preset_cache_variables(presets, name):
    """A configure preset's cache variables, with those of the presets it inherits (earlier ones win)."""
    by_name = {p["name"]: p for p in presets["configurePresets"]}
    preset = by_name[name]
    variables = {}
    parents = preset.get("inherits", [])
    if isinstance(parents, str):
        parents = [parents]
    for parent in reversed(parents):
        variables.update(preset_cache_variables(presets, parent))
    variables.update(preset.get("cacheVariables", {}))
    return variables


def main(source_dir):
    source = Path(source_dir)
    info = plistlib.loads((source / "App/Info.plist.in").read_bytes())
    entitlements = plistlib.loads((source / "App/Velloran.entitlements").read_bytes())
    presets = json.loads((source / "CMakePresets.json").read_text())

    usage = info.get("NSAppleEventsUsageDescription", "")
    check(isinstance(usage, str) and "Notes" in usage,
          "Info.plist.in: NSAppleEventsUsageDescription must say why Velloran controls Notes")
    for key, value in {
        "CFBundleExecutable": "${MACOSX_BUNDLE_EXECUTABLE_NAME}",
        "CFBundleIdentifier": "${MACOSX_BUNDLE_GUI_IDENTIFIER}",
        "CFBundleIconFile": "${MACOSX_BUNDLE_ICON_FILE}",
        "CFBundlePackageType": "APPL",
        "NSPrincipalClass": "NSApplication",
    }.items():
        check(info.get(key) == value, f"Info.plist.in: {key} must be {value!r}, is {info.get(key)!r}")
    check((source / "App/icons/velloran.svg").is_file(),
          "App/icons/velloran.svg: the application icon's drawing is missing")
    check(info.get("SUFeedURL") == "@VELLORAN_SPARKLE_FEED_URL@",
          "Info.plist.in: SUFeedURL must come from VELLORAN_SPARKLE_FEED_URL")
    check(info.get("SUPublicEDKey") == "@VELLORAN_SPARKLE_PUBLIC_KEY@",
          "Info.plist.in: SUPublicEDKey must come from VELLORAN_SPARKLE_PUBLIC_KEY")

    check(entitlements.get("com.apple.security.automation.apple-events") is True,
          "Velloran.entitlements: com.apple.security.automation.apple-events must be true")
    check(entitlements.get("com.apple.security.cs.allow-jit") is True,
          "Velloran.entitlements: com.apple.security.cs.allow-jit must be true (QML's JIT; see the README)")
    for key in entitlements:
        check(not key.startswith("com.apple.security.cs.disable-library-validation"),
              f"Velloran.entitlements: {key} weakens the hardened runtime; Velloran signs its libraries instead")

    minimum = info.get("LSMinimumSystemVersion", "")
    building = [p["name"] for p in presets["configurePresets"] if not p.get("hidden")]
    check(building, "CMakePresets.json: no configure presets")
    for name in building:
        variables = preset_cache_variables(presets, name)
        target = variables.get("CMAKE_OSX_DEPLOYMENT_TARGET")
        check(bool(target), f"CMakePresets.json: preset {name} sets no CMAKE_OSX_DEPLOYMENT_TARGET")
        if target:
            written = configured(minimum, variables)
            check(written == target,
                  f"preset {name}: Info.plist's LSMinimumSystemVersion comes out as {written!r}, "
                  f"the binary's deployment target is {target!r}")
            check(re.fullmatch(r"\d+\.\d+(\.\d+)?", target) is not None,
                  f"preset {name}: CMAKE_OSX_DEPLOYMENT_TARGET {target!r} is not a version")

    for failure in failures:
        print("FAIL:", failure)
    if not failures:
        print("ok: Info.plist.in, Velloran.entitlements and the presets' deployment target agree")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
