#!/usr/bin/env bash
# What the documents promise: the README's commands run, and docs/json.md has the keys that come out, all of them.
# Usage: documents.sh ZSL-REPLAY SOURCE-FOLDER
set -u
replay=$1 source=$2
work=$(mktemp -d) failed=0
trap 'rm -rf "$work"' EXIT
cd "$work" && ln -s "$source/cases" cases && ln -s "$(dirname "$(dirname "$replay")")" build || exit 2

grep -oE '`build/bin/zsl-replay [^`]*`' "$source/README.md" | tr -d '`' > commands
[ "$(wc -l < commands)" -ge 9 ] || { echo "FAILED: the README's commands"; failed=1; }
while IFS= read -r command; do
  eval "$command" > out 2> err || { echo "FAILED: $command: $(cat err)"; failed=1; }
done < commands

for case in cases/*.yaml; do "$replay" "$case" --log > "$(basename "$case" .yaml).log"; done
grep -v 'needZslNum' bursts.log > open.log
LC_ALL=C sed 's/nexaro\.hdr\.enabled/nexaro.hdr.enablex/g' build/lib/zsl-replay/com.nexaro.zsl.motion.so > other.so
for options in --log --explain '--set need=2' '--against other.so'; do
  for file in cases/*.yaml *.log; do "$replay" --json $file $options 2>> err; done
done > rows
"$replay" --json --totals cases/*.yaml *.log --against other.so > totals

# The first column of every table of keys, and every key that is no number; what stands below a map's keys is data.
awk '/^\| key/ {on = 1} !/^\|/ {on = 0} on {print $0}' "$source/docs/json.md" | cut -d '|' -f 2 | grep -oE '[a-zA-Z0-9]+' |
  grep -vx key | sort -u > page
jq -r 'paths | map(select(type == "string")) | .[-1]' rows > found
jq -r 'del(.strategies[], .warnings[]) | paths | map(select(type == "string")) | .[-1]' totals >> found
grep -vE '^[0-9]+$' found | sort -u | diff page - || { echo "FAILED: keys on the page (<) and keys that come out (>)"; failed=1; }
jq -r 'to_entries[] | .key + " " + (.value | type)' rows | sort -u | cut -d ' ' -f 1 | uniq -d > twice
[ ! -s twice ] || { echo "FAILED: keys of two types: $(cat twice)"; failed=1; }
exit $failed
