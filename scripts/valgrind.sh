#!/usr/bin/env bash
# Runs the whole test suite of the default preset under valgrind memcheck:
# fails on any memory error and on memory definitely lost (possibly lost and
# still reachable blocks are not errors). Builds the default preset first if
# needed; extra arguments go to ctest (e.g. -R prefs).
#   scripts/valgrind.sh [ctest arguments...]
# Logs: build/default/Testing/Temporary/MemoryChecker.<test number>.log
#
# Child processes are not followed: the install-folder test's probe program, which
# loads a copy of the library in a process of its own, runs natively.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh guard
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)"

# No debuginfod look-ups over the network.
export DEBUGINFOD_URLS=
options="--tool=memcheck --leak-check=full --errors-for-leak-kinds=definite"
options+=" --show-leak-kinds=definite --error-exitcode=1 --num-callers=40"
if [ -s scripts/valgrind.supp ]; then
  options+=" --suppressions=$PWD/scripts/valgrind.supp"
fi

cd build/default
rm -f Testing/Temporary/MemoryChecker.*.log
status=0
ctest -T memcheck -j "$(nproc)" --output-on-failure \
  --overwrite MemoryCheckCommand="$(command -v valgrind)" \
  --overwrite MemoryCheckCommandOptions="$options" "$@" || status=$?

# Belt and braces: a log that reports errors fails the run even if the test
# process exited 0.
bad=$(grep -lE "ERROR SUMMARY: [1-9]|definitely lost: [1-9]" Testing/Temporary/MemoryChecker.*.log \
  2>/dev/null || true)
if [ -n "$bad" ]; then
  for log in $bad; do
    echo "---- $log"
    cat "$log"
  done
  status=1
fi
if [ "$status" -ne 0 ]; then
  echo "valgrind.sh: memcheck found problems (see above)" >&2
  exit 1
fi
echo "valgrind.sh: no memory errors, nothing definitely lost"
