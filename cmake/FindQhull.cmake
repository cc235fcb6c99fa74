# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Qhull::Qhull: convex hulls, as the distribution packages it.
find_path(QHULL_INCLUDE_DIR libqhull_r/libqhull_r.h)
find_library(QHULL_LIBRARY qhull_r)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Qhull REQUIRED_VARS QHULL_LIBRARY QHULL_INCLUDE_DIR)
if(Qhull_FOUND AND NOT TARGET Qhull::Qhull)
  add_library(Qhull::Qhull UNKNOWN IMPORTED)
  set_target_properties(Qhull::Qhull PROPERTIES
    IMPORTED_LOCATION "${QHULL_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${QHULL_INCLUDE_DIR}")
endif()
