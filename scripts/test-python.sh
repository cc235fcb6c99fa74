#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Builds the Python package and tests it: pytest, the types by mypy and pyright, and the stubs against
# the module. All that is installed for it lies under build/.
#   scripts/test-python.sh              everything
#   scripts/test-python.sh stubs        builds, and writes the stubs anew after a change of bindings
#   scripts/test-python.sh quick [...]  builds, and runs pytest with the further arguments
#   scripts/test-python.sh peers        builds, and runs what the pages say of other libraries
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mode=${1:-all}
shift || true

scripts/install-dependencies.sh --python
venv=build/python-env
if ! [[ $venv/installed -nt python/tests/requirements.txt ]]; then
  python3 -m venv --clear "$venv"
  "$venv/bin/pip" install -q --disable-pip-version-check -r python/tests/requirements.txt
  touch "$venv/installed"
fi
python=$PWD/$venv/bin/python
export PYTHONPATH=$PWD/build/python/package

cmake --preset python -DPython_EXECUTABLE="$python" > build/python-configure.log ||
  { cat build/python-configure.log; exit 1; }
cmake --build --preset python --parallel "$(nproc)" | tail -n 1

write_stub() { # file
  "$python" -m nanobind.stubgen -q -m zelvik._core -o "$1"
  sed -i '1i # SPDX-FileCopyrightText: 2026 the zelvik authors\n# SPDX-License-Identifier: BSD-3-Clause' "$1"
}

case $mode in
  stubs)
    write_stub python/zelvik/_core.pyi
    exit ;;
  peers) # in an environment of their own, since types are checked without them
    python3 -m venv "$venv-peers"
    "$venv-peers/bin/pip" install -q --disable-pip-version-check \
      -r python/tests/requirements.txt -r python/tests/peers/requirements.txt
    exec "$venv-peers/bin/python" -m pytest -rs python/tests/peers ;;
  quick)
    exec "$python" -m pytest "$@" ;;
esac

"$python" -m pytest
write_stub build/_core.pyi
diff -u python/zelvik/_core.pyi build/_core.pyi ||
  { echo "The stubs are out of date: scripts/test-python.sh stubs"; exit 1; }
"$python" -m mypy
"$python" -m pyright --pythonpath "$python" python/zelvik python/tests python/examples
echo "Python: tests, stubs and types pass"
