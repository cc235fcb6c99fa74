#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Builds the demo, a quadruped that stands on its feet, and runs it. Its replay and picture are
# build/quadruped.html and build/quadruped.png. All arguments go to the demo; scripts/demo.sh --help
# lists them.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# The standard output belongs to the demo.
{
  "$root/scripts/install-dependencies.sh"
  (cd "$root" && cmake --preset release && cmake --build --preset release --target stand \
    --parallel "$(nproc)")
} >&2
exec "$root/build/release/bin/stand" --record "$root/build" "$@"
