#!/usr/bin/env bash
# Fuzzes what reads hostile bytes, and keeps the inputs that reach new code in fuzz/corpus.
# Usage: scripts/fuzz.sh [--coverage] [SECONDS [TARGET...]]
#   SECONDS     for each target (default 60)
#   TARGET      default: all
#   --coverage  only reports the lines of the readers that the corpus reaches
# An input that ends a target becomes build/fuzz/faults/TARGET-...: mend its cause and move it to fuzz/corpus/TARGET, which the
# tests replay.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=fuzz
if [ "${1:-}" = --coverage ]; then
  preset=fuzz-coverage
  shift
fi
seconds=${1:-60}
scripts/setup.sh --fuzz
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target fuzz
work=build/$preset
fuzz=$work/fuzz/fuzz
export LLVM_PROFILE_FILE=$work/targets.profraw OPENCV_LOG_LEVEL=SILENT TZ=UTC0
targets=("${@:2}")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <("$fuzz" 2>/dev/null || true)
[ -d /dev/shm ] && export TMPDIR=/dev/shm

coverage() {
  rm -f "$work"/*.profraw
  for target in "${targets[@]}"; do
    LLVM_PROFILE_FILE=$work/$target.profraw "$fuzz" --target="$target" -runs=0 "fuzz/corpus/$target" &>"$work/$target.log"
  done
  llvm-profdata merge -o "$work/corpus.profdata" "$work"/*.profraw
  # Comparisons of trajectories and numbers in names read no bytes of a file.
  llvm-cov report "$fuzz" -object "$work/src/libKVUtilities.so" -instr-profile "$work/corpus.profdata" 2>"$work/llvm-cov.log" |
    awk '!/Trajectories|TrajectoryComparison|PhotoNumber|NumberedPhotos/ && /(readers|mission\/inputs)\/|MissionToml|photos\/(Exif|Geotag\.|Gps|Jpeg|PictureClaims|Tiff|Xmp)/ {
           printf "%-50s %6d lines %6.1f %%\n", $1, $8, 100 - 100 * $9 / $8
           lines += $8; missed += $9
         }
         END { printf "%-50s %6d lines %6.1f %%\n", "all", lines, 100 - 100 * missed / lines }'
}

# Inputs that only raise a count of a loop are left out: the corpus stays small.
fuzz_one() {
  local target=$1 found=$work/found/$1 log=$work/$1.log length=1024 times
  case $target in describe | photo-* | picture) length=4096 ;; esac
  mkdir -p "$found" "$work/faults"
  times=$({ TIMEFORMAT='%U %S' && time nice "$fuzz" --target="$target" -max_total_time="$seconds" -max_len="$length" \
    -timeout=10 -artifact_prefix="$work/faults/$target-" "$found" "fuzz/corpus/$target" &>"$log"; } 2>&1) || faults=1
  awk -v target="$target" -v times="$times" '
    /^#[0-9]/ { runs = substr($1, 2); for (i = 2; i < NF; ++i) if ($i == "cov:") edges = $(i + 1) }
    /^SUMMARY/ { fault = $0 }
    END { split(times, cpu, " ")
          printf "%-20s %10d inputs %8.0f a second of processor time %6d edges  %s\n",
                 target, runs, runs / (cpu[1] + cpu[2]), edges, fault }' "$log"
  "$fuzz" --target="$target" -merge=1 -use_counters=0 "fuzz/corpus/$target" "$found" &>>"$log" || faults=1
}

if [ $preset = fuzz-coverage ]; then
  coverage
  exit
fi
faults=0
for target in "${targets[@]}"; do fuzz_one "$target"; done
exit $faults
