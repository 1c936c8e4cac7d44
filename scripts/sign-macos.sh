#!/usr/bin/env bash
# Signs an installed Velloran.app inside-out: every library and plug-in, Sparkle's helpers (each with the
# entitlements it ships with) and its framework, Qt's frameworks, then the application itself with the
# Apple-events entitlement. No --deep: it would sign the helpers with the application's entitlements.
#
#   scripts/sign-macos.sh Velloran.app IDENTITY ENTITLEMENTS
#
# IDENTITY "-" signs ad hoc for a local try-out, without the hardened runtime: with it, library validation
# refuses to load frameworks signed ad hoc. Any other identity (a "Developer ID Application: ..."
# certificate) signs with the hardened runtime and a secure timestamp, as notarization requires.
# Run by the install step (App/CMakeLists.txt) and by scripts/release-macos.sh.
set -euo pipefail

if [ $# -ne 3 ]; then
    echo "usage: $0 Velloran.app IDENTITY ENTITLEMENTS" >&2
    exit 2
fi
app=$1
identity=$2
entitlements=$3
[ -d "$app/Contents" ] || { echo "sign-macos: no application bundle at $app" >&2; exit 1; }
[ -f "$entitlements" ] || { echo "sign-macos: no entitlements file at $entitlements" >&2; exit 1; }

options=(--force --sign "$identity")
if [ "$identity" = - ]; then
    options+=(--timestamp=none)
else
    options+=(--options runtime --timestamp)
fi

sign() {
    codesign "${options[@]}" "$@"
}

# 1. Loose libraries and plug-ins: Qt's plug-ins and QML plug-ins, and libraries outside frameworks.
for dir in "$app/Contents/PlugIns" "$app/Contents/Frameworks" "$app/Contents/Resources"; do
    [ -d "$dir" ] || continue
    while IFS= read -r -d '' library; do
        sign "$library"
    done < <(find "$dir" -type f \( -name '*.dylib' -o -name '*.so' \) -not -path '*.framework/*' -print0)
done

# 2. Sparkle: its XPC services and helpers first, keeping the entitlements each one ships with, then the
#    framework.
sparkle="$app/Contents/Frameworks/Sparkle.framework"
if [ -d "$sparkle" ]; then
    version_dir="$sparkle/Versions/Current"
    for helper in "$version_dir"/XPCServices/*.xpc "$version_dir/Autoupdate" "$version_dir/Updater.app"; do
        [ -e "$helper" ] || continue
        sign --preserve-metadata=entitlements "$helper"
    done
    sign "$sparkle"
fi

# 3. Every other framework (Qt's).
while IFS= read -r -d '' framework; do
    [ "$framework" = "$sparkle" ] && continue
    sign "$framework"
done < <(find "$app/Contents/Frameworks" -maxdepth 1 -name '*.framework' -print0 2>/dev/null)

# 4. The application: the Apple-events entitlement (and the JIT one, see the README).
sign --entitlements "$entitlements" "$app"

codesign --verify --strict --deep --verbose=1 "$app"
