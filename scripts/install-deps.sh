#!/usr/bin/env bash
# Installs the Debian 12 packages a build needs, only those that are missing.
#   scripts/install-deps.sh [build|test|bench|guard|package|package-check|all]...
#   (default: test)
# Runs apt-get as root (or through sudo when it is there).
set -euo pipefail

build=(g++ cmake ninja-build pkg-config libboost-filesystem-dev libboost-system-dev
       libboost-dev libspdlog-dev libfmt-dev python3-dev pybind11-dev)
test=("${build[@]}" libgtest-dev libgmock-dev python3-pytest)
bench=("${build[@]}" libbenchmark-dev libpoco-dev libinih-dev uuid-dev)
# clang-format and clang-tidy are 14 on Debian 12, the version scripts/lint.sh expects.
guard=("${test[@]}" clang libclang-rt-14-dev valgrind abigail-tools clang-format clang-tidy)
# CPack's DEB generator finds binaries with file and their dependencies with
# dpkg-shlibdeps (dpkg-dev); help2man makes the programs' manual pages; CI
# also runs lintian on the packages.
package=("${build[@]}" dpkg-dev file help2man)
package_check=("${package[@]}" lintian)

wanted=()
[ $# -eq 0 ] && set -- test
for group in "$@"; do
  case "$group" in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    guard) wanted+=("${guard[@]}") ;;
    package) wanted+=("${package[@]}") ;;
    package-check) wanted+=("${package_check[@]}") ;;
    all) wanted+=("${test[@]}" "${bench[@]}" "${guard[@]}" "${package_check[@]}") ;;
    *) echo "install-deps: unknown group '$group' (build, test, bench, guard, package, package-check, all)" >&2
       exit 2 ;;
  esac
done

missing=()
for pkg in $(printf '%s\n' "${wanted[@]}" | sort -u); do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}" >&2
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
