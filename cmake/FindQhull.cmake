# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Qhull::Qhull: convex hulls, the reentrant library.
include(${CMAKE_CURRENT_LIST_DIR}/PlainLibrary.cmake)
zelvik_find_plain_library(Qhull libqhull_r/libqhull_r.h qhull_r)
