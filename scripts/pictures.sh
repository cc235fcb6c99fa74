#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Draws the pictures of README.md anew, into docs/images, and their replays into build/pictures:
# scripts/pictures.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-dependencies.sh >&2
cmake --preset release >&2
cmake --build --preset release --target pictures --parallel "$(nproc)" >&2
mkdir -p build/pictures docs/images
build/release/bin/pictures build/pictures
cp build/pictures/*.png docs/images
ls -l docs/images
