#!/usr/bin/env bash
# Checks the Debian packages that scripts/package.sh wrote to build/packages
# (ktbase, ktbase-dev, ktbase-doc, python3-ktbase) without installing them: control
# fields and conffiles (dpkg-deb -f/-I), contents, links and modes (dpkg-deb
# -c), then lintian, which must report no error (its warnings are printed).
# Prints what it finds; stops at the first problem.
set -euo pipefail
cd "$(dirname "$0")/.."

dir=build/packages
version=$(sed -n 's/^project(ktbase VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
version+=-$(sed -n 's/^KTBASE_PACKAGE_RELEASE:STRING=//p' build/package/CMakeCache.txt)
arch=$(dpkg --print-architecture)
runtime=$dir/ktbase_${version}_${arch}.deb
dev=$dir/ktbase-dev_${version}_${arch}.deb
python=$dir/python3-ktbase_${version}_${arch}.deb
doc=$dir/ktbase-doc_${version}_all.deb
root=./opt/ktbase
bin=$root/bin/linux_intel.release

fail() { echo "package-check: $*" >&2; exit 1; }
debs=("$runtime" "$dev" "$doc" "$python")
for deb in "${debs[@]}"; do [ -f "$deb" ] || fail "missing $deb"; done
[ "$(ls "$dir")" = "$(printf '%s\n' "${dev##*/}" "${doc##*/}" "${runtime##*/}" "${python##*/}")" ] ||
  fail "$dir holds more than the four packages: $(ls "$dir" | tr '\n' ' ')"

# field <deb> <name> <expected extended regex>
field() {
  local value
  value=$(dpkg-deb -f "$1" "$2")
  [[ $value =~ $3 ]] || fail "${1##*/}: $2 is '$value', expected /$3/"
}
for deb in "${debs[@]}"; do
  field "$deb" Version "^${version}\$"
  [ "$deb" = "$doc" ] || field "$deb" Architecture "^${arch}\$"
  field "$deb" Maintainer '^[^<]+ <[^@>]+@[^>]+>$'
  field "$deb" Priority '^optional$'
  field "$deb" Description '^base system of the Norvex plug-in framework.*'$'\n'' .+'
done
field "$runtime" Package '^ktbase$'
field "$runtime" Section '^libs$'
# Computed by dpkg-shlibdeps from the binaries; our own libraries are inside.
field "$runtime" Depends '^libboost-filesystem1\.[0-9.]+ \(>= [^)]+\), libc6 \(>= [^)]+\), libgcc-s1 \(>= [^)]+\), libstdc\+\+6 \(>= [^)]+\)$'
field "$dev" Package '^ktbase-dev$'
field "$dev" Section '^libdevel$'
field "$dev" Depends "^ktbase \\(= ${version}\\), libboost-dev \\(>= 1\\.74\\)\$"
field "$doc" Package '^ktbase-doc$'
field "$doc" Section '^doc$'
field "$doc" Architecture '^all$'
[ -z "$(dpkg-deb -f "$doc" Depends)" ] || fail "ktbase-doc has dependencies"
field "$python" Package '^python3-ktbase$'
field "$python" Section '^python$'
field "$python" Depends "^ktbase \\(= ${version}\\), python3 \\(>= 3\\.[0-9]+\\), python3 \\(<< 3\\.[0-9]+\\), libboost-filesystem1\\.[0-9.]+ \\(>= [^)]+\\), libc6 \\(>= [^)]+\\), libgcc-s1 \\(>= [^)]+\\), libstdc\\+\\+6 \\(>= [^)]+\\)\$"

[ "$(dpkg-deb -I "$runtime" conffiles)" = /etc/ktbase/site.prefs ] ||
  fail "ktbase: conffiles is not exactly /etc/ktbase/site.prefs"
grep -q 'mkdir -p -m 755 /opt' <<<"$(dpkg-deb -I "$runtime" postrm)" ||
  fail "ktbase: its postrm does not make /opt again"
for deb in "$dev" "$doc" "$python"; do
  if dpkg-deb -I "$deb" conffiles >/dev/null 2>&1; then fail "${deb##*/} has conffiles"; fi
done

# "<mode> <path>[ -> <target>]" per entry, directories left out.
entries() { dpkg-deb -c "$1" | awk '$1 !~ /^d/ { $2 = $3 = $4 = $5 = ""; print }' | sed 's/^\([^ ]*\) */\1 /'; }
owners=$(for deb in "${debs[@]}"; do dpkg-deb -c "$deb"; done | awk '{print $2}' | sort -u)
[ "$owners" = root/root ] || fail "entries not owned by root/root: $owners"

# expect <deb> <line>...: each line must be an entry of the package.
expect() {
  local deb=$1 listing
  shift
  listing=$(entries "$deb")
  for line in "$@"; do
    grep -qxF -- "$line" <<<"$listing" || fail "${deb##*/}: no entry '$line'"
  done
}
expect "$runtime" \
  "-rwxr-xr-x $bin/kthost" "-rwxr-xr-x $bin/ktprefs" \
  "-rw-r--r-- $bin/libktbase.so" "-rw-r--r-- $bin/liblogmanager.so" \
  "-rw-r--r-- $bin/libktpluginhost.so" "-rwxr-xr-x $bin/ktplugin-probe" \
  "-rw-r--r-- $root/plugins/libexample_greeter.so" "-rw-r--r-- $root/plugins/libexample_welcome.so" \
  "lrwxrwxrwx $root/site.prefs -> /etc/ktbase/site.prefs" \
  "-rw-r--r-- ./etc/ktbase/site.prefs" \
  "lrwxrwxrwx ./usr/bin/kthost -> /opt/ktbase/bin/linux_intel.release/kthost" \
  "lrwxrwxrwx ./usr/bin/ktprefs -> /opt/ktbase/bin/linux_intel.release/ktprefs" \
  "-rw-r--r-- ./usr/share/doc/ktbase/copyright" "-rw-r--r-- ./usr/share/doc/ktbase/changelog.Debian.gz" \
  "-rw-r--r-- ./usr/share/man/man1/kthost.1.gz" "-rw-r--r-- ./usr/share/man/man1/ktprefs.1.gz"
grep -q " $root/db/\$" <<<"$(dpkg-deb -c "$runtime")" || fail "ktbase: no db folder"
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
expect "$dev" \
  "-rw-r--r-- $root/include/ktbase/ktbase.h" "-rw-r--r-- $root/include/ktbase/ktplugin.h" \
  "-rw-r--r-- $root/include/ktbase/ktpluginhost.h" \
  "-rw-r--r-- $root/include/logmanager/log.h" \
  "-rw-r--r-- $root/lib/cmake/ktbase/ktbaseConfig.cmake" \
  "-rw-r--r-- $root/lib/cmake/ktbase/ktbaseConfigVersion.cmake" \
  "-rw-r--r-- $root/lib/cmake/ktbase/ktbaseTargets.cmake" \
  "-rw-r--r-- $root/lib/pkgconfig/ktbase.pc" "-rw-r--r-- ./usr/lib/$triplet/pkgconfig/ktbase.pc" \
  "-rw-r--r-- $root/lib/pkgconfig/ktpluginhost.pc" \
  "-rw-r--r-- ./usr/lib/$triplet/pkgconfig/ktpluginhost.pc" \
  "-rw-r--r-- ./usr/share/doc/ktbase-dev/copyright" "-rw-r--r-- ./usr/share/doc/ktbase-dev/changelog.Debian.gz"
expect "$doc" \
  "-rw-r--r-- ./usr/share/doc/ktbase-doc/html/index.html" \
  "-rw-r--r-- ./usr/share/doc/ktbase-doc/html/guide_plugin.html" \
  "-rw-r--r-- ./usr/share/doc/ktbase-doc/html/classIKTPrefManager.html" \
  "-rw-r--r-- ./usr/share/doc/ktbase-doc/copyright" "-rw-r--r-- ./usr/share/doc/ktbase-doc/changelog.Debian.gz"
expect "$python" \
  "-rw-r--r-- $bin/ktbase.pyi" "-rw-r--r-- ./usr/lib/python3/dist-packages/ktbase.pth" \
  "-rw-r--r-- ./usr/share/doc/python3-ktbase/copyright"
grep -qE "^-rw-r--r-- $bin/ktbase\.cpython-3[0-9]+-$triplet\.so\$" <<<"$(entries "$python")" ||
  fail "python3-ktbase: no extension module ktbase.cpython-3*-$triplet.so"
[ "$(dpkg-deb --fsys-tarfile "$python" | tar -xO ./usr/lib/python3/dist-packages/ktbase.pth)" = \
  /opt/ktbase/bin/linux_intel.release ] || fail "python3-ktbase: ktbase.pth does not name the bin folder"

# Nothing outside the root, its /etc folder and the files the system looks
# for elsewhere; no path in two packages (dpkg would refuse the second).
allowed="^\\./(opt/ktbase/|etc/ktbase/|usr/bin/kt(host|prefs)\$|usr/share/man/man1/kt(host|prefs)\.1\.gz\$|usr/share/doc/(ktbase(-dev|-doc)?|python3-ktbase)/|usr/share/lintian/overrides/(ktbase(-dev|-doc)?|python3-ktbase)\$|usr/lib/$triplet/pkgconfig/kt(base|pluginhost)\\.pc\$|usr/lib/python3/dist-packages/ktbase\\.pth\$)"
for deb in "${debs[@]}"; do
  stray=$(entries "$deb" | awk '{print $2}' | grep -Ev "$allowed" || true)
  [ -z "$stray" ] || fail "${deb##*/}: unexpected paths: $stray"
done
shared=$(for deb in "${debs[@]}"; do entries "$deb" | awk '{print $2}' | sort -u; done | sort | uniq -d)
[ -z "$shared" ] || fail "files in two packages: $shared"

for deb in "${debs[@]}"; do
  echo "${deb##*/}: $(stat -c %s "$deb") bytes, $(entries "$deb" | wc -l) files," \
    "installed size $(dpkg-deb -f "$deb" Installed-Size) KiB"
done

# Errors fail; warnings are listed (see docs/reference/guide_packages.md).
status=0
report=$(lintian --fail-on error --tag-display-limit 0 "${debs[@]}" 2>&1) || status=$?
grep -v '^running with root privileges' <<<"$report" || true
[ "$status" -eq 0 ] || fail "lintian reports errors (exit $status)"
echo "package-check: the four packages pass"
