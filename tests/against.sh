#!/usr/bin/env bash
# Two builds: the plug-in, and one in which a frame at the target counts as one after it. Every request that this changes
# is reported, and no other.
# Usage: against.sh ZSL-REPLAY CASES FAULTY-BUILD FAULTY-BUILD-THAT-STAYS-IN-MEMORY LIBRARY-THAT-IS-NO-PLUGIN
set -u
replay=$1 cases=$2 faulty=$3 lasting=$4 entryless=$5 failed=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
own=$(dirname "$(dirname "$replay")")/lib/zsl-replay/com.nexaro.zsl.motion.so
# Frame 2 is at the target of the second request.
echo '{requests: [{select: always, need: 2, metadata: &m {nexaro.ai.zosd.motionCaptureType: 1, nexaro.mfnr.anchorTimeStamp: 1000000000},
  queues: &q [{consumer: [1, 2, 3, 4], frames: {first: 1, count: 4, shutter: 1030000001, interval: 30000000}}]},
  {select: always, need: 2, metadata: *m, queues: [{consumer: [1, 2, 3, 4], frames: {first: 1, count: 4, shutter: 1030000000, interval: 30000000}}]},
  {select: always, need: 2, metadata: *m, queues: *q}]}' > "$work/case.yaml"
"$replay" --log "$work/case.yaml" > "$work/log"

row() { # STATUS EXPECTED ARGUMENT...
  local status wanted=$1 expected=$2
  shift 2
  "$replay" "$@" > "$work/out" 2>&1
  status=$?
  [ $status = "$wanted" ] && grep -qE -- "$expected" "$work/out" && return
  echo "FAILED: $*: expected $wanted and '$expected', found $status and:"
  head -c 2000 "$work/out"
  failed=1
}
differing() { "$replay" --json "$@" --against "$faulty" | sed -En '/"against":/s/.*"request":"([^"]*)","number":([0-9]+).*/\2 \1/p'; }

row 0 'differ     none' "$cases"/*.yaml --against "$own"
echo 'requests: [{adapter: empty}, {adapter: 0x700}]' > "$work/state.yaml"
row 0 'builds +differ in 0' "$work/state.yaml" --against "$own"
row 1 'gained     1' "$work/case.yaml" --against "$faulty"
row 1 'gained     1' "$work/log" --against "$faulty"
row 1 'before +call \[1\] getFrame\(3\)' "$work/log" --against "$faulty"
row 1 'stays in memory' "$work/case.yaml" --against "$lasting"
row 2 'lacks its entry' "$work/log" --against "$entryless"
head -c 1000 "$own" > "$work/cut.so"
row 2 'cut.so: the file is cut off' "$work/log" --against "$work/cut.so"
{ head -c 4 "$own"; printf '\1'; tail -c +6 "$work/cut.so"; } > "$work/small.so"
row 2 'cannot load the plug-in.*wrong ELF class' "$work/log" --against "$work/small.so"
row 2 'cannot load the plug-in' "$work/log" --against "$work/log"
row 2 'expected standard output for itself' "$work/log" --json --save-case -
row 2 'expected something' "$work/log" --save-case ''
diff <(differing "$work/case.yaml" "$work/log" | cut -c1) - <<< $'2\n2' || failed=1
diff <(differing "$cases"/*.yaml) - <<< '6 anchor in the producer list, behind a frame at the target
7 nothing delivered yet
3 anchor in the producer list, behind a frame at the target
5 a frame at the target is not after it' || failed=1
exit $failed
