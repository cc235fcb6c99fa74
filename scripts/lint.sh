#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Formatting of all C++ files by clang-format, the order of rooms by scripts/rooms.py, and the checks
# of .clang-tidy over src/ with the commands of a build directory: scripts/lint.sh [preset], by default
# "release".
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=${1:-release}

git ls-files -z -- '*.cpp' '*.hpp' | xargs -0 clang-format --dry-run -Werror
scripts/rooms.py check

cmake --preset "$preset" > /dev/null  # finds sources that came since the last time
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Clang does not know all flags that are g++'s.
if ! run-clang-tidy -p "build/$preset" -extra-arg=-Wno-ignored-optimization-argument -quiet \
  "^$PWD/src/" > "$log" 2>&1; then
  grep -v -e '^clang-tidy' -e 'warnings generated' -e '^Error while' "$log" || true
  exit 1
fi
echo "clang-tidy: $(grep -c '^clang-tidy' "$log") files, no finding"
