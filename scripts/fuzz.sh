#!/usr/bin/env bash
# Builds the libFuzzer targets (the `fuzz` preset, clang) and runs each one for
# a bounded time, failing on the first finding (crash, sanitizer report,
# broken invariant, leak, timeout).
#   scripts/fuzz.sh [seconds-per-target] [target...] [-- extra libFuzzer flags]
# Default: 60 seconds for each of fuzz_prefs_file, fuzz_uid, fuzz_pref_list.
# New inputs go to build/fuzz/corpus/<target> (the committed seeds in
# fuzz/corpus/<target> are only read); findings go to
# build/fuzz/artifacts/<target>/, reproduce one with
#   build/fuzz/bin/linux_intel.release/<target> <artifact-file>
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=60
if [ $# -gt 0 ] && [ "$1" != "--" ]; then seconds=$1; shift; fi
case "$seconds" in '' | *[!0-9]*) echo "fuzz.sh: seconds must be a number" >&2; exit 2 ;; esac
targets=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do targets+=("$1"); shift; done
[ $# -gt 0 ] && shift  # the "--"
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_prefs_file fuzz_uid fuzz_pref_list)

scripts/install-deps.sh guard
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target "${targets[@]}"

bin=build/fuzz/bin/linux_intel.release
for target in "${targets[@]}"; do
  work=build/fuzz/corpus/$target
  artifacts=build/fuzz/artifacts/$target
  mkdir -p "$work" "$artifacts"
  echo "== fuzz: $target for ${seconds}s"
  # -max_len: room for preference lines longer than the reader's 1023-byte
  # chunks. -timeout: a single input taking 10 s counts as a hang.
  if ! "$bin/$target" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
      -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/" "$@" \
      "$work" "fuzz/corpus/$target" >"$artifacts/log.txt" 2>&1; then
    tail -n 60 "$artifacts/log.txt"
    echo "fuzz.sh: $target found a problem; inputs in $artifacts/, full log $artifacts/log.txt" >&2
    exit 1
  fi
  grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+ *DONE' "$artifacts/log.txt" || true
done
echo "fuzz.sh: no findings"
