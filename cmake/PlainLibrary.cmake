# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# For find modules of libraries that distributions ship without a CMake package of use: looks for a
# header and a library and makes the imported target NAME::NAME of them. Installed beside
# zelvikConfig.cmake.
include(FindPackageHandleStandardArgs)

macro(zelvik_find_plain_library name header library)
  find_path(${name}_INCLUDE_DIR ${header})
  find_library(${name}_LIBRARY ${library})
  find_package_handle_standard_args(${name} REQUIRED_VARS ${name}_LIBRARY ${name}_INCLUDE_DIR)
  mark_as_advanced(${name}_INCLUDE_DIR ${name}_LIBRARY)
  if(${name}_FOUND AND NOT TARGET ${name}::${name})
    add_library(${name}::${name} UNKNOWN IMPORTED)
    set_target_properties(${name}::${name} PROPERTIES
      IMPORTED_LOCATION "${${name}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${${name}_INCLUDE_DIR}")
  endif()
endmacro()
