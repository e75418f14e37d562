#!/usr/bin/env bash
# No line of a log shows the last used frame. Captures in every mode, of which it is known here, and what the report
# makes of their log: what is certain and what is possible is what the library chooses for all and for some of those last
# used frames with which it logs the same.
set -u
replay=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat > "$work/case.yaml" <<'CASE'
# Frames 100 to 107 delivered, 108 and 109 under way. The last request only ends the one before.
defaults:
  need: 4
  select: always
  adapter: 0x100
  metadata: &plain {nexaro.ai.zosd.motionCaptureType: 1, nexaro.mfnr.anchorTimeStamp: 1140000000}
  queues: [&meta {name: meta, consumer: {first: 100, count: 8}, producer: [108, 109],
                  frames: {first: 100, count: 10, shutter: 1000000000, interval: 33000000}}]
requests:
- {name: none}
- {name: below the span, used: [102]}
- {name: at the span's begin, used: [104]}
- {name: all are used and the first strategy fails, used: [109]}
- {name: one that another queue has lost, queues: [*meta, {name: preview, lost: [103, 104, 105]}], need: 5, used: [106]}
- {name: banding, adapter: 0x200, used: [103]}
- {name: banding with few left, adapter: 0x200, used: [106]}
- {name: HDR in sevens, need: 3, used: [97], metadata: {<<: *plain, nexaro.hdr.enabled: 1, nexaro.mfnr.anchorTimeStamp: 1000000000},
   queues: [{<<: *meta, consumer: {first: 98, count: 10}, frames: {first: 98, count: 12, shutter: 1000000000, interval: 33000000}}]}
- {name: HDR in fours, used: [101], metadata: {<<: *plain, nexaro.hdr.enabled: 1, nexaro.camera.zoseamlesspolicy.result: [[0, 8]]}}
- {name: HDR in a mode that selects nothing, used: [103], metadata: {<<: *plain, nexaro.hdr.enabled: 1, nexaro.camera.zoseamlesspolicy.result: [[0, 5]]}}
- {name: producer frames lost in silence, need: 1, used: [107], queues: [{<<: *meta, lost: [107, 108, 109]}, {<<: *meta, name: info, type: 2}]}
- {name: end, select: gated}
CASE
"$replay" --log "$work/case.yaml" > "$work/log"
lists() { sed -En "/\"$1\":/"'!d; s/.*"'"$1"'":(\{"[0-9]+":)?\[([0-9,]*).*/\2/p; t; s/.*/-/p'; }
paste -d '|' <("$replay" --json "$work/case.yaml" | lists selection) \
  <("$replay" --json "$work/log" | lists certain) <("$replay" --json "$work/log" | lists possible) > "$work/found"
diff - "$work/found" <<'TABLE' # what was selected, is certain, is possible
104,105,106,107,108,109|106,107,108,109|104,105,106,107,108,109
104,105,106,107,108,109|106,107,108,109|104,105,106,107,108,109
105,106,107,108,109|106,107,108,109|104,105,106,107,108,109
||107,108,109
107,107,108,108,109,109||105,106,107,108,109
104,106,108|104,106,108|104,106,108
107|107|107
98,99,100|98,99,100|98,99,100
104|104|104
-||
108,109|108,109|108,109
-||
TABLE
