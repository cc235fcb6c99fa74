#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Installs what building and testing needs, on Debian 12 and later and on Ubuntu. Asks nothing, and
# does nothing where all of it is there.
#   --ci           also what .ci/run and scripts/test-install.sh use
#   --benchmarks   also what the benchmarks use: engines to compare with, Google Benchmark, valgrind
#   --coverage     also what scripts/coverage.sh reads the counts with
#   --fuzz         also what the fuzz targets need: clang and the run time of its sanitizers
#   --viewer       also what the page of replays is built from and tested with
#   --python       also what the Python package is built with; the rest comes from its index
set -euo pipefail

# zlib and JSON: replays. assimp, qhull and xxhash: robots as they are published. make and
# pkg-config: projects of users, by the lines of docs/install.md.
packages=(g++ ninja-build make pkg-config libode-dev libtinyxml-dev libpng-dev libeigen3-dev
          libgtest-dev zlib1g-dev nlohmann-json3-dev libassimp-dev libqhull-dev libxxhash-dev)
wants_clang=
for option in "$@"; do
  case $option in
    --ci) wants_clang=yes
          packages+=(ccache clang clang-format clang-tidy doxygen dpkg-dev file) ;;
    --fuzz) wants_clang=yes
            packages+=(clang) ;;
    --coverage) packages+=(gcovr) ;;
    --benchmarks) packages+=(libmujoco-dev libbullet-dev libdart-dev libbenchmark-dev valgrind) ;;
    --viewer) packages+=(chromium)
              command -v node > /dev/null || packages+=(nodejs)
              command -v npm > /dev/null || packages+=(npm) ;;
    --python) command -v python3 > /dev/null || packages+=(python3)
              # An interpreter of the distribution comes without what modules are compiled with.
              [[ $(command -v python3) != /usr/bin/python3 ]] || packages+=(python3-dev python3-venv) ;;
    *) echo "install-dependencies.sh: unknown option $option" >&2; exit 2 ;;
  esac
done
# A CMake of the user's own serves as well as the packaged one.
command -v cmake > /dev/null || packages+=(cmake)

if ! command -v dpkg-query > /dev/null; then
  echo "This is neither Debian nor Ubuntu. Please install what these packages hold:" >&2
  echo "  ${packages[*]} cmake (3.25 or later)" >&2
  exit 1
fi

as_root=()
((EUID == 0)) || as_root=(sudo)
apt() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@"; }

is_installed() { [[ $(dpkg-query -W -f '${Status}' "$1" 2> /dev/null || true) == "install ok installed" ]]; }

# A bare machine knows no packages before this.
is_updated=
update_once() {
  [[ -n $is_updated ]] || apt update -q
  is_updated=yes
}

missing=()
find_missing() { # packages...
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]} == 0)) || update_once
}

# The run time of clang's sanitizers carries the version of the compiler in its name. Where there is
# no such package, it comes with clang.
find_missing_runtime() {
  local version
  version=$({ dpkg-query -W -f '${Depends}\n' clang || apt-cache depends clang; } 2> /dev/null |
    sed -n 's/.*clang-\([0-9][0-9]*\).*/\1/p' | head -n 1)
  ! is_installed "libclang-rt-$version-dev" || return 0
  update_once
  ! apt-cache show "libclang-rt-$version-dev" > /dev/null 2>&1 ||
    missing+=("libclang-rt-$version-dev")
}

find_missing "${packages[@]}"
[[ -z $wants_clang ]] || find_missing_runtime
if ((${#missing[@]} > 0)); then
  echo "Installing ${missing[*]}"
  apt install -q -y --no-install-recommends "${missing[@]}"
fi

have=$(cmake --version | sed -n '1s/[^0-9]*\([0-9.]*\).*/\1/p')
if [[ $(printf '%s\n' 3.25 "$have" | sort -V | head -n 1) != 3.25 ]]; then
  echo "cmake $have is too old: 3.25 or later is needed. Ubuntu 22.04 ships 3.22; there," >&2
  echo "'pip install cmake' or 'snap install cmake --classic' brings a newer one." >&2
  exit 1
fi
