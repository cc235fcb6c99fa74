#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Installs what building and testing needs, on Debian 12 and later and on Ubuntu. Asks nothing, and
# does nothing where all of it is there.
#   --ci           also what .ci/run and scripts/test-install.sh use
#   --benchmarks   also what the benchmarks use: engines to compare with, Google Benchmark, valgrind
#   --fuzz         also what the fuzz targets need: clang and the run time of its sanitizers
#   --viewer       also what the page of replays is built from and tested with
set -euo pipefail

# zlib and JSON: replays.
packages=(g++ ninja-build libode-dev libtinyxml-dev libpng-dev libeigen3-dev libgtest-dev
          zlib1g-dev nlohmann-json3-dev)
# The run time of clang's sanitizers carries the version of the compiler in its name.
with_clang() {
  local version
  version=$(apt-cache depends clang 2> /dev/null |
    sed -n 's/.*Depends: clang-\([0-9]*\)$/\1/p' | head -n 1)
  packages+=(clang "libclang-rt-${version:-14}-dev")
}
for option in "$@"; do
  case $option in
    --ci) with_clang
          packages+=(ccache clang-format clang-tidy doxygen dpkg-dev file pkg-config) ;;
    --fuzz) with_clang ;;
    --benchmarks) packages+=(libmujoco-dev libbullet-dev libdart-dev libbenchmark-dev valgrind) ;;
    --viewer) packages+=(chromium)
              command -v node > /dev/null || packages+=(nodejs)
              command -v npm > /dev/null || packages+=(npm) ;;
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

missing=()
for package in "${packages[@]}"; do
  [[ $(dpkg-query -W -f '${Status}' "$package" 2> /dev/null || true) == "install ok installed" ]] ||
    missing+=("$package")
done

if ((${#missing[@]} > 0)); then
  echo "Installing ${missing[*]}"
  as_root=()
  ((EUID == 0)) || as_root=(sudo)
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
fi

have=$(cmake --version | sed -n '1s/[^0-9]*\([0-9.]*\).*/\1/p')
if [[ $(printf '%s\n' 3.25 "$have" | sort -V | head -n 1) != 3.25 ]]; then
  echo "cmake $have is too old: 3.25 or later is needed. Ubuntu 22.04 ships 3.22; there," >&2
  echo "'pip install cmake' or 'snap install cmake --classic' brings a newer one." >&2
  exit 1
fi
