# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Ode::Ode: the Open Dynamics Engine.
include(${CMAKE_CURRENT_LIST_DIR}/PlainLibrary.cmake)
zelvik_find_plain_library(Ode ode/ode.h ode)
