#!/usr/bin/env bash
# Builds and runs the seek benchmark in its own X server and session bus. Not part of the tests.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh" --test
build="${SCRUBLINE_BENCH_DIR:-$root/build-bench}"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target bench_seek
exec "$root/tests/support/with-session" "$build/bench/bench_seek"
