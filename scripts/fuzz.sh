#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Searches for inputs that break a reader: scripts/fuzz.sh TARGET SECONDS
# Targets are the folders of fuzz/corpus. What is found lies in build/fuzz/findings; a mended finding
# goes into fuzz/regressions/TARGET, made small by
#   build/fuzz/bin/fuzz_TARGET -minimize_crash=1 -max_total_time=60 FILE
# Inputs that reach new code are kept in build/fuzz/corpus for the next run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if (($# != 2)) || [[ ! -d fuzz/corpus/$1 ]]; then
  echo "usage: scripts/fuzz.sh TARGET SECONDS, where TARGET is one of:" >&2
  echo "  $(cd fuzz/corpus && echo *)" >&2
  exit 2
fi
target=$1 seconds=$2

{
  scripts/install-dependencies.sh --fuzz
  cmake --preset fuzz
  cmake --build --preset fuzz --parallel "$(nproc)" --target "fuzz_$target"
} >&2
mkdir -p "build/fuzz/corpus/$target" build/fuzz/findings
known=("fuzz/corpus/$target")
[[ ! -d fuzz/regressions/$target ]] || known+=("fuzz/regressions/$target")

# The sanitizers and a busy machine slow an input down about tenfold: of a second the plain build of
# the tests takes care. Standard output and error hold what the library and libpng say.
exec "build/fuzz/bin/fuzz_$target" "build/fuzz/corpus/$target" "${known[@]}" \
  -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -malloc_limit_mb=1024 -max_len=4096 \
  -dict="fuzz/dictionaries/$target.dict" -artifact_prefix="build/fuzz/findings/$target-" \
  -close_fd_mask=1 -print_final_stats=1
