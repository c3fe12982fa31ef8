#!/usr/bin/env bash
# Platform conditionals belong behind the interfaces in src/platform/ (and in main.cpp) only.
set -euo pipefail
cd "$(dirname "$0")/.."

found=$(grep -rnE '^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif).*(Q_OS_|__APPLE__|__linux__|_WIN32)' src |
        grep -v '^src/platform/' | grep -v '/main\.cpp:' || true)
if [ -n "$found" ]; then
    echo "Platform conditionals outside src/platform/; move them behind a platform interface:" >&2
    echo "$found" >&2
    exit 1
fi
echo "platform conditionals: none outside src/platform/"
