#!/usr/bin/env bash
# Builds the Debian packages for the release it runs on (Debian 12 or 13: the
# dependencies name that release's libraries and Python): installs the missing
# Debian packages, builds the package preset (release, no tests, the SDK
# reference) in build/package and runs CPack, which writes
# build/packages/ktbase_<version>-<revision>_<arch>.deb, ktbase-dev_<...>.deb,
# ktbase-doc_<...>_all.deb and python3-ktbase_<...>.deb. Installs nothing of
# ktbase on this machine (see docs/reference/guide_packages.md).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh package
cmake --preset package >/dev/null
cmake --build --preset package -j "$(nproc)"
rm -rf build/packages
cpack --preset package >/dev/null
rm -rf build/packages/_CPack_Packages  # CPack's staging folders
ls -l build/packages/*.deb
