#!/usr/bin/env bash
# The framework end to end: installs the missing Debian packages, builds the
# release preset, installs it into build/release/stage and runs the example
# host kthost there, which loads the example plug-ins from stage/plugins
# (found through stage/site.prefs). Extra arguments go to kthost, e.g.
#   scripts/demo.sh --strict
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh build
# Tests need packages the build group does not install; scripts/test.sh
# builds them in its own tree.
cmake --preset release -DKTBASE_BUILD_TESTS=OFF -DKTBASE_BUILD_EXAMPLES=ON >/dev/null
cmake --build --preset release -j "$(nproc)"

stage="$PWD/build/release/stage"
rm -rf "$stage"
cmake --install build/release --prefix "$stage" >/dev/null
echo "Installed into $stage"
if ls "$stage"/bin/linux_intel.release/ktbase.*.so >/dev/null 2>&1; then
  echo "Python: PYTHONPATH=$stage/bin/linux_intel.release python3 -c 'import ktbase'"
fi
echo "Running kthost:"
exec "$stage/bin/linux_intel.release/kthost" "$@"
