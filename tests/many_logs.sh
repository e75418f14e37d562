#!/usr/bin/env bash
# Runs every command of docs/many-logs.md over made logs; one whose tools are missing is left out. However the logs are
# handed out, the same rows come together, and every question is answered alike by jq and by SQLite.
# Usage: many_logs.sh ZSL-REPLAY CASES PAGE
set -euo pipefail
replay=$1 cases=$2 page=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

mkdir -p "$work"/{bin,logs,blocks}
ln -s "$replay" "$work/bin/zsl-replay"
# A host is a folder: what it runs, it runs there, with a shell of its own as a login has.
printf '%s\n' '#!/bin/sh' 'while case $1 in -*) ;; *) false ;; esac; do shift; done; cd "$HOSTS/$1" || exit; shift' \
  '[ "$1" != -- ] || shift' 'HOME=$PWD SHELL=/bin/sh exec sh -c "$*"' >"$work/bin/ssh"
chmod +x "$work/bin/ssh"
mkdir -p "$work"/hosts/{alpha,beta}
export PATH=$work/bin:$PATH HOSTS=$work/hosts
for name in bursts driver jump-shot session; do
  "$replay" "$cases/$name.yaml" --log | grep -E '^[0-9]{2}-[0-9]{2} ' >"$work/logs/$name.log"
done

cd "$work"
awk '/^```sh$/ {file = sprintf("blocks/%02d", ++n); next} /^```/ {file = ""} file {print > file}' "$page"
declare -A needs=([jq]=jq [sqlite3]=sqlite3 [parallel]=parallel [--transferfile]=rsync)
for block in blocks/??; do
  for word in "${!needs[@]}"; do
    if grep -qw -- "$word" $block && ! command -v ${needs[$word]} >/dev/null; then
      echo "not run without ${needs[$word]}: $(<$block)" >&2
      continue 2
    fi
  done
  bash -euo pipefail $block >$block.out 2>$block.err || fail "exit status $? of: $(<$block)" "$(<$block.err)"
done

[[ -s rows.jsonl ]] || fail "no rows"
for other in cores.jsonl hosts.jsonl parts; do
  [[ ! -e $other ]] || cmp <(sort rows.jsonl) <(find $other -type f -exec cat {} + | sort) || fail "other rows in $other"
done

if command -v jq >/dev/null; then
  zsl-replay --totals --json logs/*.log | jq -S 'del(.anchorDistance)' >totals
  for sum in $(grep -l '^{' blocks/*.out); do
    jq -S . $sum | diff totals - || fail "other totals"
  done
  # Every key is a column, and of its type.
  sed -n '/^CREATE TABLE/,/^)/p' "$page" | grep -oE '\b[a-zA-Z]+ (STRING|INT|BIGINT|BOOLEAN|ARRAY|MAP|STRUCT)' >columns
  jq -r 'to_entries[] | "\(.key) \(.value | type)"' rows.jsonl | sort -u |
    sed 's/string$/STRING/; s/number$/BIGINT/; s/boolean$/BOOLEAN/; s/array$/ARRAY/; s/object$/MAP/' |
    while read -r column; do grep -qx "$column" columns || echo "no column $column"; done >lacking
  [[ ! -s lacking ]] || fail "$(<lacking)"
  if command -v sqlite3 >/dev/null; then
    answers=$(grep -LZ "^{" blocks/*.out | xargs -0 cat | sort | uniq -c)
    grep -q 'mode .* of' <<<"$answers" && grep -q '\.log' <<<"$answers" || fail "no answers: $answers"
    ! grep -v '^ *2 ' <<<"$answers" || fail "jq and SQLite disagree"
  fi
fi
exit $((failures > 0))
