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
bash scripts/build-entry.sh "$program"
exec "$program" "$@"
