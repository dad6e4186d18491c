#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
# Warnings are printed but do not stop the build, so a newer compiler's new
# warning cannot; CI sets KTBASE_WARNINGS_AS_ERRORS=ON, which makes them errors.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh test
cmake --preset default -DKTBASE_WARNINGS_AS_ERRORS="${KTBASE_WARNINGS_AS_ERRORS:-OFF}"
cmake --build --preset default -j "$(nproc)"
ctest --preset default -j "$(nproc)"
