#!/usr/bin/env bash
# Builds the benchmarks (the `bench` preset: Release) and prints, per case, each
# implementation's median CPU time and its ratio to the case's floor.
#   scripts/bench.sh            full run, 5 repetitions (about 4 minutes on 2 cores)
#   scripts/bench.sh --quick    one short repetition: proves that everything runs
# Other arguments: --markdown and --real-time go to the table printer, the rest to
# both benchmark programs (e.g. --benchmark_filter=Uid).
# The JSON results stay in build/bench/results/.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=0
table_args=()
bench_args=()
for arg in "$@"; do
  case "$arg" in
    --quick) quick=1 ;;
    --markdown | --real-time) table_args+=("$arg") ;;
    *) bench_args+=("$arg") ;;
  esac
done

scripts/install-deps.sh bench
cmake --preset bench >/dev/null
cmake --build --preset bench -j "$(nproc)" \
  --target ktbase_bench ktbase_bench_startup ktbase_bench_hostkit ktbase_bench_table

bin=build/bench/bin/linux_intel.release
out=build/bench/results
mkdir -p "$out"
if [ "$quick" -eq 1 ]; then
  runs=(--benchmark_repetitions=1)
  min_time=0.001
  startup_min_time=0.001
else
  runs=(--benchmark_repetitions=5 --benchmark_report_aggregates_only=true)
  min_time=0.1
  startup_min_time=0.05
fi

echo "bench: load average before the run: $(cut -d' ' -f1-3 /proc/loadavg)" >&2
echo "bench: running ktbase_bench..." >&2
"$bin/ktbase_bench" "${runs[@]}" --benchmark_min_time="$min_time" --benchmark_format=json \
  ${bench_args[@]+"${bench_args[@]}"} >"$out/bench.json"
echo "bench: running ktbase_bench_startup..." >&2
"$bin/ktbase_bench_startup" "${runs[@]}" --benchmark_min_time="$startup_min_time" \
  --benchmark_format=json ${bench_args[@]+"${bench_args[@]}"} >"$out/startup.json"
echo "bench: running ktbase_bench_hostkit..." >&2
"$bin/ktbase_bench_hostkit" "${runs[@]}" --benchmark_min_time="$min_time" \
  --benchmark_format=json ${bench_args[@]+"${bench_args[@]}"} >"$out/hostkit.json"
echo "bench: load average after the run: $(cut -d' ' -f1-3 /proc/loadavg)" >&2
echo >&2

"$bin/ktbase_bench_table" ${table_args[@]+"${table_args[@]}"} "$out/bench.json" "$out/startup.json" \
  "$out/hostkit.json"
