#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Speed against accuracy: S1m, S4 and S5 with several settings per engine, as SVG files.
#
#   benchmarks/tools/sweep.sh BUILD_DIR OUT_DIR [--quick]
#
# --quick takes one short run each: it shows that all of it works and measures nothing.
# Set RUNS for the number of timed runs (5), BUDGET for the longest run (CPU s, 5), VARIANTS for the
# number of beginnings over which the accuracy of piles is taken (7).
set -euo pipefail
usage="usage: sweep.sh BUILD_DIR OUT_DIR [--quick]"
build=$(realpath "${1:?$usage}")
out=${2:?$usage}
[[ ${3:-} == "" || $3 == --quick ]] || { echo "$usage" >&2; exit 2; }
[[ ${3:-} == "" ]] || RUNS=0 BUDGET=1 VARIANTS=1
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
mkdir -p "$out"

robot=(
  "zelvik broad=simple,threshold=1e-6 broad=simple broad=simple,threshold=1e-10
   broad=simple,threshold=1e-12,iterations=1000 broad=simple,layer=1e-5
   broad=simple,layer=1e-5,threshold=1e-12"
  "mujoco default impratio=10 impratio=100 timeconst=0.005,dmax=0.99
   timeconst=0.005,dmax=0.99,impratio=100 cone=pyramidal cone=pyramidal,noslip=5"
  "mujoco_newer default impratio=100 timeconst=0.005,dmax=0.99,impratio=100"
  "ode iterations=10 iterations=20 iterations=50 iterations=200 step=world"
  "bullet iterations=10 iterations=50 iterations=200"
  "dart solver=dantzig solver=pgs solver=dantzig,detector=fcl")
piles=(
  "zelvik broad=sap,iterations=10 broad=sap,iterations=30 broad=sap broad=sap,erp=5 broad=sap,erp=20
   broad=sap,warm=1,iterations=10 broad=sap,warm=1,iterations=30 broad=sap,warm=1,erp=20
   broad=sap,warm=1,erp=60,iterations=10
   broad=sap,warm=1,erp=1,iterations=6,layer=2e-5 broad=sap,warm=1,erp=1,iterations=10,layer=2e-5"
  "mujoco default cone=pyramidal solver=CG,iterations=10 solver=CG,iterations=50"
  "mujoco_newer default solver=CG,iterations=10 solver=CG,iterations=50"
  "ode iterations=10,space=sap iterations=20,space=sap iterations=50,space=sap
   iterations=200,space=sap"
  "bullet iterations=4 iterations=10 iterations=50 iterations=200")

: > "$out/sweep.jsonl"
for scene in S1m S4-216-spheres S5; do
  entries=("${piles[@]}")
  [[ $scene == S1m ]] && entries=("${robot[@]}")
  for entry in "${entries[@]}"; do
    read -r -d '' engine settings <<< "$entry" || true
    [[ -x $build/bin/bench_$engine ]] || { echo "missing: bench_$engine" >&2; continue; }
    arguments=(--scene "$scene" --runs "${RUNS:-5}" --budget "${BUDGET:-5}")
    [[ $scene == S1m ]] || arguments+=(--variants "${VARIANTS:-7}")
    for setting in $settings; do arguments+=(--setting "$setting"); done
    echo "$scene $engine" >&2
    "$build/bin/bench_$engine" "${arguments[@]}" | grep '^{' >> "$out/sweep.jsonl"
  done
done

python3 "$here/plot.py" "$out/sweep.jsonl" "$out"
