#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Writes the pages of docs/ and of the public headers to build/docs/html. Every warning of doxygen
# is an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mkdir -p build
ZELVIK_VERSION=$(sed -n 's/^project(zelvik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export ZELVIK_VERSION
warnings=$(doxygen docs/Doxyfile 2>&1 | grep -v '^$' || true)
if [[ -n $warnings ]]; then
  echo "$warnings"
  exit 1
fi
echo "build/docs/html/index.html"
