#!/usr/bin/env bash
# Unpacks Debian's libc++ for arm64 into build-libcxx-arm64/, for the preset device-like. It can't be installed beside the
# machine's own: their files stand at the same paths. Needs no root; apt keeps its lists for arm64 in the folder, too.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build-libcxx-arm64
rm -rf "$folder"
mkdir -p "$folder"/apt/{lists,archives}/partial
cd "$folder"
apt=(apt-get -qq -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o APT::Sandbox::User=root
  -o Dir::State="$folder/apt" -o Dir::Cache="$folder/apt" -o Dir::State::status=/dev/null)
"${apt[@]}" update
"${apt[@]}" download libc++-14-dev libc++1-14 libc++abi-14-dev libc++abi1-14 libunwind-14-dev libunwind-14
for package in *.deb; do dpkg --extract "$package" .; done
