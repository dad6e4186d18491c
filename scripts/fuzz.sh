#!/usr/bin/env bash
# Builds the libFuzzer targets (the `fuzz` preset, clang) and runs each one for
# a bounded time, failing on the first finding (crash, sanitizer report,
# broken invariant, leak, timeout).
#   scripts/fuzz.sh [seconds-per-target] [target...] [-- extra libFuzzer flags]
# Default: 60 seconds for each of fuzz_pref_text, fuzz_uid, fuzz_pref_list,
# fuzz_plugin_record.
# New inputs go to build/fuzz/corpus/<target> (the committed seeds in
# fuzz/corpus/<target> are only read); findings go to
# build/fuzz/artifacts/<target>/, reproduce one with
#   build/fuzz/bin/linux_intel.release/<target> <artifact-file>
# Each target runs one job per core (libFuzzer -jobs/-workers).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=60
if [ $# -gt 0 ] && [ "$1" != "--" ]; then seconds=$1; shift; fi
case "$seconds" in '' | *[!0-9]*) echo "fuzz.sh: seconds must be a number" >&2; exit 2 ;; esac
targets=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do targets+=("$1"); shift; done
[ $# -gt 0 ] && shift  # the "--"
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_pref_text fuzz_uid fuzz_pref_list fuzz_plugin_record)

scripts/install-deps.sh guard
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target "${targets[@]}"

root=$PWD
bin=$root/build/fuzz/bin/linux_intel.release
# One fuzzing job per core; the jobs share the work corpus.
jobs=$(nproc)
# ASan keeps 256 MiB of freed memory in quarantine and 30-frame allocation
# stacks by default; on these small inputs the page faults and unwinding took
# about a third of the time. A use after free is still caught until 64 MiB
# more have been freed.
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=64:malloc_context_size=8}
for target in "${targets[@]}"; do
  work=$root/build/fuzz/corpus/$target
  artifacts=$root/build/fuzz/artifacts/$target
  mkdir -p "$work" "$artifacts"
  rm -f "$artifacts"/fuzz-*.log
  echo "== fuzz: $target for ${seconds}s, $jobs jobs"
  # -max_len: room for preference lines longer than the reader's 1023-byte
  # chunks. -timeout: a single input taking 10 s counts as a hang. Each job
  # logs to fuzz-<n>.log in the folder it starts in.
  if ! (cd "$artifacts" && "$bin/$target" -jobs="$jobs" -workers="$jobs" \
      -max_total_time="$seconds" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$artifacts/" "$@" \
      "$work" "$root/fuzz/corpus/$target" >log.txt 2>&1); then
    for log in "$artifacts"/fuzz-*.log; do tail -n 40 "$log"; done
    echo "fuzz.sh: $target found a problem; inputs in $artifacts/, job logs $artifacts/fuzz-*.log" >&2
    exit 1
  fi
  awk '/^stat::number_of_executed_units/ { runs += $2 }
       /^stat::peak_rss_mb/ { if ($2 > rss) rss = $2 }
       END { printf "executed inputs %d (%d per second), peak RSS %d MiB per job\n", runs, runs / '"$seconds"', rss }' \
    "$artifacts"/fuzz-*.log
done
echo "fuzz.sh: no findings"
