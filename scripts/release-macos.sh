#!/usr/bin/env bash
# Builds the release disk image of Velloran: a notarized, stapled Velloran-<version>.dmg holding an
# application signed inside-out with the hardened runtime.
#
#   scripts/release-macos.sh "Developer ID Application: NAME (TEAMID)" NOTARY_PROFILE [cmake option]...
#
# NOTARY_PROFILE is a notarytool keychain profile (xcrun notarytool store-credentials NOTARY_PROFILE ...).
# Further arguments go to CMake's configure step, e.g. -DVELLORAN_SPARKLE=ON
# -DCMAKE_FRAMEWORK_PATH=... -DVELLORAN_SPARKLE_FEED_URL=... -DVELLORAN_SPARKLE_PUBLIC_KEY=...
#
# Steps: configure and build the release preset; install into build/release/install, which deploys Qt (and
# Sparkle) and signs inside-out with the identity (scripts/sign-macos.sh); make the disk image from the
# signed application; sign the image; submit it to Apple's notary service and wait; staple the ticket;
# check the result with spctl.
set -euo pipefail

(($# >= 2)) || { echo "usage: $0 SIGNING_IDENTITY NOTARY_PROFILE [cmake option]..." >&2; exit 2; }
identity=$1 profile=$2
shift 2
if [ "$(uname -s)" != Darwin ]; then
    echo "release-macos: runs on macOS only" >&2
    exit 1
fi
if [ "$identity" = - ]; then
    echo "release-macos: an ad-hoc signature cannot be notarized; give a Developer ID Application identity" >&2
    exit 2
fi

cd "$(dirname "$0")/.."
root=$PWD
# shellcheck source=scripts/env.sh
. scripts/env.sh

build=build/release
prefix=$build/install
cmake --preset release "$@"
cmake --build --preset release --target velloran

rm -rf "$prefix"
VELLORAN_SIGN_IDENTITY=$identity cmake --install "$build" --prefix "$prefix"
app=$prefix/Velloran.app

version=$(/usr/libexec/PlistBuddy -c 'Print :CFBundleShortVersionString' "$app/Contents/Info.plist")
dmg=$build/Velloran-$version.dmg
staging=$(mktemp -d "${TMPDIR:-/tmp}/velloran-dmg.XXXXXX")
trap 'rm -rf "$staging"' EXIT

# The image: the signed application and a link to /Applications to drag it onto.
ditto "$app" "$staging/Velloran.app"
ln -s /Applications "$staging/Applications"
rm -f "$dmg"
hdiutil create -volname Velloran -srcfolder "$staging" -fs HFS+ -format UDZO -ov "$dmg"
codesign --force --sign "$identity" --timestamp "$dmg"

xcrun notarytool submit "$dmg" --keychain-profile "$profile" --wait
xcrun stapler staple "$dmg"
xcrun stapler validate "$dmg"

spctl --assess --type open --context context:primary-signature --verbose=2 "$dmg"
# The application inside, as Gatekeeper sees it once copied out of the image.
spctl --assess --type execute --verbose=2 "$app" || {
    echo "release-macos: the installed copy is not accepted by Gatekeeper (its ticket is stapled to the image)" >&2
}
echo "release-macos: $root/$dmg is signed, notarized and stapled"
