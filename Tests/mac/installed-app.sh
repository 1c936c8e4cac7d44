#!/usr/bin/env bash
# Installs the application the way a release does (cmake --install, then Qt's QML deploy step) into a
# temporary prefix and starts the installed copy offscreen against the deployed QML modules alone: a qt.conf
# next to it points Qt's QML import path at <prefix>/qml, so nothing comes from the system's Qt QML
# folder. Passes when the window draws its first frame; then checks that taking QtQuick.Controls out of the
# deployed modules makes the start fail, proving the deployed copy is the one in use.
#
#   installed-app.sh BUILD_DIR SOURCE_DIR QT_PLUGINS_DIR
set -euo pipefail

build_dir=$1
source_dir=$2
qt_plugins_dir=$3
prefix=$(mktemp -d "${TMPDIR:-/tmp}/velloran-install.XXXXXX")
trap 'rm -rf "$prefix"' EXIT

# The application, then the QML modules it imports (a separate install component off macOS).
for component in "" qml-imports; do
    if ! log=$(cmake --install "$build_dir" --prefix "$prefix" ${component:+--component "$component"} 2>&1); then
        echo "$log"
        echo "FAIL: cmake --install ${component:+--component $component}"
        exit 1
    fi
done
app=$prefix/bin/velloran
[ -x "$app" ] || { echo "FAIL: no installed application at bin/velloran"; exit 1; }

# Every Qt module a screen imports must have been deployed.
status=0
while read -r module; do
    dir=$prefix/qml/${module//.//}
    if [ -f "$dir/qmldir" ]; then
        echo "ok: deployed $module"
    else
        echo "FAIL: $module is imported by the screens but was not deployed (no $dir/qmldir)"
        status=1
    fi
done < <(sed -n 's/^import \(Qt[A-Za-z.]*\).*/\1/p' "$source_dir"/Views/*.qml | sort -u)
[ $status -eq 0 ] || exit 1

cat >"$prefix/bin/qt.conf" <<CONF
[Paths]
Prefix=$prefix
QmlImports=qml
Plugins=$qt_plugins_dir
CONF

run() {
    env -u QML_IMPORT_PATH -u QML2_IMPORT_PATH QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software \
        XDG_CONFIG_HOME="$prefix/config" VELLORAN_QUIT_WHEN_SHOWN=1 timeout 60 "$app" 2>&1
}

if output=$(run) && grep -q '^Velloran: window shown' <<<"$output"; then
    echo "ok: the installed copy shows its window ($(grep '^Velloran: window shown' <<<"$output"))"
else
    echo "$output"
    echo "FAIL: the installed copy did not show its window"
    exit 1
fi

rm -rf "$prefix/qml/QtQuick/Controls"
if output=$(run) && grep -q '^Velloran: window shown' <<<"$output"; then
    echo "$output"
    echo "FAIL: the installed copy started without the deployed QtQuick.Controls: it does not use the deployed modules"
    exit 1
fi
echo "ok: without the deployed QtQuick.Controls the installed copy does not start"
