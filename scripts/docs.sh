#!/usr/bin/env bash
# Builds the SDK reference (Doxygen over the installed public headers, with
# the guides) into build/docs/html; open build/docs/html/index.html. Fails
# on any Doxygen warning, and prints the warnings.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh docs
cmake --preset docs >/dev/null
log=build/docs/doxygen-warnings.log
if ! cmake --build --preset docs; then
  [ -s "$log" ] && cat "$log" >&2
  echo "docs: Doxygen failed ($(grep -c . "$log" 2>/dev/null || echo 0) warning lines)" >&2
  exit 1
fi
if [ -s "$log" ]; then
  cat "$log" >&2
  echo "docs: $(grep -c . "$log") warning lines" >&2
  exit 1
fi
echo "docs: no warning; open build/docs/html/index.html"
