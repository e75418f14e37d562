#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/build.sh"
ctest --test-dir "$root/build" --output-on-failure --parallel "$(nproc)"
