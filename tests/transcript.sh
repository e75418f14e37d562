#!/bin/sh
# transcript.sh TOOL CASES TRANSCRIPT: runs every command of a transcript again and compares what it prints. A command
# stands behind "$ ", its output and errors below it, and its exit status when that is not 0.
tool=$1
transcript=$3
plugin=$(dirname "$tool")/../lib/zsl-replay/com.nexaro.zsl.motion.so
folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT && cd "$folder" && ln -s "$2" cases || exit 2
zsl() { "$tool" "$@"; }
# The log of a case as one process logs it at one time.
logOf() { zsl "$@" --log | sed -nE 's/^[0-9-]+ [0-9:.]+ +[0-9]+ +[0-9]+/11-22 01:02:03.004  1000  1001/p'; }
# A build that takes one word of its own for another.
buildWith() { LC_ALL=C sed "s/$1/$2/g" "$plugin"; }
grep '^\$ ' "$transcript" | while IFS= read -r line; do
    printf '%s\n' "$line"
    (eval "${line#??}") 2>&1 </dev/null
    status=$?
    [ $status -eq 0 ] || echo "exit $status"
done | diff -u "$transcript" -
