#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Builds the library with its tests and runs them: scripts/test.sh [preset]
# The presets are release (without an argument), ci, debug, sanitize, and tsan, which runs the tests
# of threads only.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:-release}
scripts/install-dependencies.sh
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)" --output-on-failure
