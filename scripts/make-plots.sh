#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Measures and draws the plots of docs/integration.md: writes docs/images/*.svg.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-dependencies.sh
cmake --preset release > /dev/null
cmake --build --preset release --parallel "$(nproc)" --target drift
mkdir -p docs/images
build/release/bin/drift | python3 docs/plots/draw.py docs/images
