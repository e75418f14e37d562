#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test.
here=$(dirname "${BASH_SOURCE[0]}")
bash "$here/scripts/install.sh" "$here/scripts/packages-tests.txt"
source "$here/scripts/build.sh"
ctest --test-dir "$root/build" --output-on-failure --parallel "$(nproc)"
