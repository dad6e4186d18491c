#!/usr/bin/env bash
# Tries the checkout as a newcomer would on a fresh Debian machine: makes a
# minimal root of the release with debootstrap (--variant=minbase, nothing else
# installed), copies the checkout into /root/ktbase there (the files git knows
# and untracked ones it does not ignore, as they are in the work tree) and runs
# the README's two Quick-start commands in it as root, printing the time of
# each.
#   scripts/try-debian.sh <bookworm|trixie> [--packages] [--keep]
#   --packages  then also builds the Debian packages there (scripts/package.sh,
#               scripts/package-check.sh), installs them with apt-get in a second
#               fresh root, and there imports the Python module and builds and
#               runs the plug-in guide's hello project (docs/examples/plugin)
#               against them
#   --keep      keep the roots after a run that passed (a failed run always
#               keeps them, to look inside)
# Roots live in $KTBASE_TRY_ROOTS (default build/roots): <release> and
# <release>-packages. Downloaded .deb files are kept in <roots>/cache for the
# next run. /dev and /proc are bind-mounted into a root while it is used and
# unmounted on every exit, failures and interrupts included. Needs root;
# installs debootstrap when it is missing; reaches only the Debian mirror.
# KTBASE_WARNINGS_AS_ERRORS, when set, is passed on to scripts/test.sh there.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { echo "usage: scripts/try-debian.sh <bookworm|trixie> [--packages] [--keep]" >&2; exit 2; }
release=${1:-}
case "$release" in bookworm | trixie) ;; *) usage ;; esac
shift
packages=0 keep=0
for arg in "$@"; do
  case "$arg" in
    --packages) packages=1 ;;
    --keep) keep=1 ;;
    *) usage ;;
  esac
done
[ "$(id -u)" -eq 0 ] || { echo "try-debian: needs root (debootstrap, chroot, mount)" >&2; exit 2; }
scripts/install-deps.sh try

mirror=http://deb.debian.org/debian
security=http://deb.debian.org/debian-security
roots=$(realpath -m "${KTBASE_TRY_ROOTS:-build/roots}")
cache=$roots/cache
work=$roots/$release
installed=$roots/$release-packages
mkdir -p "$cache"

mounted=()
# unmount_all: undoes every mount made so far, deepest first. Lazily if a
# process still holds one, so the run never leaves a mount behind.
unmount_all() {
  local i
  for ((i = ${#mounted[@]} - 1; i >= 0; i--)); do
    umount -R "${mounted[i]}" 2>/dev/null || umount -lR "${mounted[i]}" || true
  done
  mounted=()
}
trap 'exit 130' INT TERM

# remove_root <dir>: deletes a root, after unmounting whatever a crashed earlier
# run left mounted in it (rm would otherwise reach into the host's /dev).
remove_root() {
  local dir=$1 mount
  [ -e "$dir" ] || return 0
  for mount in $(findmnt -rn -o TARGET | grep -F "$dir/" | sort -r); do
    umount -R "$mount" 2>/dev/null || umount -lR "$mount" || true
  done
  if findmnt -rn -o TARGET | grep -qF "$dir/"; then
    echo "try-debian: $dir still has mounts; not removing it" >&2
    return 1
  fi
  rm -rf --one-file-system "$dir"
}

# make_root <dir>: a fresh minbase root of the release, with the security and
# updates suites a freshly installed machine has.
make_root() {
  local dir=$1 start=$SECONDS
  remove_root "$dir"
  echo "try-debian: debootstrap --variant=minbase $release $dir"
  debootstrap --variant=minbase --cache-dir="$cache" "$release" "$dir" "$mirror" \
    >"$roots/$release-debootstrap.log" 2>&1 ||
    { tail -n 20 "$roots/$release-debootstrap.log" >&2; return 1; }
  cat >"$dir/etc/apt/sources.list" <<EOF
deb $mirror $release main
deb $mirror $release-updates main
deb $security $release-security main
EOF
  echo "try-debian: root ready in $((SECONDS - start)) s"
}

# mount_root <dir>: /dev (with /dev/pts and /dev/shm) and /proc from the host.
# rslave: unmounting inside the root never unmounts the host's own mounts.
mount_root() {
  local dir=$1
  mount --rbind /dev "$dir/dev" && mounted+=("$dir/dev")
  mount --make-rslave "$dir/dev"
  mount -t proc proc "$dir/proc" && mounted+=("$dir/proc")
}

# in_root <dir> <command>: runs a shell command in the root as a newcomer's
# root login would: a clean environment, in /root.
in_root() {
  chroot "$1" /usr/bin/env -i HOME=/root USER=root LOGNAME=root TERM="${TERM:-dumb}" \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
    ${KTBASE_WARNINGS_AS_ERRORS:+KTBASE_WARNINGS_AS_ERRORS=$KTBASE_WARNINGS_AS_ERRORS} \
    /bin/bash -c "cd /root && $2"
}

# timed <dir> <command>: in_root, then prints how long the command took.
times=()
timed() {
  local start=$SECONDS status=0
  echo "try-debian: [$release] $2"
  in_root "$1" "$2" || status=$?
  times+=("$(printf '%-52s %5d s%s' "$2" $((SECONDS - start)) "$([ $status -eq 0 ] || echo "  FAILED ($status)")")")
  echo "try-debian: [$release] $2: $((SECONDS - start)) s, exit $status"
  return $status
}

report() {
  echo "try-debian: Debian $release, times:"
  printf '  %s\n' "${times[@]}"
}
trap 'status=$?; unmount_all; [ ${#times[@]} -eq 0 ] || report; if [ $status -ne 0 ]; then echo "try-debian: failed; the roots stay in $roots for a look" >&2; fi' EXIT

make_root "$work"
[ $packages -eq 0 ] || { rm -rf --one-file-system "$installed"; cp -a "$work" "$installed"; }

# The checkout as it is in the work tree, without build folders or ignored files.
mkdir "$work/root/ktbase"
git ls-files -z --cached --others --exclude-standard |
  while IFS= read -r -d '' file; do
    if [ -e "$file" ] || [ -L "$file" ]; then printf '%s\0' "$file"; fi # not deleted
  done | tar -c --null -T - | tar -x -C "$work/root/ktbase"

mount_root "$work"
timed "$work" "cd ktbase && scripts/demo.sh"
timed "$work" "cd ktbase && scripts/test.sh"
if [ $packages -eq 1 ]; then
  timed "$work" "cd ktbase && scripts/package.sh && scripts/install-deps.sh package-check && scripts/package-check.sh"
  unmount_all
  ls -l "$work"/root/ktbase/build/packages/*.deb
  mkdir "$installed/root/packages" "$installed/root/hello"
  cp "$work"/root/ktbase/build/packages/*.deb "$installed/root/packages/"
  # The plug-in guide's hello project, the files the reference shows.
  cp docs/examples/plugin/hello.cpp docs/examples/plugin/CMakeLists.txt "$installed/root/hello/"
  mount_root "$installed"
  apt="DEBIAN_FRONTEND=noninteractive apt-get -qq"
  timed "$installed" "$apt update && $apt install -y ./packages/*.deb >/dev/null"
  timed "$installed" "python3 -c 'import ktbase; print(ktbase.__file__)'"
  timed "$installed" "$apt install -y --no-install-recommends cmake make g++ >/dev/null && cmake -S hello -B hello/build >/dev/null && cmake --build hello/build && kthost --strict --plugins hello/build"
fi
unmount_all
if [ $keep -eq 0 ]; then
  remove_root "$work"
  remove_root "$installed"
fi
