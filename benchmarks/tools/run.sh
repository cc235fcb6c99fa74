#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Runs the programs of all engines interleaved, twice, and writes table.md and results.json:
#
#   benchmarks/tools/run.sh BUILD_DIR [OUT_DIR] [--also BUILD_DIR]... [--quick] [--more N] [SCENE ...]
#
# BUILD_DIR was configured with -DZELVIK_BUILD_BENCHMARKS=ON.
#   --also    also runs bench_zelvik of another build, beside the first: another compiler, say
#   --more    adds N passes of the clock to what OUT_DIR holds, for a machine that was busy
#   --quick   a few scenes, one short run each: shows that all of it works, measures nothing
# Without scenes it runs all of them, some 30 minutes. Set RUNS for the number of timed runs (5),
# BUDGET for the longest run (CPU s, 5), VARIANTS for the number of beginnings over which the accuracy
# of falling things is taken (7).
set -euo pipefail
usage="usage: run.sh BUILD_DIR [OUT_DIR] [--also BUILD_DIR]... [--quick] [--more N] [SCENE ...]"
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")

quick=false more=0 builds=() plain=()
while (($# > 0)); do
  case $1 in
    --also) builds+=("$(realpath "${2:?$usage}")"); shift ;;
    --quick) quick=true ;;
    --more) more=${2:?$usage}; shift ;;
    --*) echo "$usage" >&2; exit 2 ;;
    *) plain+=("$1") ;;
  esac
  shift
done
build=$(realpath "${plain[0]:?$usage}")
builds=("$build" ${builds[@]+"${builds[@]}"})
out=${plain[1]:-$build/benchmarks-out}
mkdir -p "$out"

scenes=("${plain[@]:2}")
if $quick; then
  ((${#scenes[@]} > 0)) || scenes=(S1 S2 S5 A4)
  RUNS=1 BUDGET=1 VARIANTS=1
fi
((${#scenes[@]} > 0)) || scenes=(
  S1 S1m S2 S3 S4-216-spheres S4-1000-spheres S4-216-boxes S5 S6-standing S6-falling
  S7-chain-10 S7-chain-20 S7-chain-40 S7-chain-80 S7-branches-41 S7-binary-63 S8 S9
  A1 A1-settled A2 A2-settled A3 A4 A5-S1 A5-S4-spheres A5-S4-boxes A5-S5)

# Engine and settings; the first setting is the one that ratios refer to.
engines=(
  "zelvik default broad=simple broad=sap"
  "mujoco default cone=pyramidal"
  "mujoco_newer default"
  "ode default space=sap step=world"
  "bullet default iterations=50"
  "dart default")

# The settings of an engine that make sense in a scene, one a line.
settings_of() { # ENGINE SCENE SETTING...
  local engine=$1 scene=$2 setting
  for setting in "${@:3}"; do
    [[ $scene == A* && $setting == broad=* ]] || echo "$setting"
  done
  case $engine:$scene in
    zelvik:A4) printf 'scheme=semi\nscheme=rk4\n' ;;
    mujoco*:A4) echo integrator=RK4 ;;
    zelvik:S1*)
      printf 'broad=simple,threshold=1e-12\nbroad=simple,layer=1e-5,threshold=1e-12\n' ;;
    zelvik:A1*) printf 'threshold=1e-12,iterations=1000\nlayer=1e-4,threshold=1e-12\n' ;;
    zelvik:A2*)
      printf 'threshold=1e-12,iterations=1000\nlayer=1e-6,threshold=1e-14,iterations=1000\n' ;;
    zelvik:S3) printf 'broad=simple,warm=1\nbroad=simple,warm=1,erp=20,iterations=10\n' ;;
    zelvik:S4-216-boxes)
      printf 'broad=sap,warm=1\nbroad=sap,warm=1,erp=15,iterations=8,layer=1e-5\n'
      printf 'broad=sap,warm=1,erp=20,iterations=12,layer=2e-5\n' ;;
    zelvik:S4*) printf 'broad=sap,warm=1\nbroad=sap,warm=1,erp=60,iterations=10\n' ;;
    zelvik:S5) printf 'broad=sap,warm=1\nbroad=sap,warm=1,erp=1,iterations=6,layer=2e-5\n' ;;
    zelvik:A5-S4* | zelvik:A5-S5) printf 'warm=1\nwarm=1,layer=1e-5\n' ;;
  esac
}

# Whether the first pass could not run it. Then the others do not try.
was_skipped() { # ENGINE SCENE SETTING
  grep -F "\"scene\": \"$2\", \"engine\": \"$1\"" "$out/lines.jsonl" |
    grep -F "\"setting\": \"$3\"" | grep -q '"skipped"'
}

measure() { # PASS SCENE PROGRAM ENGINE SETTING...
  local pass=$1 scene=$2 program=$3 engine=$4 setting arguments runs=${RUNS:-5} budget=${BUDGET:-5}
  # Scenes of accuracy are long, and their time says little.
  [[ $scene != A* ]] || { runs=1; budget=$((4 * budget)); }
  arguments=(--scene "$scene" --runs "$runs" --budget "$budget")
  # How these end is chance: a small shift of the beginning gives another end.
  case $scene in S3 | S4* | S5 | S6-falling) arguments+=(--variants "${VARIANTS:-7}") ;; esac
  local count=${#arguments[@]}
  while read -r setting; do
    ((pass > 1)) && was_skipped "$engine" "$scene" "$setting" && continue
    arguments+=(--setting "$setting")
  done < <(settings_of "$engine" "$scene" "${@:5}")
  ((${#arguments[@]} > count)) || return 0
  # The other passes repeat the clock only.
  ((pass == 1)) || arguments+=(--no-accuracy)
  echo "pass $pass $scene $program" >&2
  "$program" "${arguments[@]}" | grep '^{' >> "$out/lines.jsonl" ||
    echo "failed: $program in $scene" >&2
}

first=1 last=2
if ((more > 0)); then
  first=3 last=$((2 + more))
else
  : > "$out/lines.jsonl"
fi
for entry in "${engines[@]}"; do
  [[ -x $build/bin/bench_${entry%% *} ]] || echo "missing: bench_${entry%% *}" >&2
done
for ((pass = first; pass <= last; ++pass)); do
  for scene in "${scenes[@]}"; do
    for entry in "${engines[@]}"; do
      read -r engine settings <<< "$entry"
      for directory in "${builds[@]}"; do
        [[ $engine == zelvik || $directory == "$build" ]] || continue
        program=$directory/bin/bench_$engine
        # shellcheck disable=SC2086 # settings are words
        [[ ! -x $program ]] || measure "$pass" "$scene" "$program" "$engine" $settings
      done
    done
  done
done

python3 "$here/report.py" "$build" "$out"
