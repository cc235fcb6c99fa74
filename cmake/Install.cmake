# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# What `cmake --install` writes: the library (component runtime), and headers, CMake package,
# pkg-config file and models (component development).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZELVIK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelvik)
set(ZELVIK_INSTALL_MODELDIR ${CMAKE_INSTALL_DATADIR}/zelvik/models)

set(zelvik_installed_targets zelvik)
if(TARGET zelvik_view)
  list(APPEND zelvik_installed_targets zelvik_view)
endif()
if(TARGET zelvik_model)
  list(APPEND zelvik_installed_targets zelvik_model)
endif()
install(
  TARGETS ${zelvik_installed_targets}
  EXPORT zelvikTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zelvikTargets NAMESPACE zelvik:: DESTINATION ${ZELVIK_INSTALL_CMAKEDIR}
        COMPONENT development)
install(DIRECTORY include/zelvik DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY models/ DESTINATION ${ZELVIK_INSTALL_MODELDIR} COMPONENT development)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zelvik COMPONENT development)

configure_package_config_file(
  cmake/zelvikConfig.cmake.in ${PROJECT_BINARY_DIR}/zelvikConfig.cmake
  INSTALL_DESTINATION ${ZELVIK_INSTALL_CMAKEDIR} PATH_VARS ZELVIK_INSTALL_MODELDIR)
# Before 1.0 a minor version may break the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelvikConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelvikConfig.cmake
              ${PROJECT_BINARY_DIR}/zelvikConfigVersion.cmake cmake/FindOde.cmake
              cmake/FindTinyXml.cmake cmake/FindAssimp.cmake cmake/FindQhull.cmake
              cmake/PlainLibrary.cmake
        DESTINATION ${ZELVIK_INSTALL_CMAKEDIR} COMPONENT development)

# The files find their prefix from their own place, so that an installed tree can be moved.
file(RELATIVE_PATH ZELVIK_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(NOT BUILD_SHARED_LIBS)
  set(ZELVIK_PC_STATIC_REQUIRES " libpng")
  set(ZELVIK_VIEW_PC_STATIC_REQUIRES " libpng zlib")
  set(ZELVIK_MODEL_PC_STATIC_REQUIRES " assimp qhull_r")
endif()
foreach(target ${zelvik_installed_targets})
  configure_file(cmake/${target}.pc.in ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT development)
endforeach()
