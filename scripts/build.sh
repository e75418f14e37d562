#!/usr/bin/env bash
# Installs what is missing and builds everything into the build/ folder beside the sources. For other scripts to source.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

missing=()
while read -r package; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done <"$root/scripts/packages.txt"
if ((${#missing[@]})); then
  echo "Installing ${missing[*]}" >&2
  sudo=
  if [[ $(id -u) != 0 ]]; then
    command -v sudo >/dev/null || { echo "These packages are missing, and need root to install: ${missing[*]}" >&2; exit 1; }
    sudo=sudo
  fi
  $sudo apt-get update -qq
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
fi

generator=()
[[ -f $root/build/CMakeCache.txt ]] || generator=(-G Ninja)  # a folder configured by hand keeps its own
cmake -S "$root" -B "$root/build" "${generator[@]}" >&2
cmake --build "$root/build" --parallel "$(nproc)" >&2
