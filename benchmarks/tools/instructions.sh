#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Instructions per step of zelvik, in total, by stage and by function:
#
#   benchmarks/tools/instructions.sh BUILD_DIR SCENE [SETTING] [STEPS]
#
# Runs the scene's warm-up and STEPS (200) steps, then the same with twice as many, in callgrind; the
# difference is the work of the second half. Unlike a time, the figure is the same on a busy machine;
# it says nothing about waiting for memory or for results.
set -euo pipefail
usage="usage: instructions.sh BUILD_DIR SCENE [SETTING] [STEPS]"
program=$(realpath "${1:?$usage}")/bin/bench_zelvik
scene=${2:?$usage} setting=${3:-broad=simple} steps=${4:-200}
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
[[ -x $program ]] || { echo "instructions.sh: there is no $program" >&2; exit 1; }
command -v valgrind > /dev/null || {
  echo "instructions.sh: valgrind is missing: scripts/install-dependencies.sh --benchmarks" >&2
  exit 1
}

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for count in "$steps" $((2 * steps)); do
  valgrind --tool=callgrind --callgrind-out-file="$out/$count" --log-file="$out/log" \
    "$program" --scene "$scene" --setting "$setting" --steps "$count" --runs 0 --no-accuracy \
    --budget 1000000 > "$out/line" || { cat "$out/log" >&2; exit 1; }
  if ! grep -q '"contacts"' "$out/line"; then
    cat "$out/line" >&2
    exit 1
  fi
  for inclusive in yes no; do
    callgrind_annotate --inclusive=$inclusive --threshold=100 "$out/$count" \
      > "$out/$count.$inclusive" 2> "$out/log" || { cat "$out/log" >&2; exit 1; }
  done
done
echo "$scene, $setting:"
python3 "$here/instructions.py" "$out" "$steps"
