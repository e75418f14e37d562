#!/usr/bin/env bash
# install.sh LIST: installs the Debian packages of a list, as root or with sudo, that are missing.
set -euo pipefail
missing=()
while read -r package; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done <"$1"
((${#missing[@]})) || exit 0

echo "Installing ${missing[*]}" >&2
sudo=
if [[ $(id -u) != 0 ]]; then
  command -v sudo >/dev/null || { echo "These packages are missing, and need root to install: ${missing[*]}" >&2; exit 1; }
  sudo=sudo
fi
$sudo apt-get update -qq
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
