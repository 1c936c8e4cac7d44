# Sourced by the other scripts: where Homebrew keeps Qt and ICU on macOS.
if [ "$(uname -s)" = Darwin ] && command -v brew >/dev/null; then
    export CMAKE_PREFIX_PATH="$(brew --prefix qt):$(brew --prefix icu4c):$(brew --prefix qcoro6)${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}"
fi
