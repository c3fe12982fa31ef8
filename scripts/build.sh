#!/usr/bin/env bash
# Configures and builds Scrubline into build/ (or the folder given as SCRUBLINE_BUILD_DIR).
# Extra arguments go to the configure step, e.g. -DSCRUBLINE_SANITIZE=ON.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${SCRUBLINE_BUILD_DIR:-build}
prefix=()
[ "$(uname -s)" = Darwin ] && prefix=(-DCMAKE_PREFIX_PATH="$(brew --prefix qt)")
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${prefix[@]}" "$@" >/dev/null
cmake --build "$build_dir" --parallel
