# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Finds the Open Dynamics Engine, which distributions ship without a CMake package.
# Gives the target Ode::Ode. Installed beside zelvikConfig.cmake.
find_path(Ode_INCLUDE_DIR ode/ode.h)
find_library(Ode_LIBRARY ode)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Ode REQUIRED_VARS Ode_LIBRARY Ode_INCLUDE_DIR)
mark_as_advanced(Ode_INCLUDE_DIR Ode_LIBRARY)
if(Ode_FOUND AND NOT TARGET Ode::Ode)
  add_library(Ode::Ode UNKNOWN IMPORTED)
  set_target_properties(Ode::Ode PROPERTIES IMPORTED_LOCATION ${Ode_LIBRARY}
                                            INTERFACE_INCLUDE_DIRECTORIES ${Ode_INCLUDE_DIR})
endif()
