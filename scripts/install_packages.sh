#!/bin/sh
# Installs the Debian packages named as arguments that aren't installed yet. Quiet, and doesn't touch the
# package system when there's nothing to do.
set -eu

missing=
for package in "$@"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "Please install as root:$missing" >&2
    exit 1
  fi
  as_root=sudo
fi

echo "Installing:$missing"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt_get() {
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 "$@" >"$log" 2>&1 || {
    cat "$log" >&2
    echo "apt-get $1 failed" >&2
    exit 1
  }
}
apt_get update
# shellcheck disable=SC2086  # one word a package
apt_get install --yes --no-install-recommends $missing
