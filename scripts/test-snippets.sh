#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# Compiles every program and every fragment of C++ in docs/*.md, without running them: those between
# ```cpp and ```. A fragment sees the names that the pages speak of; they stand in `names` below.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

names="zelvik::World& world, zelvik::ArticulatedSystem* robot, zelvik::Box* hook, zelvik::Box* box,
       size_t bodyIndex, Eigen::VectorXd robotStart, Eigen::VectorXd (*posture)(double)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk -v names="$names" '
  function finish() {
    is_program = code ~ /int main\(/
    sub(/int main\(\)/, "void program()", code)
    if (!is_program) code = "void fragment(" names ") {{\n" code "}}\n"
    printf "%snamespace snippet%d {\n%s}\n", includes, ++count, code
  }
  /^```cpp$/ { is_inside = 1; code = sprintf("#line %d \"%s\"\n", FNR + 1, FILENAME); includes = ""; next }
  /^```$/ { if (is_inside) finish(); is_inside = 0 }
  is_inside && /^#include/ { includes = includes $0 "\n"; $0 = "" }
  is_inside { code = code $0 "\n" }
  END { print count + 0 " snippets" > "/dev/stderr" }
' docs/*.md > "$work/snippets.cpp"
# shellcheck disable=SC2046 # several flags
"${CXX:-g++}" -std=c++17 -fsyntax-only -include zelvik/World.hpp -I include \
  $(pkg-config --cflags eigen3) "$work/snippets.cpp"
