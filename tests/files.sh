#!/usr/bin/env bash
# What zsl-replay writes appears whole or not at all, and never in place of what it reads.
# Usage: files.sh ZSL-REPLAY CASES
set -u
replay=$1 cases=$2
work=$(mktemp -d) failed=0
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 2
jump=$cases/jump-shot.yaml
"$replay" --log "$jump" > jump.log

fail() { echo "FAILED: $1"; failed=1; }
status() { local expected=$1; shift; "$@" > out 2> err; local got=$?; [ $got = "$expected" ] || fail "exit $got instead of $expected: $* $(cat err)"; }
untouched() { cmp -s jump.log before || fail "$1 destroyed its input"; cp before jump.log; }
cp jump.log before

# A goal that is there: through a symbolic link, with its permissions, and left alone when something goes wrong. It is
# another file that takes its place: what else links to the old one keeps it.
mkdir kept && echo old > kept/goal && chmod 640 kept/goal && ln kept/goal same && ln -s kept/goal link && ln -s kept/new dangling
status 2 "$replay" "$jump" --set need=x --save-case link
[ "$(cat kept/goal)" = old ] || fail "an error destroyed the goal"
status 2 "$replay" jump.log none.log --picture link.svg
[ ! -e link.svg ] || fail "a picture in spite of an error"
status 0 "$replay" jump.log --save-case link
[ "$(cat same)" = old ] || fail "written in place"
[ -L link ] && [ "$(stat -c %a kept/goal)" = 640 ] && grep -q '^requests:' kept/goal || fail "link or permissions"
status 0 "$replay" jump.log --save-case dangling
cmp -s kept/goal kept/new || fail "a link to what is not there yet"
chmod 400 kept/new
[ "$(id -u)" = 0 ] || status 2 "$replay" jump.log --save-case kept/new
[ "$(ls -A kept | tr '\n' ' ')" = "goal new " ] || fail "left behind: $(ls -A kept)"
status 2 "$replay" jump.log --save-case none/goal
status 2 "$replay" jump.log --save-case kept

# Never an input, by whatever name.
ln jump.log hard && ln -s jump.log soft.svg && mkfifo pipe
for goal in jump.log ./jump.log hard soft.svg; do
  status 2 "$replay" jump.log --save-case $goal; untouched "--save-case $goal"
done
status 2 "$replay" jump.log --picture soft.svg; untouched "--picture"
status 2 "$replay" - --save-case jump.log < jump.log; untouched "standard input"
"$replay" jump.log >> jump.log 2> err; [ $? = 2 ] || fail "standard output to an input"; untouched ">>"
plugin=$(dirname "$replay")/../lib/zsl-replay/com.nexaro.zsl.motion.so
cp "$plugin" p2.so && status 2 "$replay" jump.log --plugin p2.so --save-case p2.so
cmp -s "$plugin" p2.so || fail "the plug-in was destroyed"
status 0 "$replay" jump.log --plugin p2.so

# What is no regular file is written directly, behind the report.
"$replay" jump.log --save-case /dev/stdout > all; [ "$(grep -n 'jump shot\|^requests:\|consistent' all | tail -n 1 | grep -c requests)" = 1 ] || fail "/dev/stdout in a file"
"$replay" jump.log --save-case - 2>&1 | grep -q '^requests:' || fail "- is standard output"
"$replay" jump.log --save-case pipe > out & grep -q '^requests:' pipe || fail "a named pipe"
wait

# A pipe, a named pipe and standard input give what the file gives.
"$replay" jump.log | sed 's/jump.log/<stdin>/' > expected
for input in 'cat jump.log | "$replay" -' '"$replay" - < jump.log' 'cat jump.log > pipe & "$replay" pipe | sed "s/pipe/<stdin>/"'; do
  eval "$input" > out; cmp -s expected out || fail "$input: $(diff expected out)"
done

# Output that can't be written, a reader that has gone away, an interruption.
"$replay" "$jump" > /dev/full 2> err; [ $? = 2 ] && grep -q 'No space left' err || fail "a full disk"
"$replay" --help > /dev/full 2> err; [ $? = 2 ] || fail "a full disk, --help"
status 2 "$replay" jump.log --save-case /dev/full
for i in $(seq 200); do cat jump.log; done > long.log
"$replay" long.log --explain --save-case goal 2> err | head -n 1 > out; [ "${PIPESTATUS[0]}" = 141 ] && [ ! -s err ] || fail "a closed pipe: $(cat err)"
mkfifo endless; sleep 20 > endless & holder=$!
timeout --preserve-status -s INT 1 "$replay" jump.log endless --picture goal.svg > out 2> err; got=$?
kill $holder
[ $got = 130 ] && [ ! -e goal.svg ] && [ ! -e goal ] || fail "interrupted: $got"
[ -z "$(ls -A | grep '^\.zsl-replay')" ] || fail "left behind: $(ls -A)"

# Nothing that a terminal obeys: of names, messages, files and errors.
printf 'requests: [{name: "a\\e[31mb\\x9b", select: always, queues: [{name: "q\\e]0;x\\a", consumer: [1]}, {name: "\\u202e", lost: [1]}]}]' > "$(printf 'e\033[31m.yaml')"
for options in '' --json --log --explain '--set name=1' '--set =' '--drop 77' '--totals'; do
  LC_ALL=C grep -aP '[\x00-\x08\x0b-\x1f\x7f-\x9f]|\xe2\x80\xae' <("$replay" e*.yaml none* $options 2>&1) && fail "raw control characters: $options"
done
exit $failed
