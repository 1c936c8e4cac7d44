# shellcheck shell=bash
# Sourced by the other scripts: where Homebrew keeps Qt, ICU and QCoro on macOS. The configure presets
# read HOMEBREW_PREFIX too (CMakePresets.json), so configuring by hand works in any shell that has run
# `brew shellenv`.
if [ "$(uname -s)" = Darwin ] && command -v brew >/dev/null; then
    HOMEBREW_PREFIX="${HOMEBREW_PREFIX:-$(brew --prefix)}"
    export HOMEBREW_PREFIX
fi
