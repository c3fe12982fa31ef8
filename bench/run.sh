#!/usr/bin/env bash
# Builds and runs the benchmarks, each in its own X server and session bus. Not part of the
# tests. With an argument, only that one: seek, players, hotkey, hold or command.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh" --test
build="${SCRUBLINE_BENCH_DIR:-$root/build-bench}"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
which=${1:-all}
if [ "$which" = all ] || [ "$which" = seek ]; then
    cmake --build "$build" --target bench_seek
    "$root/tests/support/with-session" "$build/bench/bench_seek"
fi
if [ "$which" = all ] || [ "$which" = players ]; then
    cmake --build "$build" --target bench_players
    "$root/tests/support/with-session" "$build/bench/bench_players"
fi
if [ "$which" = all ] || [ "$which" = command ]; then
    cmake --build "$build" --target bench_command
    "$root/tests/support/with-session" "$build/bench/bench_command"
fi
if [ "$which" = all ] || [ "$which" = hotkey ]; then
    cmake --build "$build" --target bench_hotkey
    "$root/tests/support/with-session" "$build/bench/bench_hotkey"
fi
if [ "$which" = all ] || [ "$which" = hold ]; then
    cmake --build "$build" --target bench_hold
    "$root/tests/support/with-session" "$build/bench/bench_hold"
fi
