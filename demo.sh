#!/usr/bin/env bash
# Installs what is missing, builds, and replays a jump shot.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/build.sh"
"$root/build/bin/zsl-replay" "$root/cases/jump-shot.yaml"
