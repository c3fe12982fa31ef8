#!/usr/bin/env bash
# Installs what is missing, runs the source checks, builds with the address and undefined-
# behaviour sanitizers, and runs every test (unit, gui and e2e); on Linux it then builds the
# .deb and checks it installs, runs and removes.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh --test
bash scripts/check-platform-conditionals.sh
bash scripts/check-layering.sh
bash scripts/check-format.sh
bash scripts/check-sleeps.sh

export SCRUBLINE_BUILD_DIR=build-test
bash scripts/build.sh -DSCRUBLINE_BUILD_TESTS=ON -DSCRUBLINE_SANITIZE=ON

# Leaks are not failures: the toolkit keeps some allocations for the life of the process.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1
labels=()
# The e2e tests need an X server and Linux players.
[ "$(uname -s)" = Darwin ] && labels=(-LE e2e)
ctest --test-dir build-test --output-on-failure --parallel 2 "${labels[@]}"

# Last, as it installs a package on this machine, and removes it.
if [ "$(uname -s)" = Linux ]; then
    bash tests/support/check-deb build-test/tests/fake_mpris_player
fi
