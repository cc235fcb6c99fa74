#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Installs the library as users get it and builds programs against it that lie outside of the tree:
# the shared library under a prefix, the static one under another, the sources as a folder of another
# project (without optimisation, which is quick to build), and the Debian packages unpacked into a bare
# directory. Programs are built by find_package and by pkg-config, by g++ and clang++, as C++17 and
# C++20, with and without AVX flags; each runs, and all have to agree on the layout of the public
# classes. Nothing outside of build/ and a temporary directory is written.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
scripts/install-dependencies.sh --ci

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
parallel=$(nproc)

say() { echo "-- $*"; }

# Builds a preset's library and nothing else.
build_library() { # preset [cmake options]
  local preset=$1
  shift
  cmake --preset "$preset" "$@" > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
  cmake --build "build/$preset" --parallel "$parallel" | tail -n 1
}

# A processor without the flags of a program cannot run it.
can_run() {
  [[ $1 != *avx512f* ]] || grep -q avx512f /proc/cpuinfo || { say "no AVX-512 here: $1 not run"; false; }
}

# Runs a consumer or prints the layout into the list that all programs have to agree on.
run_program() { # program model
  can_run "$1" || return 0
  case $(basename "$1") in
    layout*) "$1" > "$work/layouts/$RANDOM$RANDOM.$(basename "$1")" ;;
    *) echo "$(basename "$1"): $("$1" "$2")" ;;
  esac
}

# A project that says where the library is, and runs its programs.
test_project() { # compiler model [cmake options]
  local build=$work/cmake-$1 model=$2
  rm -rf "$build"
  CXX=$1 cmake -S tests/install -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "${@:3}" \
    > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
  cmake --build "$build" --parallel "$parallel" | tail -n 1
  for program in "$build"/consumer-* "$build"/layout-*; do
    run_program "$program" "$model"
  done
}

test_pkg_config() { # prefix compiler flags...
  local prefix=$1 compiler=$2 pc package
  shift 2
  pc=$(dirname "$(find "$prefix" -name zelvik.pc)")
  for program in consumer layout recorder; do
    local out=$work/$program-pkg-config-$compiler
    package=zelvik
    [[ $program != recorder ]] || package=zelvik_view
    [[ -f $pc/$package.pc ]] || continue
    # shellcheck disable=SC2046 # several flags
    "$compiler" "$@" "tests/install/$program.cpp" -o "$out" \
      $(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs "$package") -Wl,-rpath,"$(dirname "$pc")"
    run_program "$out" "$(PKG_CONFIG_PATH=$pc pkg-config --variable modeldir zelvik)/quadruped.urdf"
  done
}

test_prefix() {
  for compiler in g++ clang++; do
    say "$1 with $compiler"
    test_project "$compiler" "$1/share/zelvik/models/quadruped.urdf" -DCMAKE_PREFIX_PATH="$1"
    test_pkg_config "$1" "$compiler" -std=c++17 -O1
    test_pkg_config "$1" "$compiler" -std=c++20 -O1 -mavx2 -mfma
  done
}

# The runtime package alone has to satisfy a program together with the packages that it names.
test_packages() {
  local tree=$work/tree lib
  (cd build/package && cpack -G DEB > "$work/cpack.log" || { cat "$work/cpack.log"; exit 1; })
  for package in build/package/libzelvik*.deb; do
    say "$(basename "$package") needs $(dpkg-deb -f "$package" Depends)"
    dpkg-deb -x "$package" "$tree"
  done
  lib=$(dirname "$(find "$tree" -name 'libzelvik.so.*.*.*')")
  objdump -p "$lib"/libzelvik.so.*.*.* | grep -F "SONAME" | grep -F "libzelvik.so.$1"
  "${CXX:-g++}" -O1 -I "$tree/usr/include" $(pkg-config --cflags eigen3) tests/install/consumer.cpp \
    -o "$work/consumer" -L "$lib" -lzelvik -lode -ltinyxml
  LD_LIBRARY_PATH=$lib "$work/consumer" "$tree/usr/share/zelvik/models/quadruped.urdf"
}

mkdir "$work/layouts"
rm -f build/package/*.deb
build_library package
build_library static
cmake --install build/package --prefix "$work/shared" > /dev/null
cmake --install build/static --prefix "$work/static" > /dev/null
test_prefix "$work/shared"
test_prefix "$work/static"
say "a folder of another project"
test_project g++ models/quadruped.urdf -DZELVIK_FOLDER="$root" -DZELVIK_NATIVE_FLAGS=OFF \
  -DZELVIK_BUILD_VIEW=OFF -DCMAKE_BUILD_TYPE=None

say "layout of the public classes"
[[ $(cat "$work"/layouts/* | sort -u | wc -l) == $(wc -l < "$(find "$work/layouts" -type f | head -n 1)") ]] ||
  { echo "builds disagree:"; md5sum "$work"/layouts/*; exit 1; }
say "$(find "$work/layouts" -type f | wc -l) builds agree"

say "Debian packages"
test_packages "$(sed -n 's/^project(zelvik VERSION \([0-9]*\.[0-9]*\).*/\1/p' "$root/CMakeLists.txt")"
say "installation works"
