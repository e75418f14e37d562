#!/usr/bin/env bash
# Tells how much the tests notice: tries every fault of tests/mutations.txt in a copy of the tree, one after the other.
#   bash scripts/mutate.sh [FOLDER] [WORD]   folder for the copy, default a new one under /tmp; only faults with the word
# Fails when a fault does not apply any more, or when less than nine in ten are noticed.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-$(mktemp -d)}
word=${2:-}
mkdir -p "$work/tree"
git -C "$root" ls-files -z | (cd "$root" && xargs -0 cp --parents -t "$work/tree")

# Without sanitizers, which would notice more than a test run does.
cmake -S "$work/tree" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null || exit 2
verdict() {
    cmake --build "$work/build" >"$work/build.log" 2>&1 || { echo unbuilt; return; }
    ctest --test-dir "$work/build" --stop-on-failure --timeout 60 >"$work/test.log" 2>&1 && echo UNNOTICED || echo noticed
}
[ "$(verdict)" = UNNOTICED ] || { echo "the tree itself fails: see $work"; exit 2; }

mutate='import sys
path, old, new = sys.argv[1:]
text = open(path).read()
if text.count(old) != 1: sys.exit(1)
open(path, "w").write(text.replace(old, new))'
noticed=0 tried=0 stale=0
while IFS= read -r line; do
    case $line in '#'* | '') continue ;; *"$word"*) ;; *) continue ;; esac
    file=${line%% @ *} rest=${line#* @ }
    old=${rest%% @ *} new=${rest#* @ }
    [ "$new" = "$rest" ] && new=  # an empty replacement: editors strip the blank behind the sign
    old=${old% @}
    if ! python3 -c "$mutate" "$work/tree/$file" "$old" "$new"; then
        echo "STALE      $line"
        stale=$((stale + 1))
        continue
    fi
    result=$(verdict)
    printf '%-10s %s\n' "$result" "$line"
    # A fault that the compiler refuses counts neither way.
    case $result in noticed) noticed=$((noticed + 1)) tried=$((tried + 1)) ;; UNNOTICED) tried=$((tried + 1)) ;; esac
    cp "$root/$file" "$work/tree/$file"
done <"$root/tests/mutations.txt"
echo "$noticed of $tried noticed, $stale stale"
[ "$stale" = 0 ] && [ $((10 * noticed)) -ge $((9 * tried)) ]
