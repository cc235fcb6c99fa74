# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Finds TinyXML (the first one), which distributions ship without a CMake package.
# Gives the target TinyXml::TinyXml. Installed beside zelvikConfig.cmake.
find_path(TinyXml_INCLUDE_DIR tinyxml.h)
find_library(TinyXml_LIBRARY tinyxml)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(TinyXml REQUIRED_VARS TinyXml_LIBRARY TinyXml_INCLUDE_DIR)
mark_as_advanced(TinyXml_INCLUDE_DIR TinyXml_LIBRARY)
if(TinyXml_FOUND AND NOT TARGET TinyXml::TinyXml)
  add_library(TinyXml::TinyXml UNKNOWN IMPORTED)
  set_target_properties(TinyXml::TinyXml PROPERTIES IMPORTED_LOCATION ${TinyXml_LIBRARY}
                                            INTERFACE_INCLUDE_DIRECTORIES ${TinyXml_INCLUDE_DIR})
endif()
