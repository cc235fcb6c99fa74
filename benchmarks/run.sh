#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Runs the programs of all engines interleaved, twice, and writes table.md and results.json:
#
#   benchmarks/run.sh BUILD_DIR [OUT_DIR] [SCENE ...]
#
# BUILD_DIR was configured with -DZELVIK_BUILD_BENCHMARKS=ON. Without scenes it runs all of them,
# some 20 minutes. Set RUNS for the number of timed runs (5), BUDGET for the longest run (CPU s, 5).
set -euo pipefail
build=$(realpath "${1:?usage: run.sh BUILD_DIR [OUT_DIR] [SCENE ...]}")
out=${2:-$build/benchmarks-out}
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
shift $(($# < 2 ? $# : 2))
mkdir -p "$out"

scenes=("$@")
((${#scenes[@]} > 0)) || scenes=(
  S1 S1m S2 S3 S4-216-spheres S4-1000-spheres S4-216-boxes S5 S6-standing S6-falling
  S7-chain-10 S7-chain-20 S7-chain-40 S7-chain-80 S7-branches-41 S7-binary-63 S8 S9
  A1 A2 A3 A4 A5-S1 A5-S4-spheres A5-S4-boxes A5-S5)

# Engine and settings; the first setting is the one that ratios refer to.
engines=(
  "zelvik default broad=simple broad=sap"
  "mujoco default cone=pyramidal"
  "ode default step=world"
  "bullet default iterations=50"
  "dart default")

: > "$out/lines.jsonl"
for pass in 1 2; do
  for scene in "${scenes[@]}"; do
    # Scenes of accuracy are long, and their time says little.
    runs=${RUNS:-5} budget=${BUDGET:-5}
    [[ $scene == A* ]] && runs=1 budget=$((4 * budget))
    for entry in "${engines[@]}"; do
      read -r engine settings <<< "$entry"
      program=$build/bin/bench_$engine
      if [[ ! -x $program ]]; then
        ((pass > 1)) || [[ $scene != "${scenes[0]}" ]] || echo "missing: bench_$engine" >&2
        continue
      fi
      arguments=(--scene "$scene" --runs "$runs" --budget "$budget")
      [[ $scene == A4 && $engine == zelvik ]] && settings+=" scheme=semi scheme=rk4"
      [[ $scene == A4 && $engine == mujoco ]] && settings+=" integrator=RK4"
      count=${#arguments[@]}
      for setting in $settings; do
        [[ $scene == A* && $setting == broad=* ]] && continue
        # What the first pass could not run, the second does not try.
        ((pass > 1)) && grep -F "\"scene\": \"$scene\", \"engine\": \"$engine\"" "$out/lines.jsonl" |
          grep -F "\"setting\": \"$setting\"" | grep -q '"skipped"' && continue
        arguments+=(--setting "$setting")
      done
      ((${#arguments[@]} > count)) || continue
      # The second pass repeats the clock only.
      ((pass == 1)) || arguments+=(--no-accuracy)
      echo "pass $pass $scene $engine" >&2
      "$program" "${arguments[@]}" | grep '^{' >> "$out/lines.jsonl" ||
        echo "failed: $engine in $scene" >&2
    done
  done
done

python3 "$here/report.py" "$build" "$out"
