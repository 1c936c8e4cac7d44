#!/usr/bin/env bash
# Compiles every Objective-C++ file of the application (App/*.mm, Views/*.mm) for syntax and ARC rules, as the macOS
# build does (-fobjc-arc, warnings as errors), against the real Qt headers and the stand-in AppKit,
# Foundation and Sparkle declarations in Tests/MacStandIns. Catches what Linux can catch of the Mac build:
# casts ARC forbids, wrong selectors or types, and Qt API misuse. Exits 77 (skipped) without clang.
#
#   objcxx-syntax.sh SOURCE_DIR QT_INCLUDE_DIRS(colon-separated) [clang++]
set -euo pipefail

source_dir=$1
qt_include_dirs=$2
clangxx=${3:-clang++}
if ! command -v "$clangxx" >/dev/null; then
    echo "SKIP: no clang++ here; the Objective-C++ check needs it (scripts/deps.sh installs it on Debian)"
    exit 77
fi

flags=(-x objective-c++ -std=c++20 -fsyntax-only -fobjc-arc -fblocks -fobjc-runtime=macosx-12.0
    -Wall -Wextra -Wpedantic -Werror -Wno-gnu-zero-variadic-macro-arguments -fPIC
    -DQT_NO_CAST_FROM_ASCII -DQT_NO_CAST_TO_ASCII -DQT_NO_URL_CAST_FROM_STRING
    -isystem "$source_dir/Tests/MacStandIns" -I "$source_dir/App" -I "$source_dir/Views")
IFS=: read -r -a dirs <<<"$qt_include_dirs"
for dir in "${dirs[@]}"; do
    # The compiler's own system directories stay where the compiler puts them.
    case $dir in "" | /usr/include | /usr/local/include) continue ;; esac
    flags+=(-isystem "$dir")
done

shopt -s nullglob
files=("$source_dir"/App/*.mm "$source_dir"/Views/*.mm)
if [ ${#files[@]} -eq 0 ]; then
    echo "FAIL: no .mm files under $source_dir/App"
    exit 1
fi
status=0
for file in "${files[@]}"; do
    if "$clangxx" "${flags[@]}" "$file"; then
        echo "ok: ${file#"$source_dir"/}"
    else
        echo "FAIL: ${file#"$source_dir"/} does not compile as Objective-C++ with ARC"
        status=1
    fi
done
exit $status
