# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Assimp::Assimp: reading of meshes, as the distribution packages it.
find_path(ASSIMP_INCLUDE_DIR assimp/Importer.hpp)
find_library(ASSIMP_LIBRARY assimp)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Assimp REQUIRED_VARS ASSIMP_LIBRARY ASSIMP_INCLUDE_DIR)
if(Assimp_FOUND AND NOT TARGET Assimp::Assimp)
  add_library(Assimp::Assimp UNKNOWN IMPORTED)
  set_target_properties(Assimp::Assimp PROPERTIES
    IMPORTED_LOCATION "${ASSIMP_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${ASSIMP_INCLUDE_DIR}")
endif()
