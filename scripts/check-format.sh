#!/usr/bin/env bash
# Every C, C++ and Objective-C++ source is formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."

# Versions format differently; the checked-in layout is clang-format 14's, which Debian installs
# as clang-format-14 (and as clang-format), apt.llvm.org under /usr/lib/llvm-14, and Homebrew as
# the keg-only llvm@14. CLANG_FORMAT names another.
major() { "$1" --version 2>/dev/null | sed -nE 's/.*version ([0-9]+)\..*/\1/p' | head -n 1; }
candidates=("${CLANG_FORMAT:-}" clang-format-14 /usr/lib/llvm-14/bin/clang-format clang-format)
if command -v brew >/dev/null; then
    candidates+=("$(brew --prefix llvm@14 2>/dev/null)/bin/clang-format")
fi
candidates+=(/opt/homebrew/opt/llvm@14/bin/clang-format /usr/local/opt/llvm@14/bin/clang-format)
clang_format=""
seen=()
for candidate in "${candidates[@]}"; do
    [ -n "$candidate" ] || continue
    path=$(command -v "$candidate" 2>/dev/null) || continue
    version=$(major "$path")
    if [ "$version" = 14 ]; then
        clang_format=$path
        break
    fi
    seen+=("$path (${version:-no version})")
done
if [ -z "$clang_format" ]; then
    echo "format: FAILED: no clang-format 14 found (looked for \$CLANG_FORMAT, clang-format-14," \
        "/usr/lib/llvm-14/bin/clang-format, clang-format and Homebrew's llvm@14)" >&2
    [ ${#seen[@]} -gt 0 ] && echo "format: found only: ${seen[*]}" >&2
    echo "format: install clang-format 14 (apt-get install clang-format-14, brew install llvm@14)," \
        "or set CLANG_FORMAT to one" >&2
    exit 1
fi

listed=$(git ls-files -co --exclude-standard -- '*.cpp' '*.h' '*.mm' '*.c')
files=$(echo "$listed" | grep -E '^(src|tests|bench)/' || true)
[ -z "$files" ] && exit 0
# shellcheck disable=SC2086
"$clang_format" --dry-run --Werror $files
echo "format: $(echo "$files" | wc -l) files clean ($clang_format, $("$clang_format" --version | head -n 1))"
