#!/usr/bin/env bash
# Installs the packages into a bare Debian, uses them as their readers will, and removes them again.
# Ends with 77 where that cannot be done.
# Usage: check.sh PACKAGES_FOLDER CACHE_FOLDER
#   CACHE_FOLDER  keeps the bare system and what was downloaded for later runs; made if missing
set -euo pipefail
packages=$(realpath "$1")
mkdir -p "$2"
cache=$(realpath "$2")
source=$(realpath "$(dirname "$0")/../..")
suite=bookworm
skip() { echo "packaging: skipped: $*" >&2 && exit 77; }
fail() { echo "packaging: $*" >&2 && exit 1; }

command -v debootstrap >/dev/null || skip "debootstrap is not installed"
[ "$(id -u)" -eq 0 ] || skip "a bare system takes root"
ls "$packages"/kvmission_*.deb >/dev/null

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
if [ ! -e "$cache/$suite.tar" ]; then
  debootstrap --variant=minbase "$suite" "$root" >"$cache/debootstrap.log" ||
    { rm -rf "${root:?}"/* && skip "no bare system: see $cache/debootstrap.log"; }
  tar -C "$root" -cf "$cache/$suite.tar.new" . && mv "$cache/$suite.tar.new" "$cache/$suite.tar"
  rm -rf "${root:?}"/*
fi
tar -C "$root" -xf "$cache/$suite.tar"
cp /etc/resolv.conf "$root/etc/"
mkdir -p "$cache/archives" "$root/packages" "$root/source/tests"
find "$cache/archives" -name '*.deb' -exec cp -t "$root/var/cache/apt/archives" {} +
cp "$packages"/*.deb "$root/packages"
cp -r "$source/tests/consumer" "$source/tests/packaging" "$root/source/tests"
cp -r "$source/examples" "$root/source"
chmod 755 "$root"

in_root() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
  ${http_proxy:+http_proxy="$http_proxy"} chroot "$@"; }
get() { # apt-get's arguments, with names of files below / that may have wildcards
  in_root "$root" sh -c "cd / && apt-get -y -qq -o APT::Keep-Downloaded-Packages=true --no-install-recommends $*" \
    >"$root/get.log" 2>&1 || fail "apt-get $1 failed: $(tail -n 20 "$root/get.log")"
  find "$root/var/cache/apt/archives" -name '*.deb' -exec cp -u -t "$cache/archives" {} +
}

get update
get install './packages/libkvutilities0_*.deb' './packages/kvmission_*.deb'
in_root --userspec=1000:1000 "$root" bash /source/tests/packaging/use-command.sh
get install './packages/*.deb' g++ cmake make pkg-config
in_root --userspec=1000:1000 "$root" bash /source/tests/packaging/use-libraries.sh
in_root "$root" python3 -c 'import kvutilities'  # root may write bytecode

ours=(libkvutilities0 libkvutilities-dev kvmission python3-kvutilities)
in_root "$root" dpkg -L "${ours[@]}" | sort -u | grep -vFx '/.' >"$root/files"
get purge "${ours[@]}"
left=$(in_root "$root" bash -c '
  while read -r path; do [ -e "$path" ] && ! dpkg -S "$path" >/dev/null 2>&1 && echo "$path"; done <files
  find /usr /etc /var /opt -xdev \( -iname "*kvutil*" -o -iname "*kvmission*" -o -iname "*norvane*" \) \
    -not -path "/var/cache/apt/archives/*"' || true)
[ -z "$left" ] || fail "left after a purge: $left"
echo "packaging: installed, used and purged: $(cd "$packages" && echo *.deb)"
