#!/usr/bin/env bash
# What zsl-replay says of input that it can't run: one line on standard error, exit 2, and nothing on standard output.
# Usage: bad_input.sh ZSL-REPLAY LIBRARY-THAT-IS-NO-PLUGIN
set -u
replay=$1
failures=0

# expect NAME EXPECTED-MESSAGE INPUT [OPTION...]
expect() {
  local name=$1 expected=$2 input=$3
  shift 3
  local out err status
  err=$(mktemp)
  out=$(printf '%b' "$input" | "$replay" "$@" - 2>"$err")
  status=$?
  if [[ $status != 2 || -n $out || $(<"$err") != "$expected" ]]; then
    printf '%s: expected exit 2 and "%s",\nfound exit %s and "%s"; standard output "%s"\n' \
      "$name" "$expected" "$status" "$(<"$err")" "$out" >&2
    failures=$((failures + 1))
  fi
  rm -f "$err"
}

whole32="a whole number from 0 to 4294967295"
expect "not YAML" '<stdin>:1:1: expected YAML, found end of sequence flow not found' 'a: [1'
expect "nothing" '<stdin>: expected a log with lines of the selector, found none' ''
expect "two documents" '<stdin>:2:1: expected one document, found another' 'requests: []\n---\nrequests: []\n'
expect "unknown key" '<stdin>:1:1: expected one of the keys recorded, properties, staticMetadata, defaults, requests, found "request"' \
  'request: []\n'
expect "unknown key of a queue" \
  '<stdin>:2:14: expected one of the keys id, type, name, consumer, producer, all, frames, lost, found "ids"' \
  'requests:\n- {queues: [{ids: 3}]}\n'
expect "key twice" '<stdin>:2:14: expected every key once, found "frame"' 'requests:\n- {frame: 1, frame: 2}\n'
expect "no list" '<stdin>:2:24: expected a list of frames, found "5"' 'requests:\n- {queues: [{consumer: 5}]}\n'
expect "missing key" '<stdin>:2:25: expected the key "first", found none' \
  'requests:\n- {queues: [{consumer: [{count: 3}]}]}\n'
expect "negative" "<stdin>:2:11: expected $whole32, found \"-1\"" 'requests:\n- {frame: -1}\n'
expect "33 bits" "<stdin>:2:11: expected $whole32, found \"0x100000000\"" 'requests:\n- {frame: 0x100000000}\n'
expect "no whole number" '<stdin>:2:11: expected a whole number from -9223372036854775808 to 9223372036854775807, found "1e5"' \
  'requests:\n- {clock: 1e5}\n'
expect "a frame twice" '<stdin>:2:44: expected every frame of a queue once, found 1' \
  'requests:\n- {queues: [{consumer: [1], frames: {1: 5, 0x1: 6}}]}\n'
expect "a byte of 9 bits" '<stdin>:2:35: expected a whole number from 0 to 255, found "256"' \
  'requests:\n- {metadata: {nexaro.hdr.enabled: 256}}\n'
expect "adapter gone again" '<stdin>:3:13: expected an adapter that stays once it is there, found "absent"' \
  'requests:\n- {adapter: 1}\n- {adapter: absent}\n'
expect "nothing half run" "<stdin>:3:11: expected $whole32, found \"x\"" 'requests:\n- {}\n- {frame: x}\n'
expect "too deep" '<stdin>:1:201: expected lists and maps at most 200 deep, found more' \
  "$(printf '[%.0s' {1..900}; printf ']%.0s' {1..900})"
expect "what a queue holds" '<stdin>:2:41: expected frames that the queue holds (1 to 4), found 950' \
  'requests:\n- {queues: [{consumer: [1, 2, 4], lost: [950]}]}\n'
expect "no adapter" \
  '<stdin>:2:13: expected a motion word from 0 to 0xFFFFFFFF, or absent, empty or unavailable, found "bogus"' \
  'requests:\n- {adapter: bogus}\n'
expect "no queue to compare" '<stdin>:2:24: expected queues that can get such a list, found none' \
  'requests:\n- {expect: {selection: [1, 2, 3]}}\n'
expect "a million frames in all" '<stdin>:2:48: expected at most 1000000 frames in a file, found more' \
  'requests:\n- &r {queues: [{consumer: &l {first: 1, count: 600000}}]}\n- {queues: [{consumer: *l}]}\n'
expect "escapes" '<stdin>:1:1: expected one of the keys recorded, properties, staticMetadata, defaults, requests, found "\x1b[31m"' \
  '"\\x1b[31m": 1\n'
logcat='expected a log in logcat'"'"'s threadtime format, found another of its formats; try: adb logcat -v threadtime'
expect "brief" "<stdin>: $logcat" \
  '--------- beginning of main\nD/ZoCamHAL( 1234): ZSL MotionZSLSelector.cpp:77 isSelectorNeeded()x\n'
expect "long" "<stdin>: $logcat" '[ 11-22 01:02:03.004  1234: 1234 D/ZoCamHAL ]\nx\n'
expect "gzip" '<stdin>: expected a case file or a log, found gzip; try: zcat FILE | zsl-replay -' '\x1f\x8b\x08rest'
expect "UTF-16" '<stdin>: expected a case file or a log, found UTF-16; try: iconv -f UTF-16 -t UTF-8 FILE | zsl-replay -' \
  '\xff\xfer\x00e\x00'
expect "no plug-in" \
  'cannot load the plug-in: /none.so: cannot open shared object file: No such file or directory' 'requests: [{}]\n' \
  --plugin /none.so
expect "no entry" "the plug-in lacks its entry: $2: undefined symbol: createZSLSelector" 'requests: [{}]\n' --plugin "$2"
exit $((failures > 0))
