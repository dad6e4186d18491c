#!/usr/bin/env bash
# Style checks over the C++ sources git knows, with the committed configs:
# clang-format (check only, .clang-format) on every file, then clang-tidy
# (.clang-tidy, and python/.clang-tidy below it) on every source the build
# compiles, through that build's compile_commands.json (run-clang-tidy, one
# process per core).
#   scripts/lint.sh [build-folder]    (default build/default, configured with
#                                      the default preset when it is missing)
# Expects clang-format and clang-tidy 14, the versions of Debian 12 (the
# `guard` group of scripts/install-deps.sh): another clang-format formats
# differently, so the script stops rather than report the difference.
# Fails when clang-format would change a file (it prints the changes) or
# clang-tidy warns; clang-tidy's findings are also in <build>/clang-tidy.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/default}
scripts/install-deps.sh guard

# The versioned names first: they stay 14 when another default is installed.
tool() {
  local name
  for name in "$1-14" "$1"; do
    if command -v "$name" >/dev/null; then
      if "$name" --version | grep -q 'version 14\.'; then
        echo "$name"
        return
      fi
    fi
  done
  echo "lint.sh: $1 14 is needed (Debian 12's $1 package); found: $("$1" --version 2>/dev/null | head -n 1 || echo none)" >&2
  exit 2
}
format=$(tool clang-format)
tidy=$(tool clang-tidy)

mapfile -t sources < <(git ls-files -- '*.cpp' '*.cc' '*.h' '*.hpp')
echo "== clang-format: ${#sources[@]} files"
if ! "$format" --dry-run --Werror "${sources[@]}"; then
  echo "lint.sh: run '$format -i' on the files above" >&2
  exit 1
fi

if [ ! -f "$build/compile_commands.json" ]; then
  [ "$build" = build/default ] || { echo "lint.sh: no $build/compile_commands.json" >&2; exit 2; }
  cmake --preset default >/dev/null
fi
# Every source in the compilation database is the repository's own.
echo "== clang-tidy: the sources $build compiles"
report=$build/clang-tidy.txt
status=0
# -Wno-error: the build's -Werror would make clang's own warnings errors that
# no check name can turn off (g++ builds the code and judges its warnings;
# clang warns about unused private fields that hold exported layouts, for
# instance). clang-tidy reports the checks .clang-tidy names.
"run-$tidy" -p "$build" -clang-tidy-binary "$(command -v "$tidy")" -extra-arg=-Wno-error \
  -j "$(nproc)" -quiet >"$report" 2>&1 || status=$?
if [ $status -ne 0 ] || grep -qE '(warning|error):' "$report"; then
  grep -E '(warning|error):' -A3 "$report" || tail -n 20 "$report"
  echo "lint.sh: clang-tidy reports the above (all of it in $report)" >&2
  exit 1
fi
echo "lint.sh: clean"
