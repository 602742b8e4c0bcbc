# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
#
# A minimal Debian system for tests that need a fresh one. Sourced after common.sh; needs root. Uses the mirror and the
# release of this machine's apt.

# bare_debian PACKAGE...: makes the system in $root, with these packages. It is removed when the script ends.
bare_debian() {
  if [ "$(id -u)" != 0 ]; then
    printf '%s: needs root\n' "$0" >&2
    exit 1
  fi
  "${project:?}/script/setup" debootstrap

  local source_line mirror release include
  # shellcheck disable=SC2016  # the names in $() are apt-get's own
  source_line=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' \
    'Created-By: Packages' 'Origin: Debian' 'Label: Debian' 'Component: main' | head -n 1)
  read -r mirror release <<<"$source_line"

  root=$(mktemp -d)
  trap leave_bare_debian EXIT
  say "a minimal Debian $release"
  include=$(IFS=,; printf '%s' "$*")
  debootstrap --variant=minbase --include="$include" "$release" "$root" "$mirror" >"$root.log" ||
    { tail -n 20 "$root.log" >&2; exit 1; }
  rm -f "$root.log"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  mount -t proc proc "$root/proc"
  mount -t devpts -o ptmxmode=666 devpts "$root/dev/pts"
}

leave_bare_debian() {
  local place
  for place in dev/pts proc; do
    if mountpoint -q "$root/$place"; then umount "$root/$place"; fi
  done
  rm -rf --one-file-system "$root"
}

# inside COMMAND...: runs the command as root in that system.
inside() {
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} "$@"
}
