#!/bin/sh
# transcript.sh TOOL CASES TRANSCRIPT: runs every command of a transcript again and compares what it prints. A command
# stands behind "$ ", its output and errors below it, and its exit status when that is not 0.
tool=$1
transcript=$3
folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT && cd "$folder" && ln -s "$2" cases || exit 2
zsl() { "$tool" "$@"; }
grep '^\$ ' "$transcript" | while IFS= read -r line; do
    printf '%s\n' "$line"
    (eval "${line#??}") 2>&1 </dev/null
    status=$?
    [ $status -eq 0 ] || echo "exit $status"
done | diff -u "$transcript" -
