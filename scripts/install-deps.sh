#!/usr/bin/env bash
# Installs the Debian packages a build needs, only those that are missing, on
# Debian 12 (bookworm) or Debian 13 (trixie).
#   scripts/install-deps.sh [build|test|bench|guard|docs|package|package-check|try|all]...
#   (default: test)
# Runs apt-get as root (or through sudo when it is there).
set -euo pipefail

# Names that differ between releases, chosen by the release's code name. To
# support another release, add its branch; an unknown one gets the newest
# release's names, with a warning.
codename=$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME:-}")
case "$codename" in
  bookworm)
    pkgconfig="pkg-config" ;;
  trixie | *)
    [ "$codename" = trixie ] ||
      echo "install-deps: Debian release '${codename:-unknown}' not known; trying Debian 13's package names" >&2
    pkgconfig=pkgconf ;;  # pkg-config is only a transitional package there
esac

build=(g++ cmake ninja-build "$pkgconfig" libboost-filesystem-dev libboost-system-dev
       libboost-dev libspdlog-dev libfmt-dev python3-dev pybind11-dev)
# clang: the product test also builds a plug-in with clang++ against the
# library built by g++.
test=("${build[@]}" libgtest-dev libgmock-dev python3-pytest clang)
bench=("${build[@]}" libbenchmark-dev libpoco-dev libinih-dev uuid-dev)
# libclang-rt-dev: the sanitizer and libFuzzer runtimes of the release's clang;
# libelf-dev: the host kit's fuzz target compares its record reader with libelf;
# clang-format and clang-tidy: scripts/lint.sh (it expects version 14, Debian 12's).
guard=("${test[@]}" libclang-rt-dev valgrind abigail-tools libelf-dev clang-format clang-tidy)
# The SDK reference (scripts/docs.sh, and the ktbase-doc package).
docs=("${build[@]}" doxygen)
# CPack's DEB generator finds binaries with file and their dependencies with
# dpkg-shlibdeps (dpkg-dev); help2man makes the programs' manual pages, and
# doxygen the reference of ktbase-doc; CI also runs lintian on the packages.
package=("${docs[@]}" dpkg-dev file help2man)
package_check=("${package[@]}" lintian)
# scripts/try-debian.sh makes fresh Debian roots.
try=(debootstrap)

wanted=()
[ $# -eq 0 ] && set -- test
for group in "$@"; do
  case "$group" in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    guard) wanted+=("${guard[@]}") ;;
    docs) wanted+=("${docs[@]}") ;;
    package) wanted+=("${package[@]}") ;;
    package-check) wanted+=("${package_check[@]}") ;;
    try) wanted+=("${try[@]}") ;;
    all) wanted+=("${test[@]}" "${bench[@]}" "${guard[@]}" "${package_check[@]}" "${try[@]}") ;;
    *) echo "install-deps: unknown group '$group' (build, test, bench, guard, docs, package, package-check, try, all)" >&2
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
