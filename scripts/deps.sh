#!/usr/bin/env bash
# Installs what building Scrubline needs and is missing; with --test, also what its tests need.
# Safe to run again: nothing already present is installed twice.
set -euo pipefail

want_tests=false
[ "${1:-}" = --test ] && want_tests=true

case "$(uname -s)" in
Linux)
    command -v apt-get >/dev/null || { echo "deps: this script knows Debian and Ubuntu (apt-get)" >&2; exit 1; }
    packages=(cmake ninja-build g++ pkg-config qt6-base-dev qt6-svg-dev qt6-qpa-plugins
              libgl-dev libxcb1-dev libxkbcommon-dev libdbus-1-dev qt6-wayland fonts-dejavu-core)
    if $want_tests; then
        packages+=(git xvfb dbus trayer xdotool x11-utils clang-format qt6-declarative-dev
                  mpv mpv-mpris ffmpeg chromium playerctl libxcb-xtest0-dev x11-xkb-utils
                  x11-xserver-utils
                  desktop-file-utils appstream openssl weston vlc-bin vlc-plugin-base
                  firefox-esr dpkg-dev file audacious audacious-plugins
                  kwin-wayland xdg-desktop-portal xdg-desktop-portal-kde qtwayland5
                  plasma-wayland-protocols libwayland-dev)
    fi
    missing=()
    for package in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    if [ ${#missing[@]} -gt 0 ]; then
        sudo=""
        [ "$(id -u)" -eq 0 ] || sudo=sudo
        echo "deps: installing ${missing[*]}"
        $sudo apt-get update -qq
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
            "${missing[@]}" >/dev/null
    fi
    ;;
Darwin)
    command -v brew >/dev/null || { echo "deps: install Homebrew first (https://brew.sh)" >&2; exit 1; }
    formulae=(cmake ninja qt)
    # The format check wants clang-format 14, which Homebrew has as the keg-only llvm@14.
    $want_tests && formulae+=(llvm@14)
    for formula in "${formulae[@]}"; do
        brew list --formula "$formula" >/dev/null 2>&1 || brew install "$formula"
    done
    ;;
*)
    echo "deps: Scrubline builds on Linux and macOS" >&2
    exit 1
    ;;
esac
