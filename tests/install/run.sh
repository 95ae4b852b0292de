#!/usr/bin/env bash
# Installs the build tree into a fresh prefix and uses the install as an outsider would: builds
# the example extension of examples/plugin against the installed package only, once with CMake
# and once with pkg-config and a plain compiler line (as docs/plugins.md shows), then runs the
# installed kov with it.
#   run.sh BUILD_DIR SOURCE_DIR CXX_COMPILER VERSION
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
cxx=$3
version=$4
soversion=${version%.*}

work=$(mktemp -d "${TMPDIR:-/tmp}/kov-install-test.XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
kov=$prefix/bin/kov
log=$work/log

fail() {
  echo "FAIL: $*" >&2
  exit 1
}
# Runs a command quietly; shows its output when it fails.
quietly() {
  "$@" >"$log" 2>&1 || { cat "$log" >&2; fail "$*"; }
}
# Nothing of the build or source tree may come in through the environment.
unset LD_LIBRARY_PATH CMAKE_PREFIX_PATH PKG_CONFIG_PATH kov_DIR

quietly cmake --install "$build" --prefix "$prefix"

for file in bin/kov include/kov/Api.h include/kov/Version.h include/kovx/Plugin.h \
            lib/kov-extensions/libkov_filesystem.so lib/cmake/kov/kovConfig.cmake \
            lib/cmake/kov/kovConfigVersion.cmake lib/pkgconfig/kov.pc \
            lib/pkgconfig/kov-extension.pc share/doc/kov/README.md share/doc/kov/plugins.md \
            share/doc/kov/architecture.md libexec/kov/kov-plugin-probe share/kov/web/index.html; do
  [ -f "$prefix/$file" ] || fail "not installed: $file"
done
for lib in kov_core kov_loader; do
  [ "$(readlink "$prefix/lib/lib$lib.so")" = "lib$lib.so.$soversion" ] || fail "lib$lib.so link"
  [ "$(readlink "$prefix/lib/lib$lib.so.$soversion")" = "lib$lib.so.$version" ] ||
    fail "lib$lib.so.$soversion link"
  readelf -d "$prefix/lib/lib$lib.so.$version" | grep -F "Library soname: [lib$lib.so.$soversion]" >/dev/null ||
    fail "SONAME of lib$lib"
done
[ "$(nm -D --defined-only "$prefix/lib/libkov_loader.so" | awk '{print $3}')" = init ] ||
  fail "libkov_loader.so exports more than init"

# The install stands on its own: no run path or package file leads back to the trees.
while IFS= read -r -d '' binary; do
  ! readelf -d "$binary" | grep -E 'RPATH|RUNPATH' | grep -F -e "$build" -e "$source" >/dev/null ||
    fail "$binary has a run path into the build tree"
done < <(find "$prefix/bin" "$prefix/lib" -type f \( -name '*.so*' -o -perm -u+x \) -print0)
! grep -rqF -e "$build" -e "$source" "$prefix/lib/cmake" "$prefix/lib/pkgconfig" ||
  fail "package files name the build or source tree"
ldd "$kov" | grep -F "libkov_core.so.$soversion => $prefix/" >/dev/null || fail "kov does not use its own core"
[ "$("$kov" --version)" = "kov $version" ] || fail "kov --version"

# The package's version check: the same minor version only.
mkdir "$work/probe"
cat >"$work/probe/CMakeLists.txt" <<'PROBE'
cmake_minimum_required(VERSION 3.20)
project(probe NONE)
foreach(wanted IN LISTS WANTED)
  find_package(kov ${wanted} CONFIG QUIET)
  message(STATUS "kov ${wanted}: ${kov_FOUND}")
endforeach()
PROBE
major=${version%%.*}
minor=${soversion#*.}
wanted="$soversion;$major.$((minor + 1));$((major + 1)).0"
[ "$minor" -gt 0 ] && wanted="$wanted;$major.$((minor - 1))"
quietly cmake -S "$work/probe" -B "$work/probe/build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF "-DWANTED=$wanted"
[ "$(grep -c -- ': 1$' "$log")" = 1 ] && grep -qF -- "kov $soversion: 1" "$log" ||
  fail "find_package accepts other versions than $soversion: $(grep -- '-- kov' "$log")"

# The example, built with CMake against the installed package...
quietly cmake -S "$source/examples/plugin" -B "$work/cmake" -G Ninja \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
quietly cmake --build "$work/cmake"
# ...and with pkg-config and one compiler line.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[ "$(pkg-config --modversion kov)" = "$version" ] || fail "pkg-config --modversion kov"
[ "$(realpath "$(pkg-config --variable=extensiondir kov)")" = "$prefix/lib/kov-extensions" ] ||
  fail "pkg-config --variable=extensiondir kov"
mkdir "$work/plain"
# shellcheck disable=SC2046 # the flags are meant to split into words
quietly "$cxx" -std=c++17 -shared -fPIC -o "$work/plain/libkov_demo.so" \
  "$source/examples/plugin/DemoAdaptor.cpp" $(pkg-config --cflags --libs kov-extension)

export KOV_DEMO_DIR=$source/examples
expected_xml=$("$kov" xml "$source/examples/building.tkb")
for plugin in "$work/cmake/libkov_demo.so" "$work/plain/libkov_demo.so"; do
  "$kov" -p "$plugin" extensions >"$log" 2>&1 || fail "kov extensions with $plugin"
  grep -q '^    org.example.kov.DemoAdaptor  *(1.0) ' "$log" || fail "$plugin is not listed"
  [ "$(grep -c . "$log")" = 4 ] || fail "unexpected output with $plugin: $(cat "$log")"
  [ "$("$kov" -p "$plugin" info demo:building.tkb 2>&1 | head -n 1)" = \
    "Rule file demo:building.tkb: 12 attributes, 20 rules, 2 file annotations" ] ||
    fail "kov info demo:building.tkb with $plugin"
  [ "$("$kov" -p "$plugin" xml demo:building.tkb)" = "$expected_xml" ] ||
    fail "kov xml demo:building.tkb with $plugin"
done
# The installed loader finds its probe helper: a sound plug-in passes the probe and loads.
"$kov" --probe-plugins -p "$work/cmake/libkov_demo.so" extensions >"$log" 2>&1 ||
  fail "kov --probe-plugins extensions: $(cat "$log")"
grep -q '^    org.example.kov.DemoAdaptor ' "$log" && ! grep -q 'probe' "$log" ||
  fail "the probe did not pass the example: $(cat "$log")"

# Installed into the default extension directory, kov finds it without -p.
quietly cmake --install "$work/cmake"
[ -f "$prefix/lib/kov-extensions/libkov_demo.so" ] || fail "the example did not install"
"$kov" info demo:minimal.tkb >"$log" 2>&1 || fail "kov info demo:minimal.tkb: $(cat "$log")"

echo "install test passed"
