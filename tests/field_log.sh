#!/usr/bin/env bash
# Logs of good captures, damaged as logs get damaged in the field. Each row: what is done to the log, the exit status,
# and what the report must say.
set -u
replay=$1 cases=$2
work=$(mktemp -d) failed=0
trap 'rm -rf "$work"' EXIT
"$replay" --log "$cases/jump-shot.yaml" > "$work/jump"
"$replay" --log "$cases/session.yaml" > "$work/session"
"$replay" --log "$cases/bursts.yaml" > "$work/bursts"
"$replay" --log=offline "$cases/bursts.yaml" > "$work/offline"
echo "{requests: [{select: always, need: 400, metadata: {nexaro.ai.zosd.motionCaptureType: 1}, queues: [
  {consumer: {first: 100000, count: 400}, frames: {first: 100000, count: 400, shutter: 100000, interval: 150000}}]}]}" |
  "$replay" --log - > "$work/long"

row() { # LOG FILTER STATUS EXPECTED
  eval "$2" < "$work/$1" > "$work/in"
  "$replay" "$work/in" > "$work/out" 2>&1
  local status=$?
  if [ $status != "$3" ] || ! grep -qE -- "$4" "$work/out"; then
    echo "FAILED: $1 | $2: expected $3 and '$4', found $status and:"
    head -c 2000 "$work/out"
    failed=1
  fi
}

row jump    'cat'                                                       0 '15 of 15 lines reproduced: consistent with the log'
row offline 'cat'                                                       0 '26 of 26 lines reproduced'
row bursts  'sed "s/$/\r/"'                                             0 '26 of 26'
row bursts  'tr -d "\n" | sed "s/11-22/&/" ; echo'                      2 'expected .* found'
row bursts  'sed -E "s/^[0-9]{2}-[0-9]{2} [0-9:.]+ /2026-&+0200 u0_a1 /"'  0 '26 of 26'
row bursts  'sed -E "s|ZSL MotionZSLSelector.cpp:[0-9]+|MY GROUP /a/b/MotionZSLSelector:1|"' 0 '26 of 26'
row bursts  'sed "s/ *$//" | head -c -1'                                0 '26 of 26'
row bursts  'cat; head -c 3000000 /dev/zero; echo; cat "$work/jump"'    0 '41 of 41'
row bursts  'head -c 1500000 /dev/zero | tr "\0" x; echo; cat'          2 'expected'
row bursts  'echo "--------- beginning of main"; head -c 1500000 /dev/zero | tr "\0" x; echo; cat' 0 '26 of 26'
row bursts  'sed -E "/selectZSLFrames\(\)/{p}"'                         0 'the log repeats a line'
row bursts  'sed "/isSelectorNeeded/d"'                                 0 'gate: not taken, motion strategy 2, as selectZSLFramesForSNSCBinning1 ran'
row bursts  'grep " I "'                                                0 'the log has no debug lines|gate.s line is missing'
row bursts  'sed "/zsdTs/d"'                                            1 'the line of the target moment is missing'
row bursts  'sed -E "/curTime/{s/^(.{18} *[0-9]+ +[0-9]+) .*/\1 I chatty  : uid=1000 expire 1 line/}"' 0 'lines dropped by the log'
row bursts  'sed "/Current Producer/d"'                                 1 'the producer list is missing'
row bursts  'sed "/Current/d"'                                          1 'its lists are not in the log'
row bursts  'sed "s/needZslNum: ./needZslNum: 99999999999/"'            1 'the log has .*needZslNum: 99999999999'
row bursts  'sed "s/allList: 2402/allList: 2403/"'                      1 'the log has .*allList: 2403'
row bursts  'sed "s/shutter time:4/shutter time:99999999999999999999/"' 1 'the log has .*shutter time:999'
row bursts  'grep -v ZoC; echo "11-22 01:02:03.004  1  1 I tag: text"'  2 'in: expected a log with lines of the selector, found none'
row bursts  'head -c 100000 /bin/sh'                                    2 'expected a case file or a log, found binary data'
row long    'cat'                                                       0 'open +line [0-9]+, which is cut'
row session 'cat'                                                       0 'certain    6 of 6 selections'

# Requests of two threads, line by line in turn, come out as each by itself.
sed -E 's/^(.{18} *[0-9]+ +)[0-9]+/\17/' "$work/jump" | paste -d '\n' "$work/bursts" - > "$work/mixed"
row mixed   'cat'                                                       0 '41 of 41'

# A rebuilt case keeps its assumptions and what came out.
"$replay" "$work/bursts" --save-case "$work/saved.yaml" > /dev/null && grep -q '^# assumed: ' "$work/saved.yaml" &&
  "$replay" "$work/saved.yaml" | grep -q 'chosen .*: 1503 1505 1507 1508' || { echo "FAILED: saved case"; failed=1; }
"$replay" "$work/bursts" --explain --save-case "$work/explained.yaml" > /dev/null &&
  cmp -s "$work/saved.yaml" "$work/explained.yaml" || { echo "FAILED: a case saved while it is explained"; failed=1; }
"$replay" "$work/bursts" "$work/jump" "$work/session" | grep -q 'differ     none' || { echo "FAILED: total"; failed=1; }
exit $failed
