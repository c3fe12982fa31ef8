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
bash scripts/build.sh -DSCRUBLINE_BUILD_TESTS=ON -DSCRUBLINE_SANITIZE=ON -DSCRUBLINE_WERROR=ON

# A leak fails its test. The toolkit and the system libraries keep some allocations for the life
# of the process; tests/lsan.supp names those, and nothing of ours. CTest hands the same options to
# each test (tests/CMakeLists.txt), so a test run by hand from this build behaves the same.
export ASAN_OPTIONS=abort_on_error=0
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS=print_stacktrace=1
labels=()
# The e2e tests, and those labelled linux, need an X server and Linux players.
[ "$(uname -s)" = Darwin ] && labels=(-LE 'e2e|linux')
ctest --test-dir build-test --output-on-failure --parallel 2 "${labels[@]}"

# Last, as it installs a package on this machine, and removes it.
if [ "$(uname -s)" = Linux ]; then
    bash tests/support/check-deb build-test/tests/fake_mpris_player
fi
