#!/usr/bin/env bash
# Gives a build of Scrubline a desktop entry in the user's data folder, pointing at the given
# program. The desktop portal gives global hotkeys only to a program it finds a desktop entry for
# under its app id (under Wayland, xdg-desktop-portal 1.20 refuses "com.scrubline.app"
# otherwise), so a copy run from its build folder needs one. Hidden from menus. An entry under
# that name that this script did not write (an installed copy's, or the user's own) is left as
# it is.
set -euo pipefail
cd "$(dirname "$0")/.."

program=${1:?usage: build-entry.sh PROGRAM}
case "$program" in
/*) ;;
*) program="$PWD/$program" ;;
esac
[ -x "$program" ] || { echo "build-entry: no program at $program" >&2; exit 1; }

entry="${XDG_DATA_HOME:-$HOME/.local/share}/applications/com.scrubline.app.desktop"
if [ -e "$entry" ] && ! grep -q '^X-Scrubline-Build=' "$entry"; then
    exit 0
fi
mkdir -p "$(dirname "$entry")"
sed -e "s|^Exec=scrubline|Exec=$program|" \
    -e "/^\[Desktop Entry\]\$/a NoDisplay=true\nX-Scrubline-Build=$program" \
    resources/com.scrubline.app.desktop >"$entry.tmp"
mv "$entry.tmp" "$entry"
