#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Builds the page of the viewer, checks its types and its layout, and tests it in Chromium:
#   scripts/test-viewer.sh [REPLAY.html ...]
# Replays that are given pass the tests that hold for every page. Without Node.js or Chromium it
# says so and tests nothing.
set -euo pipefail

pages=()
for page in "$@"; do
  [[ -f $page ]] || { echo "test-viewer.sh: cannot read $page" >&2 && exit 2; }
  pages+=("$(realpath -- "$page")")
done

cd "$(dirname "${BASH_SOURCE[0]}")/../viewer"
CHROMIUM=$(command -v chromium || command -v chromium-browser || command -v google-chrome || true)
for need in node npm "${CHROMIUM:-chromium}"; do
  if ! command -v "$need" > /dev/null; then
    echo "The viewer is not tested: $need is missing (scripts/install-dependencies.sh --viewer)."
    exit 0
  fi
done
export CHROMIUM

npm ci --no-audit --no-fund
npm run check
ZELVIK_PAGES=$(IFS=: && echo "${pages[*]}") npm test
