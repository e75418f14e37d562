#!/usr/bin/env bash
# The judge is judged: one request of which everything is known, and expectations that are wrong in one thing each. Each
# row: what is expected, and the one line that must say so; the exit status must be 1. The first rows expect what comes
# out, key by key.
set -u
replay=$1 failed=0
whole='need: 2, select: always, adapter: 0x100, metadata: {android.control.enableZsl: 1, nexaro.ai.zosd.motionCaptureType: 1,
  nexaro.mfnr.anchorTimeStamp: 1000000000, com.nexaro.ext.control.policy.sensorMode: 2}, queues: [
  {consumer: [5, 6, 7], frames: {5: 1030000000, 6: 1063000000, 7: 1096000000}},
  {type: 2, frames: {5: {mode: 2}, 6: {mode: 1}, 7: {mode: 2}}}]'
call='need: 2, queues: [{consumer: [5, 6, 7]}], call: {strategy: selectZSLFramesForNormal}'
bare='select: always'

row() { # REQUEST EXPECT LINE; no line: it passes; one that names a place: it can't be run
  local out status wanted=$(( ${#3} > 0 ))
  [[ $3 != "<stdin>"* ]] || wanted=2
  out=$("$replay" - <<< "requests: [{${!1}, expect: {$2}}]" 2>&1)
  status=$?
  [ $status = $wanted ] && [ "$(grep -E 'DIFFERS|expected' <<< "$out" | sed 's/^ *DIFFERS *//')" = "$3" ] && return
  printf 'FAILED: %s\n  expected exit %s and "%s"\n  found exit %s and:\n%s\n' "$2" $wanted "$3" $status "$out"
  failed=1
}

row whole 'gate: false, selection: [5, 6, 7], target: 1060000000, anchor: 6, checks: {5: pass, 6: fail}' ''
row call  'result: true, selection: [6, 7], log: []' ''
row whole 'selection: {1: [5, 6, 7], 2: [5, 6, 7]}, logHas: ["[ZSLSelector] fwkFrame:1 zsdTs:1060000000 curTime:1096000000"]' ''
row bare  'selection: {}, checks: {}, log: ["[ZSLSelector] ZSLSelectorMotion finalNeedZSL: 0, isNeeded 0, forceOn: 0, hdrEnable: 0, hdrsrEnable: 0, motionStrategy: 0, isMotionBanding: 0", "[ZSLSelector] fwkFrame:1 no metaQueue, select finished"]' ''

row whole 'gate: true' 'gate: expected true, found false'
row whole 'selection: [5, 7, 6]' 'selection: expected queue 1: 5 7 6; queue 2: 5 7 6, found queue 1: 5 6 7; queue 2: 5 6 7'
row whole 'selection: {1: [5, 6, 7]}' 'selection: expected queue 1: 5 6 7, found queue 1: 5 6 7; queue 2: 5 6 7'
row whole 'selection: {}' 'selection: expected nothing selected, found queue 1: 5 6 7; queue 2: 5 6 7'
row whole 'target: 1060000001' 'target: expected 1060000001, found 1060000000'
row bare  'target: 0' 'target: expected 0, found none'
row whole 'anchor: 7' 'anchor: expected 7, found 6'
row bare  'anchor: 6' 'anchor: expected 6, found none'
row whole 'checks: {7: [true, false]}' 'check of frame 7: expected true false, found true true'
row whole 'checks: {7: [false, true]}' 'check of frame 7: expected false true, found true true'
row whole 'checks: {8: pass}' 'check of frame 8: expected true true, found not checked'
row whole 'checks: {}' 'frames checked: expected 0, found 3'
row whole 'log: []' 'log message 1: expected the end of the log, found "[ZSLSelector] ZSLSelectorMotion finalNeedZSL: 0, isNeeded 1, forceOn: 0, hdrEnable: 0, hdrsrEnable: 0, motionStrategy: 1, isMotionBanding: 0"'
row call  'log: [more]' 'log message 1: expected "more", found the end of the log'
row whole 'logHas: ["[ZSLSelector] fwkFrame:1 zsdTs:1060000000 curTime:1096000000", "[ZSLSelector] fwkFrame:1 [meta] Current Producer list none"]' 'log: expected, after message 5, "[ZSLSelector] fwkFrame:1 [meta] Current Producer list none", found no such message'
row whole 'logHas: ["I ZoCamHAL MotionZSLSelector.cpp isSelectorNeeded: [ZSLSelector] fwkFrame:1 [meta] Current Producer list none"]' 'log: expected, after message 0, "I ZoCamHAL MotionZSLSelector.cpp isSelectorNeeded: [ZSLSelector] fwkFrame:1 [meta] Current Producer list none", found no such message'
row call  'result: false' 'result: expected false, found true'
row call  'selection: [6]' 'list: expected 6, found 6 7'
# An expectation that nothing is compared with.
row bare  'selection: [5]' '<stdin>:1:49: expected queues that can get such a list, found none'
row call  'logHas: []' ''
exit $failed
