#!/bin/bash
# Prints how many instructions a selection takes beside the floor's: instructions.sh BUILD-FOLDER. Needs valgrind. Slow
# machines and busy ones give the same figures.
profile=$(mktemp)
trap 'rm -f "$profile"' EXIT
echo "| instructions, ratio to the floor, 3 queues | 16 frames | 64 | 256 |"
echo "|---|---|---|---|"
for mode in plain "normal fallback" "LBMF HDR" "binning HDR" banding; do
    echo -n "| $mode |"
    for frames in 16 64 256; do
        LD_BIND_NOW=1 valgrind -q --tool=callgrind --callgrind-out-file="$profile" \
            "$1/benchmarks/zsl-bench" --benchmark_filter="^$mode/$frames/3/" > /dev/null
        callgrind_annotate --inclusive=yes --threshold=100 "$profile" | tr -d , | awk '
            /:MotionZSLSelector::selectZSLFrames\(/ && !library { library = $1 }
            /:bench::Floor::selectZSLFrames\(/ && !floor { floor = $1 }
            END { printf " %.2f |", library / floor }'
    done
    echo
done
