#!/usr/bin/env bash
# Every C, C++ and Objective-C++ source is formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."

# Versions format differently; the checked-in layout is clang-format 14's.
version=""
command -v clang-format >/dev/null && version=$(clang-format --version | sed -nE 's/.*version ([0-9]+).*/\1/p')
if [ "$version" != 14 ]; then
    echo "format: skipped, needs clang-format 14 (found ${version:-none})"
    exit 0
fi
listed=$(git ls-files -co --exclude-standard -- '*.cpp' '*.h' '*.mm' '*.c')
files=$(echo "$listed" | grep -E '^(src|tests|bench)/' || true)
[ -z "$files" ] && exit 0
# shellcheck disable=SC2086
clang-format --dry-run --Werror $files
echo "format: $(echo "$files" | wc -l) files clean"
