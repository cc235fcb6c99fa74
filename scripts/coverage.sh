#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Counts how often the tests run each line of the library, and prints those that none of them runs:
# scripts/coverage.sh
# The lines are for reading, not for a percentage. Most of them are guards whose cause is rare; a
# line that does something is a test that is missing. Counts of lines of headers that only examples
# or benchmarks use are not there, since nothing compiles them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-dependencies.sh --coverage >&2
{
  cmake --preset coverage
  cmake --build --preset coverage --parallel "$(nproc)"
  find build/coverage -name '*.gcda' -delete # counts of earlier runs
  ctest --preset coverage --parallel "$(nproc)"
} >&2
gcovr --root . --object-directory build/coverage --filter src/ --filter include/ \
  --json build/coverage/lines.json build/coverage
python3 - build/coverage/lines.json << 'PYTHON'
import json
import sys

tested = total = 0
for file in json.load(open(sys.argv[1]))["files"]:
    text = open(file["file"]).read().splitlines()
    lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
    untested = [line["line_number"] for line in lines if line["count"] == 0]
    tested, total = tested + len(lines) - len(untested), total + len(lines)
    if untested:
        print(file["file"])
    for number in untested:
        print(f"{number:5}  {text[number - 1]}")
print(f"{total - tested} of {total} lines are not tested")
PYTHON
