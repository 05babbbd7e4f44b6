#!/usr/bin/env bash
# package_check.sh FOLDER BATCH: installs the packages of FOLDER into a bare root of the same Debian, computes the
# demo there, compares the field with that of BATCH, the program of the build tree, bit by bit, and opens the
# window on a screen that is not there. Needs root.
set -euo pipefail
packages=$(cd "$1" && pwd) batch=$(realpath "$2")
source /etc/os-release
work=$(mktemp -d)
root=$work/root
trap 'for place in proc dev; do umount "$root/$place" 2>/dev/null || true; done; rm -rf --one-file-system "$work"' EXIT

fail() { printf 'package check: %s\n' "$*" >&2 && exit 1; }
say() { printf 'package check: %s\n' "$*"; }
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 "$@"; }

for package in "$packages"/*.deb; do
    lintian --fail-on error,warning --suppress-tags-from-file packaging/lintian-unasked "$package" ||
        fail "lintian: $package"
done
say "lintian finds nothing in $(ls "$packages"/*.deb | wc -l) packages"
dpkg-deb -x "$packages"/vynlite_*.deb "$work/unpacked"
share=$work/unpacked/usr/share
desktop-file-validate "$share/applications/vynlite.desktop"
appstreamcli validate --strict --no-net "$share"/metainfo/*.xml
for page in "$share"/man/man1/*.gz; do
    [ -z "$(man --warnings -l "$page" 2>&1 >/dev/null)" ] || fail "man: $page"
done
say "desktop file, metainfo and man pages are right"

# The same source of packages as this system has.
mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | head -n 1)
debootstrap --variant=minbase "$VERSION_CODENAME" "$root" "$mirror" >"$work/debootstrap.log" 2>&1 ||
    { tail -n 5 "$work/debootstrap.log" >&2 && fail "no bare root"; }
cp -r /etc/apt/. "$root/etc/apt/"
cp /etc/resolv.conf /etc/hosts "$root/etc/"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
mount --bind /dev "$root/dev"
mount -t proc proc "$root/proc"
inside apt-get update -qq
inside env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    /packages/vynlite_*.deb xvfb xauth >"$work/install.log" 2>&1 || { tail "$work/install.log" >&2 && fail "not installed"; }
say "installed: $(inside vynlite-batch --version)"

demo() { # FOLDER PROGRAM...
    "${@:2}" sample "$1" --order 2 --quiet
    "${@:2}" --anonymous run "$1/project.xml" --quiet --save field_P="$1/field.imp"
}
demo "$work/demo" "$batch"
demo /root/demo inside vynlite-batch
cmp "$work/demo/field.imp" "$root/root/demo/field.imp" ||
    fail "the field of the demo has other bits"
inside bash -c 'timeout 20 xvfb-run -a vynlite /root/demo/project.xml & sleep 10; kill -0 $!' ||
    fail "the window does not stay open"
say "the installed programs compute the demo with the same bits and open it in the window"
