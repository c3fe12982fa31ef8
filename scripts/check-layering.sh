#!/usr/bin/env bash
# The libraries under src/ form a one-way chain; an include may point down it or sideways within
# its own folder, never up. Run from the test script; a scratch tree can be checked by passing
# its folder.
#
#   commandline (plain C++) <- platform, app
#   utilities <- models <- platform (the interfaces) <- platform/linux or platform/macos
#   scripting (the scripted way of driving players; used by the macOS backend)
#   settings, core <- views <- app
#
# Only the backend's own files include a backend file, and only the application shell (and the
# backends that implement it) includes the platform factory.
set -euo pipefail
root=${1:-"$(dirname "$0")/.."}
cd "$root/src"

# The folders a folder may include from, besides itself.
allowed() {
    case "$1" in
    commandline) echo "" ;;
    utilities) echo "" ;;
    models) echo "utilities" ;;
    platform) echo "commandline utilities models" ;;
    platform/linux) echo "commandline utilities models platform" ;;
    # The `scrubline` command: the plain parts alone, without Qt.
    platform/linux/cli) echo "commandline" ;;
    platform/macos) echo "commandline utilities models platform scripting" ;;
    scripting) echo "utilities models platform" ;;
    settings) echo "utilities models platform" ;;
    core) echo "utilities models platform settings" ;;
    views) echo "utilities models platform settings core" ;;
    app) echo "commandline utilities models platform settings core scripting views" ;;
    *) return 1 ;;
    esac
}

problems=0
complain() {
    echo "$1" >&2
    problems=$((problems + 1))
}

# The views are one library in a folder for each role; their subfolders count as views.
library_of() {
    case "$1" in
    views/*) echo views ;;
    *) echo "$1" ;;
    esac
}

while IFS= read -r file; do
    folder=$(library_of "$(dirname "$file")")
    if ! allow=$(allowed "$folder"); then
        complain "$file: in a folder the layering does not know; add it to scripts/check-layering.sh"
        continue
    fi
    while IFS=: read -r line target; do
        # "Name.h" alone is a neighbour in the same folder.
        [[ "$target" == */* ]] || continue
        to=$(library_of "$(dirname "$target")")
        if [[ "$to" == platform/linux || "$to" == platform/macos ]]; then
            [[ "$folder" == "$to" || "$folder" == "$to"/* ]] ||
                complain "$file:$line: includes the backend file $target"
            continue
        fi
        if [ "$target" = platform/Platform.h ]; then
            case "$folder" in
            app | platform/linux | platform/macos) ;;
            *) complain "$file:$line: includes the platform factory, which only the application shell calls" ;;
            esac
            continue
        fi
        [ "$to" = "$folder" ] && continue
        [[ " $allow " == *" $to "* ]] ||
            complain "$file:$line: $folder may not include $target (it is not below $folder)"
    done < <(grep -nE '^[[:space:]]*#[[:space:]]*(include|import)[[:space:]]*"' "$file" |
        sed -E 's/^([0-9]+):[^"]*"([^"]+)".*/\1:\2/')
done < <(find . -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) | sed 's#^\./##' | sort)

# The interfaces speak the toolkit's terms, a key being a QKeyCombination: the numbers the
# reference platform stores keys under belong to the settings codec and the macOS backend alone.
while IFS=: read -r file line _; do
    complain "$file:$line: a platform interface names Carbon; speak QKeyCombination instead"
done < <(grep -nHE '[Cc]arbon|CARBON|EventHotKey|kVK_|\b(cmdKey|optionKey|controlKey|shiftKey)\b' \
    platform/*.h || true)

if [ "$problems" -gt 0 ]; then
    echo "layering: $problems problem(s): includes that point the wrong way, or Carbon in an interface" >&2
    exit 1
fi
echo "layering: every include points down the chain"
