#!/usr/bin/env bash
# Runs every case file with the recorder in front: the report is the one without it, and what it records makes the same
# selections, checks and log lines on the plain plug-in, as it expects itself.
#   recorder.sh TOOL RECORDER CASES
set -u
tool=$1 recorder=$2 cases=$3
work=$(mktemp -d /tmp/rec.XXXX)
trap 'umount "$work/disk" 2>/dev/null; rm -rf "$work"' EXIT
failed=0
fail() { echo "$1"; failed=1; }

# What came out, but for where a selector lies.
outcome() { "$tool" "$@" --json | grep -oE '"(gate|selected)":[a-z]*|"(selection|checks)":\{[^}]*\}'; }
lines() { "$tool" "$@" --log | grep -E ' [DI] Zo' | sed -E 's/^[^DI]* ([DI] Zo)/\1/; s/ this = .*//'; }

for file in "$cases"/*.yaml; do
    name=$(basename "$file" .yaml)
    sed '/^requests:/q' "$file" | grep -q 'call:' && continue  # all of them are calls of strategies
    folder=$work/$name
    mkdir "$folder"
    # Without the requests that call a strategy, which the recorder doesn't export; recorded into the folder.
    awk -v folder="$folder" '
        BEGIN { switch = "vendor.zohal.selector.motion.zsl.disable: false" }
        function flush() { if (block !~ /call:/) printf "%s", block; block = "" }
        /^properties:/ { if (match($0, /vendor.zohal[^},]*/)) switch = substr($0, RSTART, RLENGTH); next }
        /^requests:/ { inside = 1; print "properties: {" switch ", vendor.zohal.selector.motion.record.dir: " folder "}"; print; next }
        !inside { print; next }
        /^- / { flush() }
        { block = block $0 "\n" }
        END { flush() }' "$file" >"$folder.yaml"
    grep -q '^- ' "$folder.yaml" || continue

    plain=$("$tool" "$folder.yaml")
    recorded=$("$tool" --plugin "$recorder" "$folder.yaml")
    [ "$plain" = "$recorded" ] || { fail "$name: another report with the recorder"; diff <(echo "$plain") <(echo "$recorded") | head -5; }
    files=("$folder"/zsl-*-1.yaml)
    [ -f "${files[0]}" ] || { fail "$name: nothing recorded"; continue; }
    "$tool" "${files[0]}" >"$work/out" 2>&1 || { fail "$name: its record does not replay: ${files[0]}"; grep -E 'differs|expected' "$work/out" | head; }
    grep -q recorded "$work/out" || fail "$name: the report does not say that it is a record"
    diff <(outcome "$folder.yaml") <(outcome "${files[0]}") >"$work/out" || { fail "$name: the record has another outcome"; head -6 "$work/out"; }
    diff <(lines "$folder.yaml") <(lines "${files[0]}") >"$work/out" || { fail "$name: the record has other lines"; head -6 "$work/out"; }
done

# Many requests, recorded until something stops it.
disk=$work/disk
mkdir "$disk"
{
    echo "properties: {vendor.zohal.selector.motion.record.dir: $disk}"
    echo "requests:"
    for ((i = 1; i < 40; ++i)); do echo "- {adapter: 0x100, need: 3, queues: [{consumer: [{first: 800, count: 60}]}, {id: 2}]}"; done
} >"$work/many.yaml"
"$tool" "$work/many.yaml" --json >"$work/plain"
replays() {
    for file in "$disk"/zsl-*; do
        [ ! -f "$file" ] || "$tool" "$file" >"$work/out" 2>&1 || { fail "$1: what is left does not replay"; head -5 "$work/out"; }
    done
}

# Files that may grow no longer, as on a disk that is full at any byte.
for ((blocks = 0; blocks < 24; blocks += 3)); do
    (trap '' XFSZ; ulimit -f $blocks; "$tool" --plugin "$recorder" "$work/many.yaml" --json | diff "$work/plain" - >/dev/null) ||
        fail "$blocks KiB: another report"
    replays "$blocks KiB"
    rm -f "$disk"/zsl-*
done

# A disk that is full after a while, or takes nothing from the start; where one can be mounted.
for option in size=4k size=8k size=64k ro; do
    mount -t tmpfs -o $option none "$disk" 2>/dev/null || break
    "$tool" --plugin "$recorder" --log "$work/many.yaml" >"$work/out" || fail "$option: a request differs"
    [ "$(grep -c 'recording has stopped' "$work/out")" = 1 ] || fail "$option: not one line about it"
    "$tool" --plugin "$recorder" "$work/many.yaml" --json | diff "$work/plain" - >"$work/out" || fail "$option: another report"
    replays $option
    umount "$disk"
done

# A process that is killed.
for ((i = 0; i < 9000; ++i)); do echo "- {select: always, queues: [{consumer: [7, 8]}, {id: 2}]}"; done >"$work/more"
sed '/^- /d' "$work/many.yaml" | cat - "$work/more" >"$work/endless.yaml"
"$tool" --plugin "$recorder" "$work/endless.yaml" >/dev/null &
until grep -qs '^# end' "$disk"/zsl-*; do sleep 0.01; done
kill -9 $! || fail "killed: it had ended before"
wait $! 2>/dev/null
replays killed
exit $failed
