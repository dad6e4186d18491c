#!/usr/bin/env bash
# Compares the binary interface of libktbase.so with the committed baseline
# abi/libktbase.abi, and fails on any difference: an exported name added,
# removed or changed, a virtual function moved to another vtable slot, a class
# whose size, bases or members changed.
#   scripts/abi-check.sh            check (exit 1 on any difference)
#   scripts/abi-check.sh --update   rewrite the baseline from the current build
# After --update, commit abi/libktbase.abi in the same commit as the change
# that caused it, and say in the commit message why the interface changed.
#
# The library is built as in the release preset, plus debug information (the
# type information the comparison needs) and warnings as errors, in
# build/guard-abi. Only types of the
# public headers count (--drop-private-types); abi/libktbase.abignore lists the
# symbols that are not part of the interface.
set -euo pipefail
cd "$(dirname "$0")/.."

update=0
case "${1:-}" in
  "") ;;
  --update) update=1 ;;
  *) echo "usage: scripts/abi-check.sh [--update]" >&2; exit 2 ;;
esac

build=build/guard-abi
baseline=abi/libktbase.abi
suppressions=abi/libktbase.abignore
headers=(framework/src/ktbase/include common/src/base/include)

scripts/install-deps.sh guard
cmake --preset release -B "$build" -DCMAKE_CXX_FLAGS=-g -DKTBASE_WARNINGS_AS_ERRORS=ON -DKTBASE_BUILD_TESTS=OFF \
  -DKTBASE_BUILD_EXAMPLES=OFF -DKTBASE_BUILD_STRESS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target ktbase

current=$build/libktbase.abi
abidw --no-corpus-path --no-comp-dir-path --short-locs --type-id-style hash \
  --drop-private-types --drop-undefined-syms \
  --headers-dir "${headers[0]}" --headers-dir "${headers[1]}" \
  --out-file "$current" "$build/bin/linux_intel.release/libktbase.so"

if [ "$update" -eq 1 ]; then
  cp "$current" "$baseline"
  echo "abi-check: baseline $baseline rewritten; commit it with the reason for the change"
  exit 0
fi

# abidiff's status is a bit set (1 error, 2 usage, 4 change, 8 incompatible
# change): anything but 0 fails.
status=0
abidiff --suppressions "$suppressions" "$baseline" "$current" >"$build/abidiff.txt" 2>&1 || status=$?
if [ "$status" -ne 0 ]; then
  cat "$build/abidiff.txt"
  echo "abi-check: libktbase.so differs from $baseline (abidiff status $status)." >&2
  echo "  If the change is intended, run scripts/abi-check.sh --update and commit" >&2
  echo "  $baseline with the change, giving the reason in the commit message." >&2
  exit 1
fi
echo "abi-check: libktbase.so matches $baseline"
