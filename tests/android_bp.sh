#!/usr/bin/env bash
# android_bp.sh ANDROID.BP SOURCE...: fails, with a difference, when the image's build compiles other sources than these.
blueprint=$1
shift
diff -u <(printf '%s\n' "$@" | LC_ALL=C sort) <(grep -o '"[^"]*\.cpp"' "$blueprint" | tr -d '"' | LC_ALL=C sort)
