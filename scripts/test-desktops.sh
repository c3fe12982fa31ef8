#!/usr/bin/env bash
# Tests Scrubline's Wayland hotkeys against the real desktops of Debian 13: KDE Plasma's KWin
# and GNOME Shell, each with its own xdg-desktop-portal backend, in a Debian 13 root of their
# own (this machine may be older). Every case ends in a real mpv moved by a real key press.
#
#   scripts/test-desktops.sh [kde|gnome]...     (both when none is named; needs root)
#
# SCRUBLINE_TRIXIE_ROOT  the Debian 13 root, made once and reused (default /var/tmp/scrubline-trixie)
# SCRUBLINE_DESKTOPS_LOG where each run's logs and bus traces go (default <root>/var/log/scrubline)
#
# Slow: the first run downloads and installs both desktops. It stays out of CI for that reason.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD

root=${SCRUBLINE_TRIXIE_ROOT:-/var/tmp/scrubline-trixie}
desktops=("$@")
[ ${#desktops[@]} -gt 0 ] || desktops=(kde gnome)
for desktop in "${desktops[@]}"; do
    case "$desktop" in kde | gnome) ;; *) echo "test-desktops: unknown desktop $desktop" >&2; exit 2 ;; esac
done
[ "$(id -u)" -eq 0 ] || { echo "test-desktops: needs root (debootstrap, chroot)" >&2; exit 2; }

packages=(
    # Scrubline's build
    cmake ninja-build g++ pkg-config qt6-base-dev qt6-svg-dev qt6-wayland libxkbcommon-dev
    libdbus-1-dev libxcb1-dev libgl-dev libxcb-xtest0-dev
    # the player and the session
    dbus dbus-bin libglib2.0-bin mpv mpv-mpris ffmpeg playerctl xdg-desktop-portal
    # KDE Plasma: KWin 6 holds the global shortcuts (kglobalaccel runs inside it); its key tool
    kwin-wayland xdg-desktop-portal-kde plasma-integration kglobalacceld kde-cli-tools
    plasma-wayland-protocols libwayland-dev
    # GNOME
    gnome-shell xdg-desktop-portal-gnome xdg-desktop-portal-gtk gnome-control-center-data
)
# Changes to the list above make the root install again what it lacks.
stamp="$root/.scrubline-packages"
wanted=$(printf '%s\n' "${packages[@]}" | sort)

seconds() { date +%s; }
step() { printf '== %s\n' "$*"; }

# The mirror this machine's apt reads, so the root comes from the same place.
mirror() {
    local uri
    uri=$(grep -hE '^URIs:' /etc/apt/sources.list.d/*.sources 2>/dev/null | awk '{print $2}' |
        grep -v security | head -n1 || true)
    [ -n "$uri" ] || uri=$(grep -hE '^deb ' /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
        2>/dev/null | grep -v security | awk '{print $2}' | head -n1 || true)
    [ -n "$uri" ] || { echo "test-desktops: no Debian mirror in /etc/apt" >&2; exit 1; }
    echo "$uri"
}

# Runs a command in the root in a mount namespace of its own: the mounts go when it ends, even
# when it is killed.
in_root() {
    unshare --mount --propagation private -- bash -c '
        set -e
        root=$1; shift
        mount -t proc proc "$root/proc"
        mount --rbind /sys "$root/sys"
        mount --rbind /dev "$root/dev"
        mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
        mount -t tmpfs -o mode=755 tmpfs "$root/run"
        mkdir -p "$root/run/dbus" "$root/run/user"
        exec chroot "$root" /usr/bin/env -i PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin \
            LANG=C.UTF-8 TERM=dumb "$@"
    ' in_root "$root" "$@"
}

make_root() {
    if [ ! -x "$root/usr/bin/apt-get" ]; then
        command -v debootstrap >/dev/null || apt-get install -y -qq debootstrap >/dev/null
        step "debootstrap trixie into $root"
        local started
        started=$(seconds)
        rm -rf "$root.partial"
        debootstrap --variant=minbase trixie "$root.partial" "$(mirror)" >"$root.debootstrap.log" 2>&1 ||
            { tail -n 20 "$root.debootstrap.log" >&2; exit 1; }
        mv "$root.partial" "$root"
        echo "   debootstrap took $(($(seconds) - started)) s"
    fi
    if [ "$(cat "$stamp" 2>/dev/null)" != "$wanted" ]; then
        step "installing the desktops and the build tools in the root"
        local started
        started=$(seconds)
        echo "deb $(mirror) trixie main" >"$root/etc/apt/sources.list"
        # Services of the packages must not start in a root that has no init.
        printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
        chmod +x "$root/usr/sbin/policy-rc.d"
        in_root apt-get update -qq
        in_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
            "${packages[@]}" >"$root.install.log" 2>&1 || { tail -n 30 "$root.install.log" >&2; exit 1; }
        echo "$wanted" >"$stamp"
        echo "   install took $(($(seconds) - started)) s"
    fi
}

# Scrubline as this tree has it, built with the root's Qt; and the KWin key tool.
build() {
    step "building Scrubline in the root"
    local started
    started=$(seconds)
    rm -rf "$root/src/scrubline"
    mkdir -p "$root/src/scrubline" "$root/build"
    # The tree as it is now, committed or not, without build folders or git's store.
    tar -C "$repo" --exclude=./.git --exclude='./build*' -cf - . | tar -C "$root/src/scrubline" -xf -
    in_root bash -c '
        set -e
        cd /src/scrubline
        nice cmake -S . -B /build/scrubline -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DSCRUBLINE_BUILD_TESTS=OFF >/build/configure.log
        nice cmake --build /build/scrubline --parallel 2 >/build/build.log 2>&1 ||
            { tail -n 40 /build/build.log; exit 1; }
        grep -i "warning:" /build/build.log || true
        cd /build
        protocol=/usr/share/plasma-wayland-protocols/fake-input.xml
        wayland-scanner client-header "$protocol" fake-input-client-protocol.h
        wayland-scanner private-code "$protocol" fake-input-protocol.c
        cc -O2 -Wall -Wextra -I. -o kwin_fake_key /src/scrubline/tests/support/kwin_fake_key.c \
            fake-input-protocol.c $(pkg-config --cflags --libs wayland-client)
    ' || { echo "test-desktops: the build failed" >&2; exit 1; }
    echo "   build took $(($(seconds) - started)) s"
}

versions() {
    in_root dpkg-query -W -f='${Package} ${Version}\n' kwin-wayland gnome-shell mutter-common \
        xdg-desktop-portal xdg-desktop-portal-kde xdg-desktop-portal-gnome xdg-desktop-portal-gtk \
        kglobalacceld qt6-base-dev mpv 2>/dev/null | sed 's/^/   /'
}

make_root
build
step "versions"
versions

run=$(date +%Y%m%d-%H%M%S)
logs=${SCRUBLINE_DESKTOPS_LOG:-$root/var/log/scrubline}/$run
status=0
for desktop in "${desktops[@]}"; do
    step "$desktop"
    started=$(seconds)
    mkdir -p "$logs/$desktop"
    inside_logs=${logs#"$root"}
    [ "$inside_logs" != "$logs" ] || inside_logs=/var/log/scrubline/$run
    mkdir -p "$root$inside_logs/$desktop"
    in_root /src/scrubline/tests/support/desktops/desktop-cases "$desktop" /build/scrubline/src/app/scrubline \
        /build/kwin_fake_key "$inside_logs/$desktop" | sed 's/^/   /' || status=1
    [ "${PIPESTATUS[0]}" -eq 0 ] || status=1
    echo "   $desktop took $(($(seconds) - started)) s; logs in $root$inside_logs/$desktop"
done
exit $status
