#!/usr/bin/env bash
# package_check.sh FOLDER BATCH: what linters say of the packages in FOLDER; then installs them into a bare root of
# this Debian, computes the demo there and compares the field with that of BATCH, the program of the build tree,
# bit by bit; opens the window on a screen that is not there; builds a plug-in against them; computes in Python.
# The bare root is made once and kept beside FOLDER. Needs root.
set -euo pipefail
packages=$(cd "$1" && pwd) batch=$(realpath "$2")
source /etc/os-release
work=$(mktemp -d)
base=$packages/bare_root root=$work/root archives=$packages/archives

leave() {
    local place
    for place in "$root"/{archives,proc,dev} "$root"; do
        umount "$place" 2>/dev/null || true
    done
    rm -rf --one-file-system "$work"
}
trap leave EXIT

fail() { printf 'package check: %s\n' "$*" >&2 && exit 1; }
say() { printf 'package check: %s\n' "$*"; }
# Some containers let nobody mount or make devices, root or not.
leave_out() { say "NOT TRIED in a bare root, which cannot be made here: $*" && exit 0; }
inside() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

check_files() {
    local page share=$work/unpacked/usr/share
    lintian --allow-root --fail-on error,warning "$packages"/*.deb || fail "lintian has something to say"
    dpkg-deb -x "$packages"/vynlite_*.deb "$work/unpacked"
    desktop-file-validate "$share/applications/vynlite.desktop"
    appstreamcli validate --strict --no-net "$share"/metainfo/*.xml >"$work/appstream.log" ||
        { cat "$work/appstream.log" >&2 && fail "metainfo"; }
    for page in "$share"/man/man1/*.gz; do
        [ -z "$(man --warnings -l "$page" 2>&1 >/dev/null)" ] || fail "man: $page"
    done
    say "lintian finds nothing in $(ls "$packages"/*.deb | wc -l) packages; desktop file, metainfo and manual pages are right"
}

# What VynLite is installed and tried with, from the same source of packages as this system has.
make_base() {
    local mirror
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | head -n 1)
    rm -rf "$base"
    debootstrap --variant=minbase "$VERSION_CODENAME" "$base.new" "$mirror" >"$work/debootstrap.log" 2>&1 ||
        { tail -n 5 "$work/debootstrap.log" >&2 && leave_out "debootstrap failed"; }
    rm -f "$base.new/etc/apt/sources.list"
    cp -r /etc/apt/sources.list* /etc/apt/apt.conf.d "$base.new/etc/apt/"
    mv "$base.new" "$base"
}

# Packages come and go in a layer above the base.
enter_root() {
    [ -d "$base" ] || make_base
    mkdir "$work/layer" "$work/work" "$root"
    mount -t overlay overlay -o "lowerdir=$base,upperdir=$work/layer,workdir=$work/work" "$root" ||
        leave_out "no overlay"
    cp /etc/resolv.conf /etc/hosts "$root/etc/"
    mount --bind /dev "$root/dev" || leave_out "no mounting"
    mount -t proc proc "$root/proc" || leave_out "no proc"
    mkdir "$root/packages" "$root/archives"
    mkdir -p "$archives/partial"
    mount --bind "$archives" "$root/archives"
    cp "$packages"/*.deb "$root/packages"
}

# What is downloaded is kept beside the base.
install() {
    inside apt-get -o Dir::Cache::archives=/archives -o APT::Keep-Downloaded-Packages=true -o DPkg::Post-Invoke::= \
        install -y -qq --no-install-recommends "$@" >"$work/install.log" 2>&1 ||
        { tail "$work/install.log" >&2 && fail "not installed: $*"; }
}

compute() { # FOLDER PROGRAM...
    "${@:2}" --anonymous run "$1/project.xml" --quiet --save field_P="$1/field.imp" 2>/dev/null
}

check_programs() {
    install "/packages/$(cd "$packages" && ls vynlite_*.deb)"
    say "installed: $(inside vynlite-batch --version)"
    inside vynlite-batch sample /root/demo --order 2 --quiet 2>/dev/null
    cp -r "$root/root/demo" "$work/demo"
    compute "$work/demo" "$batch"
    compute /root/demo inside vynlite-batch
    cmp "$work/demo/field.imp" "$root/root/demo/field.imp" || fail "the field of the demo has other bits"
    say "the installed programs compute the demo with the same bits"
}

check_python() {
    install "/packages/$(cd "$packages" && ls python3-vynlite_*.deb)"
    inside python3 - <<'PYTHON' 2>/dev/null || fail "Python computes something else"
import numpy, vynlite
field = vynlite.run("/root/demo/project.xml")["field_P"]
numpy.testing.assert_array_equal(field.values, vynlite.read("/root/demo/field.imp").values)
PYTHON
    say "and so does Python"
}

# On a screen that is not there, long enough for it to be drawn and the project to be read.
check_window() {
    install xvfb xauth
    inside timeout 60 xvfb-run -a bash -c \
        'vynlite /root/demo/project.xml >/root/window.log 2>&1 & sleep 10; kill -0 $! && kill $!' &&
        grep -q "The window is open" "$root/root/.local/state/vynlite/vynlite.log" ||
        { cat "$root/root/window.log" >&2 && fail "the window does not stay open"; }
    say "the window opens the demo"
}

check_development() {
    install "/packages/$(cd "$packages" && ls libvynlite-dev_*.deb)" cmake g++ make
    cp -r examples/plugin "$root/root/plugin"
    inside bash -c 'cd /root/plugin && cmake -S . -B build && cmake --build build' >"$work/plugin.log" 2>&1 ||
        { cat "$work/plugin.log" >&2 && fail "a plug-in cannot be built"; }
    printf 'vynlite-text 3 2\n1 2.5 -\n-4 1000000 0.125\n' >"$root/root/there.vtext"
    inside bash -c 'cd /root && export VYNLITE_PLUGINS=/usr/lib/vynlite/2/plugins:/root/plugin/build &&
        vynlite-batch convert there.vtext picture.tif && vynlite-batch convert picture.tif back.vtext &&
        cmp there.vtext back.vtext' || fail "a plug-in built against the package does not work"
    say "a plug-in built against the package reads and writes its pictures"
}

check_files
enter_root
inside apt-get update -qq -o APT::Update::Error-Mode=any || leave_out "no packages to be had"
check_programs
check_python
check_window
check_development
