#!/usr/bin/env bash
# Installs what is missing, builds, and starts Scrubline.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
bash scripts/build.sh -DSCRUBLINE_BUILD_TESTS=OFF
if [ "$(uname -s)" = Darwin ]; then
    exec build/src/app/Scrubline.app/Contents/MacOS/Scrubline "$@"
fi
program="$PWD/build/src/app/scrubline"

# The desktop portal gives global hotkeys only to a program it finds a desktop entry for under
# its app id (under Wayland, xdg-desktop-portal 1.20 refuses it otherwise), so a copy run from
# the build gets one in the user's data folder, pointing at the build. Hidden from menus; a
# user's own entry under that name is left alone.
entry="${XDG_DATA_HOME:-$HOME/.local/share}/applications/com.scrubline.app.desktop"
if [ ! -e "$entry" ] || grep -q '^X-Scrubline-Build=' "$entry"; then
    mkdir -p "$(dirname "$entry")"
    sed -e "s|^Exec=scrubline|Exec=$program|" \
        -e "/^\[Desktop Entry\]\$/a NoDisplay=true\nX-Scrubline-Build=$PWD/build" \
        resources/com.scrubline.app.desktop >"$entry.tmp"
    mv "$entry.tmp" "$entry"
fi
exec "$program" "$@"
