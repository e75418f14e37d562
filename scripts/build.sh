#!/usr/bin/env bash
# Installs what is missing and builds everything into the build/ folder beside the sources. For other scripts to source.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

bash "$root/scripts/install.sh" "$root/scripts/packages.txt"
generator=()
[[ -f $root/build/CMakeCache.txt ]] || generator=(-G Ninja)  # a folder configured by hand keeps its own
cmake -S "$root" -B "$root/build" "${generator[@]}" >&2
cmake --build "$root/build" --parallel "$(nproc)" >&2
