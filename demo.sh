#!/usr/bin/env bash
# Installs what is missing, builds, and replays an HDR burst.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/build.sh"
"$root/build/bin/zsl-replay" "$root/cases/hdr-burst.yaml"
