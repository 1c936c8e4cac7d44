#!/usr/bin/env bash
# Installs what Velloran needs to build and test, and only what is missing.
# Debian/Ubuntu: apt-get (as root, or through sudo). macOS: Homebrew.
# Safe to run again; takes a second or two when nothing is missing.
set -euo pipefail

debian_packages=(
    g++ cmake ninja-build clang-format python3
    qt6-base-dev libqt6sql6-sqlite qt6-declarative-dev qt6-svg-dev qt6-tools-dev qt6-l10n-tools
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates
    qml6-module-qtquick-layouts qml6-module-qtquick-shapes qml6-module-qtquick-dialogs
    qml6-module-qtquick-window qml6-module-qtqml-workerscript qml6-module-qttest
    qml6-module-qt-labs-folderlistmodel
    libicu-dev qcoro-qt6-dev libcli11-dev libbenchmark-dev
    qml6-module-qtqml qml6-module-qtqml-models
    clang shellcheck
    librsvg2-bin
)
# Only the Qt modules Velloran uses, not the whole qt formula. icu4c and python3 are aliases of versioned
# formulae, so they are looked up by what `brew --prefix --installed` says, never by name in a list.
brew_packages=(cmake ninja clang-format qtbase qtdeclarative qtsvg qttools icu4c qcoro6 cli11 google-benchmark
    python3 shellcheck librsvg)

case "$(uname -s)" in
Linux)
    missing=()
    for p in "${debian_packages[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$'; then
            missing+=("$p")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && exit 0
    echo "deps: installing ${missing[*]}" >&2
    sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
    ;;
Darwin)
    command -v brew >/dev/null || { echo "deps: Homebrew is needed: https://brew.sh" >&2; exit 1; }
    missing=()
    for p in "${brew_packages[@]}"; do
        brew --prefix --installed "$p" >/dev/null 2>&1 || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && exit 0
    echo "deps: installing ${missing[*]}" >&2
    brew install "${missing[@]}"
    ;;
*)
    echo "deps: unsupported system $(uname -s); install the packages listed in this script by hand" >&2
    exit 1
    ;;
esac
